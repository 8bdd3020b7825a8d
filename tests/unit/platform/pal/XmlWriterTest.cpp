#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LumPalXml.h"
#include "XmlEventsForTest.h"
#include "XmlWriterForTest.h"

using LumPalCodeset::Codeset_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;

using namespace xmlwriter;

TEST(XmlWriter, WritesAnElementWithoutContentAsTwoTags) {
    EXPECT_EQ(Body([](XmlWriter_t& w) { w.OpenTag("a"); }), "<a></a>");
    EXPECT_EQ(Body([](XmlWriter_t& w) {
                  w.OpenTag("a");
                  w.Data("");
                  w.Data(String_t::Null());
              }),
              "<a></a>");
}

TEST(XmlWriter, ClosingClosesEveryOpenTag) {
    EXPECT_EQ(Body([](XmlWriter_t& w) {
                  for (const char* name : {"a", "b", "c"}) w.OpenTag(name);
                  w.CloseTag();
                  w.OpenTag("d");
                  w.Data("x");
              }),
              "<a><b><c></c><d>x</d></b></a>");
}

TEST(XmlWriter, EscapesWhatTextCannotHold) {
    EXPECT_EQ(TextOf("1<2 & 3>2 ]]> \"'"), "<a>1&lt;2 &amp; 3&gt;2 ]]&gt; \"'</a>");
    EXPECT_EQ(TextOf("\t\n\r\r\n"), "<a>\t\n&#13;&#13;\n</a>");
    EXPECT_EQ(TextOf(u"\u00E9\u20AC\U0001F600\u007F\u0085\uFFFD"),
              "<a>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\x7F\xC2\x85\xEF\xBF\xBD</a>");
}

TEST(XmlWriter, EscapesWhatAValueCannotHold) {
    EXPECT_EQ(ValueOf("<&>\"'"), "<a k=\"&lt;&amp;&gt;&quot;'\"></a>");
    EXPECT_EQ(ValueOf("\t\n\r"), "<a k=\"&#9;&#10;&#13;\"></a>");
}

TEST(XmlWriter, TakesTextByLength) {
    const String_t text(u"one<two");
    EXPECT_EQ(Body([&](XmlWriter_t& w) {
                  w.OpenTag("a");
                  w.Data(text.GetBuffer(), 4);
                  w.Data(text.GetBuffer() + 4, 3);
                  w.Data(nullptr, 0);
              }),
              "<a>one&lt;two</a>");
}

TEST(XmlWriter, DeclaresNamespacesOnTheTagJustOpened) {
    EXPECT_EQ(Body([](XmlWriter_t& w) {
                  w.OpenTag("a");
                  w.Namespace("u:1");
                  w.Attribute("k", "1");
                  w.Namespace("p", "u:<2>");
                  w.Attribute("p:k", "2");
                  w.OpenTag("p:b");
                  w.CloseTag();
                  w.OpenTag("b");
                  w.Namespace("");
              }),
              "<a xmlns=\"u:1\" xmlns:p=\"u:&lt;2&gt;\" k=\"1\" p:k=\"2\"><p:b></p:b><b xmlns=\"\"></b></a>");
}

TEST(XmlWriter, BreaksLinesByItsIndent) {
    const Steps steps = [](XmlWriter_t& w) {
        w.OpenTag("a");
        w.OpenTag("b");
        w.Data("x");
        w.CloseTag();
        w.OpenTag("c");
        w.OpenTag("d");
    };
    EXPECT_EQ(Written(steps, XmlWriter_t::Options_t()),
              Declaration + "\n<a>\n  <b>x</b>\n  <c>\n    <d></d>\n  </c>\n</a>\n");
    EXPECT_EQ(Written(steps, XmlWriter_t::Options_t().Indent(1)),
              Declaration + "\n<a>\n <b>x</b>\n <c>\n  <d></d>\n </c>\n</a>\n");
    EXPECT_EQ(Written(steps, Tight()), Declaration + "<a><b>x</b><c><d></d></c></a>");
    CharArrayOutputStream_t stream;
    XmlWriter_t plain(stream);
    steps(plain);
    plain.Close();
    EXPECT_EQ(stream.ToString().ToUtf8(), Written(steps, XmlWriter_t::Options_t()));
}

TEST(XmlWriter, NeverAddsBlanksToAnElementThatHasText) {
    EXPECT_EQ(Written(
                  [](XmlWriter_t& w) {
                      w.OpenTag("a");
                      w.Data("x");
                      w.OpenTag("b");
                      w.CloseTag();
                  },
                  XmlWriter_t::Options_t()),
              Declaration + "\n<a>x<b></b></a>\n");
}

