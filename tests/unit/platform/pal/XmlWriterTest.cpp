#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "LumPalXml.h"
#include "XmlEventsForTest.h"

using LumPalCodeset::Codeset_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;

namespace {

const std::string Declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

XmlWriter_t::Options_t Tight() {
    XmlWriter_t::Options_t options;
    return options.Encoding(Codeset_t("UTF-8")).Indent(0);
}

using Steps = std::function<void(XmlWriter_t&)>;

std::string Written(const Steps& steps, const XmlWriter_t::Options_t& options = Tight()) {
    CharArrayOutputStream_t stream;
    XmlWriter_t writer(stream, options);
    steps(writer);
    writer.Close();
    return std::string(stream.ToCharArray().View());
}

/// What the writer puts behind the declaration.
std::string Body(const Steps& steps) {
    const std::string document = Written(steps);
    EXPECT_EQ(document.substr(0, Declaration.size()), Declaration);
    return document.substr(Declaration.size());
}

std::string TextOf(const String_t& text) {
    return Body([&](XmlWriter_t& w) {
        w.OpenTag("a");
        w.Data(text);
    });
}

std::string ValueOf(const String_t& value) {
    return Body([&](XmlWriter_t& w) {
        w.OpenTag("a");
        w.Attribute("k", value);
    });
}

String_t Units(std::initializer_list<char16_t> units) {
    return {units.begin(), static_cast<std::uint32_t>(units.size())};
}

struct IllegalText {
    const char* says;
    String_t text;
    String_t cleaned;
};

std::vector<IllegalText> IllegalTexts() {
    const char16_t bad = 0xFFFD;
    return {
        {"a NUL", Units({'a', 0, 'b'}), Units({'a', bad, 'b'})},
        {"a control", Units({0x1F}), Units({bad})},
        {"a vertical tab", Units({0x0B, 'x'}), Units({bad, 'x'})},
        {"a lead surrogate at the end", Units({'a', 0xD800}), Units({'a', bad})},
        {"a lead surrogate before a letter", Units({0xDBFF, 'a'}), Units({bad, 'a'})},
        {"a trail surrogate alone", Units({0xDC00}), Units({bad})},
        {"a pair the wrong way round", Units({0xDFFF, 0xD800}), Units({bad, bad})},
        {"two lead surrogates", Units({0xD83D, 0xD83D, 0xDE00}), Units({bad, 0xD83D, 0xDE00})},
        {"U+FFFE", Units({0xFFFE}), Units({bad})},
        {"U+FFFF", Units({'a', 0xFFFF}), Units({'a', bad})},
    };
}

}  // namespace

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

TEST(XmlWriter, RefusesTextThatXmlCannotCarryAndWritesNothingOfIt) {
    for (const auto& row : IllegalTexts()) {
        const std::string body = Body([&](XmlWriter_t& w) {
            w.OpenTag("a");
            w.Data("1");
            EXPECT_THROW(w.Data(row.text), IllegalArgumentError_t) << row.says;
            w.OpenTag("b");
            EXPECT_THROW(w.Attribute("k", row.text), IllegalArgumentError_t) << row.says;
            EXPECT_THROW(w.Namespace("p", row.text), IllegalArgumentError_t) << row.says;
            EXPECT_THROW(w.OpenTag(row.text), IllegalArgumentError_t) << row.says;
            w.CloseTag();
        });
        EXPECT_EQ(body, "<a>1<b></b></a>") << row.says;
    }
}

TEST(XmlWriter, CleanPutsTheReplacementForWhatXmlCannotCarry) {
    for (const auto& row : IllegalTexts()) EXPECT_EQ(XmlWriter_t::Clean(row.text), row.cleaned) << row.says;
    EXPECT_EQ(XmlWriter_t::Clean(u"a\t\n\r\u00E9\U0001F600"), u"a\t\n\r\u00E9\U0001F600");
    EXPECT_EQ(XmlWriter_t::Clean(""), "");
}

