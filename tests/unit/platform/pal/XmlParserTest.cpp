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

struct Row {
    const char* says;
    std::string document;
    const char* events;
};

void ExpectEvents(const std::vector<Row>& rows) {
    for (const auto& row : rows) EXPECT_EQ(EventsOf(row.document), row.events) << row.says;
}

/// Hands out at most some bytes at a time.
class Drops : public LumPalIo::InputStream_t::Impl {
public:
    Drops(std::string bytes, std::size_t most) : bytes(std::move(bytes)), most(most) {}
    std::int64_t Read(char* target, std::size_t length) override {
        if (at == bytes.size()) return -1;
        const std::size_t count = bytes.copy(target, std::min(length, most), at);
        at += count;
        return static_cast<std::int64_t>(count);
    }

private:
    std::string bytes;
    std::size_t most, at = 0;
};

class CountUnits : public DefaultHandler_t {
public:
    void StartElement(const String_t&, const String_t&, const String_t&, const Attributes_i& attributes) override {
        ++elements;
        if (attributes.GetCount() != 0) attributeUnits += attributes.GetValue(0).GetLength();
    }
    void Characters(const char16_t*, std::uint32_t, std::uint32_t length) override { units += length; }
    std::size_t elements = 0, units = 0, attributeUnits = 0;
};

}  // namespace

TEST(SaxParser, ReportsElementsTextsAndInstructionsInTheirOrder) {
    ExpectEvents({
        {"an empty element", "<a/>", "{<a></a>}"},
        {"nested elements and text", "<a>x<b>y</b>z</a>", "{<a>'x'<b>'y'</b>'z'</a>}"},
        {"white space inside the root stays", "<a>\n <b/>\t</a>", "{<a>'\n '<b></b>'\t'</a>}"},
        {"white space outside the root does not", " \n<a/>\n\n", "{<a></a>}"},
        {"a CDATA section is text", "<a>1<![CDATA[<&]]>2</a>", "{<a>'1<&2'</a>}"},
        {"comments are left out", "<!--x--><a>1<!--x-->2</a>", "{<a>'12'</a>}"},
        {"entities arrive resolved", "<a>&lt;&amp;&gt;&quot;&apos;&#65;&#x1F600;</a>",
         "{<a>'<&>\"'A\xF0\x9F\x98\x80'</a>}"},
        {"line ends become LF", "<a>1\r\n2\r3</a>", "{<a>'1\n2\n3'</a>}"},
        {"a CR by its number stays", "<a>&#13;</a>", "{<a>'\r'</a>}"},
        {"an instruction", "<?go  on now?><a><?stop?></a>", "{?go|on now?<a>?stop|?</a>}"},
        {"the declaration is no instruction", "<?xml version='1.0' encoding='UTF-8'?><a/>", "{<a></a>}"},
    });
}

TEST(SaxParser, GivesNamesWithTheirNamespaces) {
    ExpectEvents({
        {"a default namespace", "<a xmlns='u:1'><b/></a>", "{+=u:1;<{u:1}a><{u:1}b></{u:1}b></{u:1}a>-;}"},
        {"a prefix", "<p:a xmlns:p='u:1'/>", "{+p=u:1;<{u:1}a(p:a)></{u:1}a(p:a)>-p;}"},
        {"an undone default namespace", "<a xmlns='u'><b xmlns=''/></a>", "{+=u;<{u}a>+=;<b></b>-;</{u}a>-;}"},
        {"two prefixes of one namespace", "<p:a xmlns:p='u' xmlns:q='u'><q:a/></p:a>",
         "{+p=u;+q=u;<{u}a(p:a)><{u}a(q:a)></{u}a(q:a)></{u}a(p:a)>-q;-p;}"},
        {"one prefix, two namespaces", "<p:a xmlns:p='u'><p:a xmlns:p='v'/></p:a>",
         "{+p=u;<{u}a(p:a)>+p=v;<{v}a(p:a)></{v}a(p:a)>-p;</{u}a(p:a)>-p;}"},
        {"attributes have no default namespace", "<a xmlns='u' k='1'/>", "{+=u;<{u}a k='1'></{u}a>-;}"},
        {"an attribute with a prefix", "<a xmlns:p='u' p:k='1' k='2'/>", "{+p=u;<a {u}k(p:k)='1' k='2'></a>-p;}"},
        {"the prefix xml", "<a xml:lang='de'/>", "{<a {http://www.w3.org/XML/1998/namespace}lang(xml:lang)='de'></a>}"},
        {"values are normalised", "<a k=' 1\n2&#10;3&lt; '/>", "{<a k=' 1 2\n3< '></a>}"},
        {"names beyond ASCII", "<\xC3\xA4 \xC3\xB6='\xE2\x82\xAC'/>",
         "{<\xC3\xA4 \xC3\xB6='\xE2\x82\xAC'></\xC3\xA4>}"},
    });
}

