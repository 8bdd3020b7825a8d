// What an XML writer does not take: so a document is never broken, whatever it is given.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "LumPalXml.h"
#include "XmlWriterForTest.h"

using LumPalCodeset::Codeset_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;
using namespace xmlwriter;

TEST(XmlWriterRefusal, RefusesTextThatXmlCannotCarryAndWritesNothingOfIt) {
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

TEST(XmlWriterRefusal, CleanPutsTheReplacementForWhatXmlCannotCarry) {
    for (const auto& row : IllegalTexts()) EXPECT_EQ(XmlWriter_t::Clean(row.text), row.cleaned) << row.says;
    EXPECT_EQ(XmlWriter_t::Clean(u"a\t\n\r\u00E9\U0001F600"), u"a\t\n\r\u00E9\U0001F600");
    EXPECT_EQ(XmlWriter_t::Clean(""), "");
}

TEST(XmlWriterRefusal, RefusesNamesThatAreNone) {
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

TEST(XmlWriterRefusal, TakesNamesBeyondAscii) {
    EXPECT_EQ(Body([](XmlWriter_t& w) { w.OpenTag(u"\u00E9\u00B7\u4E2D_-.1"); }),
              "<\xC3\xA9\xC2\xB7\xE4\xB8\xAD_-.1></\xC3\xA9\xC2\xB7\xE4\xB8\xAD_-.1>");
}

TEST(XmlWriterRefusal, RefusesWrongDeclarationsAndRepeats) {
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

TEST(XmlWriterRefusal, APrefixMustBeDeclaredBeforeTheTagEnds) {
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

TEST(XmlWriterRefusal, TwoPrefixesOfOneNamespaceCannotNameOneAttributeTwice) {
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

TEST(XmlWriterRefusal, RefusesCallsThatHaveNoPlace) {
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

TEST(XmlWriterRefusal, ANullOrClosedWriterRefusesEveryCall) {
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