TEST(XmlWriter, RefusesNamesThatAreNone) {
    for (const char* name : {"",  " ",  "1a", "-a",    ".a",  "a b", "a<",  "a>", "a/",      "a\"", "a=",
                             ":", ":a", "a:", "a:b:c", "a:1", "1:a", "a\n", "&a", "xmlns:a", "!a",  "?a"}) {
        const std::string body = Body([&](XmlWriter_t& w) {
            w.OpenTag("root");
            EXPECT_THROW(w.OpenTag(name), IllegalArgumentError_t) << name;
            EXPECT_THROW(w.Attribute(name, "1"), IllegalArgumentError_t) << name;
        });
        EXPECT_EQ(body, "<root></root>") << name;
    }
    for (const char16_t* name : {u"a\u00D7", u"\u0300a", u"a\u2028", u"\u00B7a"}) {
        EXPECT_THROW(Written([&](XmlWriter_t& w) { w.OpenTag(name); }), IllegalArgumentError_t);
    }
}

TEST(XmlWriter, TakesNamesBeyondAscii) {
    EXPECT_EQ(Body([](XmlWriter_t& w) { w.OpenTag(u"\u00E9\u00B7\u4E2D_-.1"); }),
              "<\xC3\xA9\xC2\xB7\xE4\xB8\xAD_-.1></\xC3\xA9\xC2\xB7\xE4\xB8\xAD_-.1>");
}

TEST(XmlWriter, RefusesWrongDeclarationsAndRepeats) {
    struct Row {
        const char* says;
        Steps steps;
    };
    const std::vector<Row> rows = {
        {"the prefix xml", [](XmlWriter_t& w) { w.Namespace("xml", "u"); }},
        {"the prefix xmlns", [](XmlWriter_t& w) { w.Namespace("xmlns", "u"); }},
        {"the namespace of xml", [](XmlWriter_t& w) { w.Namespace("http://www.w3.org/XML/1998/namespace"); }},
        {"the namespace of xmlns", [](XmlWriter_t& w) { w.Namespace("p", "http://www.w3.org/2000/xmlns/"); }},
        {"a prefix for no namespace", [](XmlWriter_t& w) { w.Namespace("p", ""); }},
        {"a prefix that is no name", [](XmlWriter_t& w) { w.Namespace("1", "u"); }},
        {"a prefix with a colon", [](XmlWriter_t& w) { w.Namespace("p:q", "u"); }},
        {"a prefix twice", [](XmlWriter_t& w) { w.Namespace("q", "v"); }},
        {"an attribute twice", [](XmlWriter_t& w) { w.Attribute("k", "2"); }},
        {"a namespace as attribute", [](XmlWriter_t& w) { w.Attribute("xmlns", "u"); }},
        {"a prefix as attribute", [](XmlWriter_t& w) { w.Attribute("xmlns:p", "u"); }},
    };
    for (const auto& row : rows) {
        const std::string body = Body([&](XmlWriter_t& w) {
            w.OpenTag("a");
            w.Namespace("q", "u");
            w.Attribute("k", "1");
            EXPECT_THROW(row.steps(w), IllegalArgumentError_t) << row.says;
        });
        EXPECT_EQ(body, "<a xmlns:q=\"u\" k=\"1\"></a>") << row.says;
    }
}

TEST(XmlWriter, APrefixMustBeDeclaredBeforeTheTagEnds) {
    CharArrayOutputStream_t stream;
    XmlWriter_t writer(stream, Tight());
    writer.OpenTag("a");
    writer.OpenTag("p:b");
    writer.Attribute("q:k", "1");
    EXPECT_THROW(writer.Data("x"), IllegalArgumentError_t);
    writer.Namespace("p", "u");
    EXPECT_THROW(writer.CloseTag(), IllegalArgumentError_t);
    writer.Namespace("q", "u");
    writer.Data("x");
    writer.CloseTag();
    writer.OpenTag("p:c");
    EXPECT_THROW(writer.Close(), IllegalArgumentError_t) << "the prefix ended with its element";
    writer.Namespace("p", "v");
    writer.Close();
    EXPECT_EQ(stream.ToString(),
              String_t::FromUtf8(Declaration + "<a><p:b xmlns:p=\"u\" xmlns:q=\"u\" q:k=\"1\">x</p:b>"
                                               "<p:c xmlns:p=\"v\"></p:c></a>"));
}

