#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "LumPalXml.h"
#include "XmlEventsForTest.h"

using LumPalStr::String_t;
using LumPalXml::SAXParser_t;
using namespace LumPalXml::SAX;

namespace {

struct Place {
    int line, column;
};

struct BadRow {
    const char* says;
    std::string document;
    Place place;
};

std::string Repeat(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) result += text;
    return result;
}

std::string NulText() {
    return std::string("<a>\n1") + '\0' + "</a>";
}

/// Ten entities, each ten times the one before.
std::string EntityBomb() {
    std::string document = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
    for (int i = 1; i < 10; ++i) {
        const std::string before = "&e" + std::to_string(i - 1) + ";";
        document += "<!ENTITY e" + std::to_string(i) + " '" + Repeat(before, 10) + "'>";
    }
    return document + "]><a>&e9;</a>";
}

std::string QuadraticBomb() {
    return "<!DOCTYPE a [<!ENTITY e '" + std::string(50000, 'x') + "'>]><a>" + Repeat("&e;", 50000) + "</a>";
}

std::string ValueBomb() {
    return "<!DOCTYPE a [<!ENTITY e '" + std::string(50000, 'x') + "'>]><a k='" + Repeat("&e;", 50000) + "'/>";
}

std::string DefaultsBomb() {
    return "<!DOCTYPE a [<!ATTLIST b k CDATA '" + std::string(50000, 'x') + "'>]><a>" + Repeat("<b/>", 50000) + "</a>";
}

std::string ParameterBomb() {
    return "<!DOCTYPE a [<!ENTITY % p '<!--" + std::string(50000, 'x') + "-->'>" + Repeat("%p;", 50000) + "]><a/>";
}

/// Parameter entities, each of which refers to the one before: so many nested references in the end.
std::string ParameterChain(int count) {
    std::string document = "<!DOCTYPE a [<!ENTITY % p0 '<!---->'>";
    for (int i = 1; i < count; ++i) {
        document += "<!ENTITY % p" + std::to_string(i) + " '&#37;p" + std::to_string(i - 1) + ";'>";
    }
    return document + "%p" + std::to_string(count - 1) + ";]><a/>";
}

std::string EntityChain() {
    std::string document = "<!DOCTYPE a [<!ENTITY e0 'x'>";
    for (int i = 1; i < 100000; ++i) {
        document += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
    }
    return document + "]><a>&e99999;</a>";
}

/// What a parse without an error handler throws.
SAXParseException_t ErrorOf(const std::string& document, bool refuseDoctype = false, std::uint32_t depth = 100000) {
    SAXParser_t parser;
    DefaultHandler_t handler;
    parser.SetContentHandler(&handler);
    parser.SetRefuseDoctype(refuseDoctype);
    parser.SetDepthLimit(depth);
    try {
        parser.Parse(SourceOf(document));
    } catch (const SAXParseException_t& e) {
        return e;
    }
    return SAXParseException_t(LumPalMsg::CreateError_t("nothing was thrown"), -1, -1, "", "");
}

bool Mentions(const SAXParseException_t& error, const char* text) {
    return error.GetMessageList().Format(LumPalMsg::Text).Find(text) != LumPalStr::NotFound;
}

}  // namespace

