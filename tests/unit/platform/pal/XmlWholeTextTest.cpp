// What a document says arrives whole or not at all: skipped entities, and marks that lie about the encoding.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "LumPalXml.h"
#include "XmlEventsForTest.h"
#include "XmlMark.h"

using LumPalXml::ByteOrderMark;
using LumPalXml::SAXParser_t;
using namespace LumPalXml::SAX;

namespace {

struct Place {
    int line, column;
    bool operator==(const Place&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Place& place) {
    return out << place.line << ":" << place.column;
}

/// Where a parser that refuses skipped entities ends; nothing when it reads the document whole.
std::optional<Place> RefusedAt(const std::string& document, DefaultHandler_t* handler) {
    SAXParser_t parser;
    parser.SetRefuseSkippedEntities(true);
    parser.SetContentHandler(handler);
    try {
        parser.Parse(SourceOf(document));
    } catch (const SAXParseException_t& e) {
        return Place{e.GetLineNumber(), e.GetColumnNumber()};
    }
    return std::nullopt;
}

const std::string kLatin = "ISO-8859-1";

/// A document in an encoding, behind a mark, that declares an encoding; without a declaration when that is empty.
std::u16string Declared(const std::string& encoding) {
    std::u16string text;
    if (!encoding.empty()) {
        text = u"<?xml version='1.0' encoding='" + std::u16string(encoding.begin(), encoding.end()) + u"'?>";
    }
    return text + u"<a>\u00E9</a>";
}

std::string Utf8(const std::u16string& text) {
    return LumPalStr::String_t(text.data(), static_cast<std::uint32_t>(text.size())).ToUtf8();
}

}  // namespace

TEST(SaxWholeText, ASkippedEntityIsRefusedWithItsPlace) {
    const struct {
        const char* says;
        std::string document;
        Place place;
    } rows[] = {
        {"an external entity", "<!DOCTYPE a [<!ENTITY e SYSTEM 's'>]>\n<a>\n ab&e;cd</a>", {3, 4}},
        {"with a public id", "<!DOCTYPE a [<!ENTITY e PUBLIC 'p' 's'>]>\n<a>&e;</a>", {2, 4}},
        {"within an internal one", "<!DOCTYPE a [<!ENTITY e '1&x;2'><!ENTITY x SYSTEM 's'>]>\n<a>&e;</a>", {2, 4}},
        {"an external subset", "<!DOCTYPE a SYSTEM 's'>\n<a>ab&e;cd</a>", {1, 23}},
        {"an external subset that nothing refers to", "<!DOCTYPE a PUBLIC 'p' 's'><a/>", {1, 27}},
        {"an external parameter entity", "<!DOCTYPE a [\n<!ENTITY % p SYSTEM 's'>%p;]><a>ab&e;cd</a>", {2, 24}},
        {"an internal one that declares the entity",
         "<!DOCTYPE a [\n <!ENTITY % p \"<!ENTITY e 'x'>\">%p;]><a>ab&e;cd</a>",
         {2, 15}},
        {"a parameter entity that is not declared", "<!DOCTYPE a [\n%p;]><a>ab&e;cd</a>", {2, 1}},
        {"an entity in a value, behind an external subset", "<!DOCTYPE a SYSTEM 's'>\n<a k='1&e;2'/>", {1, 23}},
        {"in a value, behind a parameter entity", "<!DOCTYPE a [%p;]>\n<a k='1&e;2'/>", {1, 14}},
        {"in a default value", "<!DOCTYPE a [%p;<!ATTLIST a k CDATA '1&e;2'>]>\n<a/>", {1, 14}},
        {"an external entity in a value", "<!DOCTYPE a [<!ENTITY e SYSTEM 's'>]><a k='&e;'/>", {1, 44}},
        {"an entity that is not declared", "<a>\n&e;</a>", {2, 1}},
        {"an entity that is not declared, in a value", "<a k='&e;'/>", {1, 1}},
        {"in a standalone document",
         "<?xml version='1.0' standalone='yes'?><!DOCTYPE a SYSTEM 's'><a>&e;</a>",
         {1, 61}},
    };
    for (const auto& row : rows) {
        RecordedEvents events;
        EXPECT_EQ(RefusedAt(row.document, &events), row.place) << row.says;
        EXPECT_EQ(events.Log().find("skip:"), std::string::npos) << row.says;
        EXPECT_EQ(events.Log().find("cd"), std::string::npos) << row.says;
        EXPECT_EQ(RefusedAt(row.document, nullptr), row.place) << row.says;
    }
}

TEST(SaxWholeText, WhatIsWholeIsReadByAParserThatRefusesSkippedEntities) {
    for (const char* document :
         {"<a>&lt;&#65;</a>", "<!DOCTYPE a><a/>", "<!DOCTYPE a [<!ENTITY e 'x<b/>'>]><a k='1'>ab&e;cd</a>",
          "<!DOCTYPE a [<!ENTITY e 'x'>]><a k='&e;'/>", "<!DOCTYPE a [<!ENTITY e SYSTEM 's'>]><a>none of it</a>",
          "<!DOCTYPE a [<!NOTATION n SYSTEM 's'><!ENTITY u SYSTEM 's' NDATA n>]><a/>"}) {
        DefaultHandler_t handler;
        EXPECT_EQ(RefusedAt(document, &handler), std::nullopt) << document;
    }
}

TEST(SaxWholeText, AMarkThatIsNotThatOfTheDeclaredEncodingIsRefused) {
    enum Form { Plain, Mark8, MarkBig, MarkLittle };
    const auto bytes = [](Form form, const std::string& encoding) {
        const std::u16string text = Declared(encoding);
        if (form == MarkBig || form == MarkLittle) return Utf16Bytes(u"\uFEFF" + text, form == MarkBig);
        return (form == Mark8 ? "\xEF\xBB\xBF" : "") + Utf8(text);
    };
    const struct {
        Form form;
        std::vector<std::string> read, refused;
    } rows[] = {
        {Plain, {"", "UTF-8", "utf-8"}, {"UTF-16", "UTF-16BE", "UTF-16LE"}},
        {Mark8, {"", "UTF-8", "utf-8", "Utf-8"}, {kLatin, "iso-8859-1", "US-ASCII", "UTF-16", "UTF-16BE", "UTF-16LE"}},
        {MarkBig, {"", "UTF-16", "utf-16", "UTF-16BE"}, {"UTF-8", kLatin, "US-ASCII", "UTF-16LE"}},
        {MarkLittle, {"", "UTF-16", "Utf-16", "UTF-16LE"}, {"UTF-8", kLatin, "US-ASCII", "UTF-16BE"}},
    };
    for (const auto& row : rows) {
        for (const std::string& encoding : row.read) {
            EXPECT_EQ(EventsOf(bytes(row.form, encoding)), "{<a>'\xC3\xA9'</a>}") << row.form << " " << encoding;
        }
        for (const std::string& encoding : row.refused) {
            EXPECT_THROW(EventsOf(bytes(row.form, encoding)), SAXParseException_t) << row.form << " " << encoding;
        }
    }
    EXPECT_EQ(EventsOf("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>"), "{<a>'\xC3\xA9'</a>}");
}

TEST(SaxWholeText, TheRefusalOfAMarkSaysSoAndNamesThePlace) {
    SAXParser_t parser;
    try {
        parser.Parse(SourceOf("\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a/>"));
        FAIL() << "it was read";
    } catch (const SAXParseException_t& e) {
        EXPECT_EQ(e.GetLineNumber(), 1);
        EXPECT_NE(std::string(e.what()).find("its byte order mark is not that of its encoding"), std::string::npos);
    }
}

TEST(SaxWholeText, AMarkIsKnownByTheFirstBytesAlone) {
    for (const char* start : {"", "\xEF", "\xEF\xBB", "\xFE", "\xFF", "<a/>", " \xEF\xBB\xBF", "\xEF\xBB\xBE"}) {
        EXPECT_TRUE(ByteOrderMark(start).Allows(kLatin)) << start;
    }
    EXPECT_FALSE(ByteOrderMark("\xEF\xBB\xBF").Allows(""));
    EXPECT_FALSE(ByteOrderMark("\xEF\xBB\xBF<").Allows("UTF-88"));
    EXPECT_FALSE(ByteOrderMark("\xEF\xBB\xBF<").Allows("UTF"));
    EXPECT_TRUE(ByteOrderMark().Allows(kLatin));
}