TEST(XmlWriter, TwoPrefixesOfOneNamespaceCannotNameOneAttributeTwice) {
    CharArrayOutputStream_t stream;
    XmlWriter_t writer(stream, Tight());
    writer.OpenTag("a");
    writer.Namespace("p", "u");
    writer.Namespace("q", "u");
    writer.Attribute("p:k", "1");
    writer.Attribute("q:k", "2");
    EXPECT_THROW(writer.Close(), IllegalArgumentError_t);
    EXPECT_EQ(stream.Size(), 0u);
}

TEST(XmlWriter, RefusesCallsThatHaveNoPlace) {
    struct Row {
        const char* says;
        Steps before, wrong;
        const char* body;
    };
    const auto nothing = [](XmlWriter_t&) {};
    const auto root = [](XmlWriter_t& w) { w.OpenTag("a"); };
    const auto whole = [](XmlWriter_t& w) {
        w.OpenTag("a");
        w.CloseTag();
    };
    const auto withText = [](XmlWriter_t& w) {
        w.OpenTag("a");
        w.Data("x");
    };
    const std::vector<Row> rows = {
        {"text before the root", nothing, [](XmlWriter_t& w) { w.Data("x"); }, ""},
        {"an attribute before the root", nothing, [](XmlWriter_t& w) { w.Attribute("k", "1"); }, ""},
        {"a namespace before the root", nothing, [](XmlWriter_t& w) { w.Namespace("u"); }, ""},
        {"an end before the root", nothing, [](XmlWriter_t& w) { w.CloseTag(); }, ""},
        {"an attribute behind text", withText, [](XmlWriter_t& w) { w.Attribute("k", "1"); }, "<a>x</a>"},
        {"a namespace behind text", withText, [](XmlWriter_t& w) { w.Namespace("p", "u"); }, "<a>x</a>"},
        {"one end too many", whole, [](XmlWriter_t& w) { w.CloseTag(); }, "<a></a>"},
        {"a second root", whole, [](XmlWriter_t& w) { w.OpenTag("b"); }, "<a></a>"},
        {"text behind the root", whole, [](XmlWriter_t& w) { w.Data(" x"); }, "<a></a>"},
        {"a CR behind the root", whole, [](XmlWriter_t& w) { w.Data("\r"); }, "<a></a>"},
    };
    for (const auto& row : rows) {
        const std::string document = Written([&](XmlWriter_t& w) {
            row.before(w);
            EXPECT_THROW(row.wrong(w), IllegalStateError_t) << row.says;
        });
        EXPECT_EQ(document, *row.body ? Declaration + row.body : "") << row.says;
    }
    EXPECT_EQ(Body(root), "<a></a>");
}

TEST(XmlWriter, ANullOrClosedWriterRefusesEveryCall) {
    XmlWriter_t null;
    EXPECT_TRUE(null.IsNull());
    CharArrayOutputStream_t stream;
    XmlWriter_t closed(stream, Tight());
    closed.OpenTag("a");
    closed.Close();
    EXPECT_FALSE(closed.IsNull());
    EXPECT_NO_THROW(closed.Close());
    EXPECT_THROW(null.Close(), IllegalStateError_t);
    for (XmlWriter_t* writer : {&null, &closed}) {
        EXPECT_THROW(writer->OpenTag("a"), IllegalStateError_t);
        EXPECT_THROW(writer->Namespace("u"), IllegalStateError_t);
        EXPECT_THROW(writer->Namespace("p", "u"), IllegalStateError_t);
        EXPECT_THROW(writer->Attribute("k", "1"), IllegalStateError_t);
        EXPECT_THROW(writer->Data("x"), IllegalStateError_t);
        EXPECT_THROW(writer->Data(u"x", 1), IllegalStateError_t);
        EXPECT_THROW(writer->CloseTag(), IllegalStateError_t);
    }
    EXPECT_EQ(stream.ToString(), String_t::FromUtf8(Declaration + "<a></a>"));
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