TEST(SaxErrors, TellLineAndColumnFromOne) {
    const std::vector<BadRow> rows = {
        {"nothing at all", "", {1, 1}},
        {"white space alone", " \n ", {2, 2}},
        {"text alone", "hello", {1, 1}},
        {"an open element", "<a>\n<b>", {2, 4}},
        {"a wrong end tag", "<a>\n <b></a>", {2, 7}},
        {"two roots", "<a/>\n<b/>", {2, 1}},
        {"text behind the root", "<a/>\n x", {2, 2}},
        {"an attribute twice", "<a k='1' k='2'/>", {1, 10}},
        {"an attribute twice by its namespace", "<a xmlns:p='u' xmlns:q='u' p:k='1' q:k='2'/>", {1, 1}},
        {"a value without quotes", "<a k=1/>", {1, 6}},
        {"a less-than in a value", "<a k='<'/>", {1, 7}},
        {"a bare ampersand", "<a>\n&</a>", {2, 2}},
        {"an unknown entity", "<a>\n\n&x;</a>", {3, 1}},
        {"an unknown prefix", "<a>\n<p:b/></a>", {2, 1}},
        {"an unknown prefix of an attribute", "<a p:k='1'/>", {1, 1}},
        {"a prefix undone", "<a xmlns:p=''/>", {1, 1}},
        {"the prefix xml bound elsewhere", "<a xmlns:xml='u'/>", {1, 1}},
        {"an end of a CDATA section in text", "<a>]]></a>", {1, 6}},
        {"two hyphens in a comment", "<a><!-- -- --></a>", {1, 11}},
        {"a reference to U+0000", "<a>&#0;</a>", {1, 4}},
        {"a reference to a surrogate", "<a>&#xD800;</a>", {1, 4}},
        {"a reference to U+FFFF", "<a>&#xFFFF;</a>", {1, 4}},
        {"a reference beyond Unicode", "<a>&#x110000;</a>", {1, 4}},
        {"a NUL", NulText(), {2, 2}},
        {"a control", "<a>\x01</a>", {1, 4}},
        {"U+FFFE", "<a>\xEF\xBF\xBE</a>", {1, 4}},
        {"a lone continuation byte", "<a>\n\x80</a>", {2, 1}},
        {"a long form of a slash", "<a>\xC0\xAF</a>", {1, 4}},
        {"a surrogate in UTF-8", "<a>\xED\xA0\x80</a>", {1, 4}},
        {"a sequence beyond Unicode", "<a>\xF4\x90\x80\x80</a>", {1, 4}},
        {"a cut sequence", "<a>\xE2\x82</a>", {1, 4}},
        {"an unknown encoding", "<?xml version='1.0' encoding='EBCDIC-XX'?><a/>", {1, 31}},
        {"a declaration that lies about UTF-16", "<?xml version='1.0' encoding='UTF-16'?><a/>", {1, 31}},
        {"a declaration too late", " <?xml version='1.0'?><a/>", {1, 2}},
        {"an entity that holds itself", "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>", {1, 36}},
        {"a parameter entity that holds itself", "<!DOCTYPE a [<!ENTITY % p '&#37;p;'>%p;]><a/>", {1, 37}},
        {"a parameter entity within a declaration", "<!DOCTYPE a [<!ENTITY % p 'x'><!ENTITY e '%p;'>]><a/>", {1, 43}},
        {"an external entity in a value", "<!DOCTYPE a [<!ENTITY e SYSTEM 's'>]><a k='&e;'/>", {1, 44}},
        {"an unparsed entity in text",
         "<!DOCTYPE a [<!NOTATION n SYSTEM 's'><!ENTITY e SYSTEM 's' NDATA n>]><a>&e;</a>",
         {1, 73}},
    };
    for (const auto& row : rows) {
        const SAXParseException_t error = ErrorOf(row.document);
        EXPECT_EQ(error.GetLineNumber(), row.place.line) << row.says << ": " << error.what();
        EXPECT_EQ(error.GetColumnNumber(), row.place.column) << row.says << ": " << error.what();
    }
}

TEST(SaxErrors, ALoneSurrogateInUtf16IsRefusedWhereverItStands) {
    const std::vector<std::u16string> contents = {{'x', 0xD800, 'y'},       {0xDC00},         {0xD800},
                                                  {0xD800, 0xD800, 0xDC00}, {0xDFFF, 0xD800}, {0xDBFF, '<'}};
    for (const bool bigEndian : {false, true}) {
        for (const auto& content : contents) {
            for (const std::size_t before : {0u, 4085u, 70000u}) {
                const std::u16string text = u"\uFEFF<a>" + std::u16string(before, u'z') + content + u"</a>";
                const SAXParseException_t error = ErrorOf(Utf16Bytes(text, bigEndian));
                EXPECT_EQ(error.GetLineNumber(), 1) << before;
                EXPECT_GT(error.GetColumnNumber(), 3) << before;
            }
        }
        EXPECT_EQ(ErrorOf(Utf16Bytes(u"<a k='\U0001F600'>\U0010FFFF\U00010000</a>", bigEndian)).GetLineNumber(), -1);
    }
}

TEST(SaxErrors, CarryTheIdsOfTheSource) {
    InputSource_t source = SourceOf("<a>\n</b>");
    source.SetPublicId("the public id");
    source.SetSystemId("/the/file.xml");
    SAXParser_t parser;
    try {
        parser.Parse(source);
        FAIL() << "nothing was thrown";
    } catch (const SAXParseException_t& e) {
        EXPECT_EQ(e.GetPublicId(), "the public id");
        EXPECT_EQ(e.GetSystemId(), "/the/file.xml");
        EXPECT_TRUE(Mentions(e, "'/the/file.xml'"));
        EXPECT_TRUE(Mentions(e, "line 2, column 3"));
    }
}