TEST(SaxParser, AttributesAreFoundByNameAndAnAbsentOneIsNull) {
    class Look : public DefaultHandler_t {
    public:
        void StartElement(const String_t&, const String_t&, const String_t&, const Attributes_i& a) override {
            EXPECT_EQ(a.GetCount(), 2);
            EXPECT_EQ(a.GetValue("", "k"), "1");
            EXPECT_EQ(a.GetValue("u", "k"), "");
            EXPECT_TRUE(a.GetValue("u", "k").IsNotNull());
            EXPECT_TRUE(a.GetValue("v", "k").IsNull());
            EXPECT_TRUE(a.GetValue("", "x").IsNull());
            for (const int outside : {-1, 2, 1000}) {
                EXPECT_TRUE(a.GetUri(outside).IsNull());
                EXPECT_TRUE(a.GetLocalName(outside).IsNull());
                EXPECT_TRUE(a.GetQName(outside).IsNull());
                EXPECT_TRUE(a.GetValue(outside).IsNull());
            }
            seen = true;
        }
        bool seen = false;
    } look;
    SAXParser_t parser;
    parser.SetContentHandler(&look);
    parser.Parse(SourceOf("<a xmlns:p='u' k='1' p:k=''/>"));
    EXPECT_TRUE(look.seen);
}

TEST(SaxParser, NamesStayRightWhenManyShareTheSameEnd) {
    // More names than any cache holds, all alike at their ends, each twice.
    std::string document = "<r>", events = "{<r>";
    for (int i = 0; i < 600; ++i) {
        const std::string name = "n" + std::to_string(i % 300) + "_the_same_long_tail";
        document += "<" + name + " " + name + "='1'/>";
        events += "<" + name + " " + name + "='1'></" + name + ">";
    }
    EXPECT_EQ(EventsOf(document + "</r>"), events + "</r>}");
}

TEST(SaxParser, AnElementsNameStaysWhileItsAttributesAreLookedAt) {
    class Look : public DefaultHandler_t {
    public:
        void StartElement(const String_t&, const String_t& local, const String_t&, const Attributes_i& a) override {
            for (int i = 0; i < a.GetCount(); ++i) EXPECT_NE(a.GetLocalName(i), local);
            EXPECT_EQ(local, "element");
        }
    } look;
    std::string document = "<element";
    for (int i = 0; i < 1000; ++i) document += " a" + std::to_string(i) + "='x'";
    SAXParser_t parser;
    parser.SetContentHandler(&look);
    parser.Parse(SourceOf(document + "/>"));
}