TEST(XmlWriter, WithoutIndentTheCallerBreaksTheLines) {
    EXPECT_EQ(Body([](XmlWriter_t& w) {
                  w.OpenTag("a");
                  w.Data("\n");
                  w.Data("  ");
                  w.OpenTag("b");
                  w.CloseTag();
                  w.Data("\n");
                  w.CloseTag();
                  w.Data("\n");
              }),
              "<a>\n  <b></b>\n</a>\n");
}

TEST(XmlWriter, TheDeclarationCanBeLeftOut) {
    XmlWriter_t::Options_t options = Tight();
    options.declaration = false;
    EXPECT_EQ(Written([](XmlWriter_t& w) { w.OpenTag("a"); }, options), "<a></a>");
}

TEST(XmlWriter, ADocumentWithoutATagIsNotBegun) {
    EXPECT_EQ(Written([](XmlWriter_t&) {}), "");
}

TEST(XmlWriter, WritesInUtf8Alone) {
    CharArrayOutputStream_t stream;
    EXPECT_THROW(XmlWriter_t(stream, Tight().Encoding(Codeset_t("ISO-8859-1"))), IllegalArgumentError_t);
    EXPECT_THROW(XmlWriter_t(stream, Tight().Encoding(Codeset_t("UTF-16"))), IllegalArgumentError_t);
    EXPECT_NO_THROW(XmlWriter_t(stream, Tight().Encoding(Codeset_t("utf-8"))));
    EXPECT_NO_THROW(XmlWriter_t(stream, Tight().Encoding(Codeset_t())));
    EXPECT_THROW(XmlWriter_t(stream, Tight().Indent(-1)), IllegalArgumentError_t);
    EXPECT_THROW(XmlWriter_t(LumPalIo::OutputStream_t(), Tight()), IllegalArgumentError_t);
}

TEST(XmlWriter, CopiesWriteTheSameDocument) {
    EXPECT_EQ(Body([](XmlWriter_t& w) {
                  w.OpenTag("a");
                  XmlWriter_t copy = w;
                  copy.Attribute("k", "1");
                  copy.OpenTag("b");
              }),
              "<a k=\"1\"><b></b></a>");
}

TEST(XmlWriter, BuffersAndLeavesTheStreamOpen) {
    CharArrayOutputStream_t stream;
    XmlWriter_t writer(stream, Tight());
    writer.OpenTag("a");
    writer.Data("x");
    EXPECT_EQ(stream.Size(), 0u);
    writer.Data(String_t::FromUtf8(std::string(100000, 'y')));
    EXPECT_GE(stream.Size(), 80000u);
    writer.Close();
    EXPECT_NO_THROW(stream.Write('!'));
    EXPECT_EQ(stream.Size(), Declaration.size() + 100000 + 9);
}

TEST(XmlWriter, AFailingStreamIsToldToTheCaller) {
    class Full : public LumPalIo::OutputStream_t::Impl {
        void Write(const char*, std::size_t) override {
            throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("full"));
        }
    };
    XmlWriter_t writer(LumPalIo::OutputStream_t(std::make_shared<Full>()), Tight());
    writer.OpenTag("a");
    EXPECT_THROW(writer.Data(String_t::FromUtf8(std::string(20000, 'x'))), LumPalIo::IOException_t);
}

TEST(XmlWriter, WhatItWritesComesBackThroughTheParser) {
    std::u16string every;
    for (char32_t unit = 1; unit < 0x10000; ++unit) every += static_cast<char16_t>(unit);
    const String_t all = XmlWriter_t::Clean(String_t(every.data(), static_cast<std::uint32_t>(every.size()))) +
                         u"\U00010000\U0001F600\U0010FFFF";
    const std::vector<String_t> texts = {"",      " ",   "\n",  "\r\n\t",      "<![CDATA[x]]>",
                                         "&amp;", "]]>", "\"'", u"\U0001F600", all};
    for (const int indent : {0, 2}) {
        for (const String_t& text : texts) {
            const std::string document = Written(
                [&](XmlWriter_t& w) {
                    w.OpenTag("p:a");
                    w.Namespace("p", "u");
                    w.Attribute("k", text);
                    w.Data(text);
                },
                Tight().Indent(indent));
            const std::string content = text.IsEmpty() ? "" : "'" + text.ToUtf8() + "'";
            EXPECT_EQ(EventsOf(document), "{+p=u;<{u}a(p:a) k='" + text.ToUtf8() + "'>" + content + "</{u}a(p:a)>-p;}");
        }
    }
}