TEST(SaxErrors, EachBombIsRefused) {
    struct Row {
        const char* says;
        std::string document;
    };
    const std::vector<Row> rows = {
        {"entities of entities", EntityBomb()}, {"one long entity, often", QuadraticBomb()},
        {"the same in a value", ValueBomb()},   {"one long default, often", DefaultsBomb()},
        {"a chain of entities", EntityChain()}, {"one long parameter entity, often", ParameterBomb()},
    };
    for (const auto& row : rows) EXPECT_GT(ErrorOf(row.document).GetLineNumber(), 0) << row.says;
    EXPECT_TRUE(Mentions(ErrorOf(DefaultsBomb()), "expand beyond the bound"));
    EXPECT_TRUE(Mentions(ErrorOf(EntityChain()), "more than 1000 entities"));
}

TEST(SaxErrors, NestedParameterEntitiesCostNoMoreStackThanTheBoundOnEntitiesAllows) {
    EXPECT_EQ(ErrorOf(ParameterChain(1000)).GetLineNumber(), -1);
    EXPECT_TRUE(Mentions(ErrorOf(ParameterChain(100000)), "more than 1000 entities"));
}

TEST(SaxErrors, AHandfulOfEntitiesIsNoBomb) {
    const std::string document = "<!DOCTYPE a [<!ENTITY e '" + std::string(1000, 'x') + "'>]><a>" + Repeat("&e;", 100);
    EXPECT_EQ(EventsOf(document + "</a>"), "{<a>'" + std::string(100000, 'x') + "'</a>}");
}

TEST(SaxErrors, ElementsDeeperThanTheLimitAreRefused) {
    EXPECT_EQ(ErrorOf("<a><b/><b/></a>", false, 2).GetLineNumber(), -1);
    const SAXParseException_t error = ErrorOf("<a><b/><b>\n<c/></b></a>", false, 2);
    EXPECT_EQ(error.GetLineNumber(), 2);
    EXPECT_EQ(error.GetColumnNumber(), 1);
    EXPECT_TRUE(Mentions(error, "nested too deep"));
    EXPECT_TRUE(Mentions(ErrorOf(Repeat("<a>", 100001)), "nested too deep"));
}

TEST(SaxErrors, ATagLongerThanTheBoundIsRefused) {
    EXPECT_TRUE(Mentions(ErrorOf("<a k='" + std::string(9u << 20, 'x') + "'/>"), "longer than 8 MiB"));
    EXPECT_TRUE(Mentions(ErrorOf("<a><!--" + std::string(9u << 20, 'x')), "longer than 8 MiB"));
    EXPECT_TRUE(Mentions(ErrorOf("<a xmlns:p='" + std::string(5000, 'x') + "'/>"), "longer than 4096 bytes"));
}

TEST(SaxErrors, ADocumentOfDifferentNamesAloneIsRefusedBeforeItsTablesOutgrowIt) {
    std::string document = "<a>";
    for (int i = 0; i < 1000000; ++i) document += "<e" + std::to_string(i) + "/>";
    EXPECT_TRUE(Mentions(ErrorOf(document + "</a>"), "need too much memory"));
    EXPECT_EQ(ErrorOf("<a>" + Repeat("<e1/><e2/>", 500000) + "</a>").GetLineNumber(), -1);
}

TEST(SaxErrors, ADocumentTypeIsRefusedOnlyWhenAsked) {
    for (const char* document :
         {"<!DOCTYPE a><a/>", "<!DOCTYPE a SYSTEM 's'><a/>", "<!DOCTYPE a [<!ENTITY e 'x'>]><a/>"}) {
        EXPECT_EQ(ErrorOf(document).GetLineNumber(), -1) << document;
        EXPECT_TRUE(Mentions(ErrorOf(document, true), "a document type declaration is not allowed")) << document;
    }
    EXPECT_EQ(ErrorOf("<a/>", true).GetLineNumber(), -1);
}