TEST(SaxParser, ReadsWhateverTheSizeOfTheReads) {
    std::string document = "<a>", events = "{<a>";
    for (int i = 0; i < 3000; ++i) {
        document += "<b k='\xC3\xA9'>\xF0\x9F\x98\x80 text &amp; more</b>";
        events += "<b k='\xC3\xA9'>'\xF0\x9F\x98\x80 text & more'</b>";
    }
    document += "</a>";
    events += "</a>}";
    for (const std::size_t most : {1u, 7u, 4096u, 65535u, 65536u, 10000000u}) {
        RecordedEvents recorded;
        SAXParser_t parser;
        parser.SetContentHandler(&recorded);
        parser.Parse(InputSource_t(LumPalIo::InputStream_t(std::make_shared<Drops>(document, most))));
        EXPECT_EQ(recorded.Log(), events) << most;
    }
}

TEST(SaxParser, ReadsTheEncodingsOfTheDeclarationAndOfTheMark) {
    const std::u16string wide = u"\uFEFF<a>\u00E9\U0001F600</a>";
    ExpectEvents({
        {"a mark of UTF-8", "\xEF\xBB\xBF<a>\xC3\xA9</a>", "{<a>'\xC3\xA9'</a>}"},
        {"Latin 1", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>", "{<a>'\xC3\xA9'</a>}"},
        {"ASCII", "<?xml version='1.0' encoding='US-ASCII'?><a>e</a>", "{<a>'e'</a>}"},
        {"UTF-16, big end first", Utf16Bytes(wide, true), "{<a>'\xC3\xA9\xF0\x9F\x98\x80'</a>}"},
        {"UTF-16, small end first", Utf16Bytes(wide, false), "{<a>'\xC3\xA9\xF0\x9F\x98\x80'</a>}"},
    });
}

TEST(SaxParser, ReportsTheEventsOfADocumentType) {
    ExpectEvents({
        {"notations and unparsed entities",
         "<!DOCTYPE a [<!NOTATION n PUBLIC 'p' 's'><!NOTATION m SYSTEM 't'><!NOTATION o PUBLIC 'q'>"
         "<!ENTITY e PUBLIC 'ep' 'es' NDATA n>]><a/>",
         "{notation:n,p,s;notation:m,null,t;notation:o,q,null;unparsed:e,ep,es,n;<a></a>}"},
        {"an internal entity is expanded", "<!DOCTYPE a [<!ENTITY e 'x<b/>y'>]><a>&e;</a>", "{<a>'x'<b></b>'y'</a>}"},
        {"also in a value", "<!DOCTYPE a [<!ENTITY e 'xy'>]><a k='&e;!'/>", "{<a k='xy!'></a>}"},
        {"a default value", "<!DOCTYPE a [<!ATTLIST a k CDATA 'v'>]><a/>", "{<a k='v'></a>}"},
        {"an external entity is told and left out",
         "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>1&e;2</a>",
         "{<a>'1'resolve:null,file:///etc/passwd;skip:e;'2'</a>}"},
        {"with its public id", "<!DOCTYPE a [<!ENTITY e PUBLIC 'p' 's'>]><a>&e;&e;</a>",
         "{<a>resolve:p,s;skip:e;resolve:p,s;skip:e;</a>}"},
        {"an external subset is told and left out", "<!DOCTYPE a SYSTEM 'http://127.0.0.1:9/a.dtd'><a/>",
         "{resolve:null,http://127.0.0.1:9/a.dtd;skip:[dtd];<a></a>}"},
        {"an entity that the external subset may hold", "<!DOCTYPE a SYSTEM 's'><a>1&e;2</a>",
         "{resolve:null,s;skip:[dtd];<a>'1'skip:e;'2'</a>}"},
        {"an external parameter entity is told and left out",
         "<!DOCTYPE a [<!ENTITY % p SYSTEM 'file:///etc/passwd'>%p;]><a>1&e;2</a>",
         "{resolve:null,file:///etc/passwd;skip:%p;<a>'1'skip:e;'2'</a>}"},
        {"with its public id, at each reference", "<!DOCTYPE a [<!ENTITY % p PUBLIC 'i' 's'>%p;%p;]><a/>",
         "{resolve:i,s;skip:%p;resolve:i,s;skip:%p;<a></a>}"},
        {"one that is not referred to is not told", "<!DOCTYPE a [<!ENTITY % p SYSTEM 's'>]><a/>", "{<a></a>}"},
        {"a general entity of its name is another", "<!DOCTYPE a [<!ENTITY % p SYSTEM 's'><!ENTITY p 'x'>]><a>&p;</a>",
         "{<a>'x'</a>}"},
        {"one that is not declared", "<!DOCTYPE a [%p;]><a/>", "{skip:%p;<a></a>}"},
        {"in a standalone document too",
         "<?xml version='1.0' standalone='yes'?><!DOCTYPE a [<!ENTITY % p SYSTEM 's'>%p;]><a/>",
         "{resolve:null,s;skip:%p;<a></a>}"},
        {"beside an external subset", "<!DOCTYPE a SYSTEM 't' [<!ENTITY % p SYSTEM 's'>%p;]><a/>",
         "{resolve:null,t;skip:[dtd];resolve:null,s;skip:%p;<a></a>}"},
        {"an internal parameter entity is read",
         "<!DOCTYPE a [<!ENTITY % p \"<!ENTITY e 'x'>\">%p;]><a k='&e;'>1&e;2</a>", "{<a k='x'>'1x2'</a>}"},
        {"two of one system id, each by its name",
         "<!DOCTYPE a [<!ENTITY e SYSTEM 's'><!ENTITY f SYSTEM 's'>]><a>&f;&e;&f;</a>",
         "{<a>resolve:null,s;skip:f;resolve:null,s;skip:e;resolve:null,s;skip:f;</a>}"},
        {"also where one is a parameter entity, and with public ids",
         "<!DOCTYPE a [<!ENTITY % p SYSTEM 's'><!ENTITY % q PUBLIC 'i' 's'><!ENTITY e SYSTEM 's'>%q;%p;]><a>&e;</a>",
         "{resolve:i,s;skip:%q;resolve:null,s;skip:%p;<a>resolve:null,s;skip:e;</a>}"},
        {"an external entity within an internal one",
         "<!DOCTYPE a [<!ENTITY e '1&x;2'><!ENTITY x SYSTEM 's'>]><a>&e;</a>", "{<a>'1'resolve:null,s;skip:x;'2'</a>}"},
    });
}

TEST(SaxParser, ANameOfAnyLengthIsToldOfASkippedParameterEntity) {
    const std::string name(5000, 'p');
    for (const bool bigEndian : {false, true}) {
        const std::u16string wide(name.begin(), name.end());
        const std::u16string text = u"\uFEFF<!DOCTYPE a [<!ENTITY % " + wide + u" SYSTEM 's'>%" + wide + u";]><a/>";
        EXPECT_EQ(EventsOf(Utf16Bytes(text, bigEndian)), "{resolve:null,s;skip:%" + name + ";<a></a>}");
    }
}

TEST(SaxParser, HandlersMayBeMissing) {
    SAXParser_t parser;
    EXPECT_NO_THROW(
        parser.Parse(SourceOf("<!DOCTYPE a [<!NOTATION n SYSTEM 's'><!ENTITY e SYSTEM 's'>]>"
                              "<a xmlns:p='u' k='1'>x<?pi?>&e;</a>")));
    EXPECT_THROW(parser.Parse(SourceOf("<a>")), SAXParseException_t);
}

TEST(SaxParser, AParserReadsOneDocumentAfterAnother) {
    RecordedEvents events;
    SAXParser_t parser;
    parser.SetContentHandler(&events);
    parser.Parse(SourceOf("<a/>"));
    EXPECT_THROW(parser.Parse(SourceOf("<a><b></a>")), SAXParseException_t);
    parser.Parse(SourceOf("<c/>"));
    EXPECT_EQ(events.Log(), "{<a></a>}{<a><b>{<c></c>}");
}

TEST(SaxParser, AHandlerMayParseAnotherDocument) {
    class Nesting : public RecordedEvents {
    public:
        void StartElement(const String_t& uri, const String_t& local, const String_t& qName,
                          const Attributes_i& attributes) override {
            inner += EventsOf("<x><y k='1'>t</y></x>");
            RecordedEvents::StartElement(uri, local, qName, attributes);
        }
        std::string inner;
    } events;
    SAXParser_t parser;
    parser.SetContentHandler(&events);
    parser.Parse(SourceOf("<a>1<b/></a>"));
    EXPECT_EQ(events.Log(), "{<a>'1'<b></b></a>}");
    EXPECT_EQ(events.inner, "{<x><y k='1'>'t'</y></x>}{<x><y k='1'>'t'</y></x>}");
}

TEST(SaxParser, TheLocatorFollowsTheDocument) {
    class Lines : public RecordedEvents {
    public:
        void StartElement(const String_t&, const String_t&, const String_t&, const Attributes_i&) override {
            places.push_back({locator->GetLineNumber(), locator->GetColumnNumber()});
            ids = locator->GetPublicId() + "|" + locator->GetSystemId();
        }
        std::vector<std::pair<int, int>> places;
        String_t ids;
    } lines;
    SAXParser_t parser;
    parser.SetContentHandler(&lines);
    InputSource_t source = SourceOf("<a>\n  <b/>\xC3\xA9<c/>\r\n<d/></a>");
    source.SetPublicId("p");
    source.SetSystemId("s");
    parser.Parse(source);
    const std::vector<std::pair<int, int>> expected = {{1, 1}, {2, 3}, {2, 8}, {3, 1}};
    EXPECT_EQ(lines.places, expected);
    EXPECT_EQ(lines.ids, "p|s");
}

TEST(SaxParser, TextOf50MegabytesPassesInSmallPieces) {
    class Longest : public CountUnits {
    public:
        void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override {
            CountUnits::Characters(text, start, length);
            longest = std::max<std::size_t>(longest, length);
        }
        std::size_t longest = 0;
    } counter;
    constexpr std::size_t Size = 50u << 20;
    SAXParser_t parser;
    parser.SetContentHandler(&counter);
    parser.Parse(SourceOf("<a>" + std::string(Size, 'x') + "</a>"));
    EXPECT_EQ(counter.units, Size);
    EXPECT_LE(counter.longest, 1u << 20);
}

TEST(SaxParser, ALongValueIsReadInLinearTime) {
    CountUnits counter;
    SAXParser_t parser;
    parser.SetContentHandler(&counter);
    parser.Parse(SourceOf("<a k='" + std::string(7u << 20, 'x') + "'/>"));
    EXPECT_EQ(counter.attributeUnits, 7u << 20);
}

TEST(SaxParser, TenThousandLevelsCostNoStack) {
    CountUnits counter;
    SAXParser_t parser;
    parser.SetContentHandler(&counter);
    std::string document;
    for (int i = 0; i < 10000; ++i) document += "<a>";
    for (int i = 0; i < 10000; ++i) document += "</a>";
    parser.Parse(SourceOf(document));
    EXPECT_EQ(counter.elements, 10000u);
}

TEST(DefaultHandler, OnlyAFatalErrorThrows) {
    DefaultHandler_t handler;
    const SAXParseException_t exception(LumPalMsg::CreateError_t("x"), 3, 4, "p", "s");
    EXPECT_NO_THROW(handler.Warning(exception));
    EXPECT_NO_THROW(handler.Error(exception));
    EXPECT_THROW(handler.FatalError(exception), SAXParseException_t);
    EXPECT_TRUE(handler.ResolveEntity("p", "s").IsNull());
    EXPECT_NO_THROW(handler.IgnorableWhitespace(u" ", 0, 1));
}