TEST(SaxErrors, NothingIsToldAfterAnError) {
    RecordedEvents events;
    SAXParser_t parser;
    parser.SetContentHandler(&events);
    parser.SetDepthLimit(2);
    EXPECT_THROW(parser.Parse(SourceOf("<a><b xmlns='u'><c xmlns='v'/></b>text</a>")), SAXParseException_t);
    EXPECT_EQ(events.Log(), "{<a>+=u;<{u}b>+=v;");
}

TEST(SaxErrors, AnErrorHandlerThatReturnsEndsTheParse) {
    class Quiet : public RecordedEvents {
    public:
        void FatalError(const SAXParseException_t& e) override {
            ++errors;
            line = e.GetLineNumber();
        }
        int errors = 0, line = 0;
    } quiet;
    SAXParser_t parser;
    SetAllHandlers(parser, quiet);
    EXPECT_NO_THROW(parser.Parse(SourceOf("<a>\n\n</b>")));
    EXPECT_EQ(quiet.errors, 1);
    EXPECT_EQ(quiet.line, 3);
    EXPECT_EQ(quiet.Log(), "{<a>'\n\n'");
}

TEST(SaxErrors, AnErrorHandlerMayThrowWhatItWants) {
    class Own : public DefaultHandler_t {
        void FatalError(const SAXParseException_t&) override { throw std::out_of_range("mine"); }
    } own;
    SAXParser_t parser;
    parser.SetErrorHandler(&own);
    EXPECT_THROW(parser.Parse(SourceOf("<a")), std::out_of_range);
}

TEST(SaxErrors, WhatAHandlerThrowsLeavesTheParseUnchanged) {
    /// Throws at the n-th event and counts all of them.
    class Throwing : public RecordedEvents {
    public:
        void Count() {
            if (events++ == throwAt) throw std::domain_error("event " + std::to_string(throwAt));
        }
        void StartDocument() override { Count(); }
        void EndDocument() override { Count(); }
        void StartPrefixMapping(const String_t&, const String_t&) override { Count(); }
        void EndPrefixMapping(const String_t&) override { Count(); }
        void StartElement(const String_t&, const String_t&, const String_t&, const Attributes_i&) override { Count(); }
        void EndElement(const String_t&, const String_t&, const String_t&) override { Count(); }
        void Characters(const char16_t*, std::uint32_t, std::uint32_t) override { Count(); }
        void ProcessingInstruction(const String_t&, const String_t&) override { Count(); }
        void SkippedEntity(const String_t&) override { Count(); }
        void NotationDecl(const String_t&, const String_t&, const String_t&) override { Count(); }
        void UnparsedEntityDecl(const String_t&, const String_t&, const String_t&, const String_t&) override {
            Count();
        }
        InputSource_t ResolveEntity(const String_t&, const String_t&) override {
            Count();
            return {};
        }
        int throwAt = -1, events = 0;
    };
    const std::string document =
        "<!DOCTYPE a SYSTEM 's' [<!NOTATION n SYSTEM 's'><!ENTITY u SYSTEM 's' NDATA n><!ENTITY x SYSTEM 's'>]>"
        "<a xmlns='u'>t<?pi?>&x;</a>";
    const auto run = [&](int throwAt) {
        Throwing handler;
        handler.throwAt = throwAt;
        SAXParser_t parser;
        SetAllHandlers(parser, handler);
        parser.Parse(SourceOf(document));
        return handler.events;
    };
    const int all = run(-1);
    EXPECT_EQ(all, 14);
    for (int i = 0; i < all; ++i) {
        try {
            run(i);
            ADD_FAILURE() << "event " << i << " did not throw";
        } catch (const std::domain_error& e) {
            EXPECT_EQ(e.what(), "event " + std::to_string(i));
        }
    }
}

TEST(SaxErrors, AFailingStreamLeavesTheParseUnchanged) {
    class Failing : public LumPalIo::InputStream_t::Impl {
        std::int64_t Read(char*, std::size_t) override {
            throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("broken"));
        }
    };
    SAXParser_t parser;
    EXPECT_THROW(parser.Parse(InputSource_t(LumPalIo::InputStream_t(std::make_shared<Failing>()))),
                 LumPalIo::IOException_t);
}

TEST(SaxErrors, ANullSourceIsAnIllegalArgument) {
    SAXParser_t parser;
    EXPECT_TRUE(InputSource_t().IsNull());
    EXPECT_THROW(parser.Parse(InputSource_t()), LumPalMsg::IllegalArgumentError_t);
}
