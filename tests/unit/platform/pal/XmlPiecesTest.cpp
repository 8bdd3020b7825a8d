// How a text is parted on its way to the handler: by the document, never by how it was read.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LumPalXml.h"
#include "XmlEventsForTest.h"

using LumPalStr::String_t;
using LumPalXml::SAXParser_t;
using namespace LumPalXml::SAX;

namespace {

constexpr std::size_t kLongest = 65536;

/// Has each piece in brackets.
class Pieces : public DefaultHandler_t {
public:
    void StartElement(const String_t&, const String_t& local, const String_t&, const Attributes_i&) override {
        if (local == "t") told.clear();
    }
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override {
        told += "[" + String_t(text + start, length).ToUtf8() + "]";
        lengths.push_back(length);
    }
    std::string told;
    std::vector<std::size_t> lengths;
};

Pieces PiecesOf(const std::string& document) {
    Pieces pieces;
    SAXParser_t parser;
    parser.SetContentHandler(&pieces);
    parser.Parse(SourceOf(document));
    return pieces;
}

/// A text, in the encoding that a document of this test is in.
struct Encoding {
    const char* name;
    std::string (*encode)(const std::string& ascii);
};

std::string Same(const std::string& text) {
    return text;
}
std::string Latin(const std::string& text) {
    return "<?xml version='1.0' encoding='ISO-8859-1'?>" + text;
}
std::string Big(const std::string& text) {
    return Utf16Bytes(u"\uFEFF" + std::u16string(text.begin(), text.end()), true);
}
std::string Little(const std::string& text) {
    return Utf16Bytes(u"\uFEFF" + std::u16string(text.begin(), text.end()), false);
}
constexpr Encoding kEncodings[] = {{"UTF-8", Same}, {"Latin 1", Latin}, {"big end first", Big}, {"small", Little}};

/// A document whose text to look at begins about so many bytes in.
std::string Far(const std::string& text, std::size_t start) {
    return "<!DOCTYPE a [<!ENTITY e 'xy'><!ENTITY c '<![CDATA[x]y]]>'>]><a k='" + std::string(start, 'x') + "'><t>" +
           text + "</t></a>";
}

struct Row {
    const char* says;
    std::string text, pieces;
};

const std::vector<Row> kRows = {
    {"blanks and brackets", "ab  cd ]] e] f]&gt;", "[ab  cd ]] e] f]][>]"},
    {"an entity of the document's", "ab &e; cd&e;&e;ef", "[ab ][xy][ cd][xy][xy][ef]"},
    {"an entity that is as long as its reference", "ab&lt;&#32; c&amp;&#10;d", "[ab][<][ ][ c][&][\n][d]"},
    {"ends of lines", "ab \n cd\r\n\r\nef\r", "[ab ][\n][ cd][\n][\n][ef][\n]"},
    {"comments and instructions", "ab <!-- -->cd<?p?> ef", "[ab ][cd][ ef]"},
    {"CDATA", "ab <![CDATA[ cd & &ef ]] > g]]> h", "[ab ][ cd & &ef ]] > g][ h]"},
    {"CDATA next to CDATA", "<![CDATA[ab]]><![CDATA[&cd\nef]]>&c;gh", "[ab][&cd][\n][ef][x][]y][gh]"},
    {"elements", "ab<b/> cd<b> ef </b>&e;", "[ab][ cd][ ef ][xy]"},
};

TEST(SaxPieces, ATextIsPartedByTheDocumentAlone) {
    for (const Row& row : kRows) {
        for (const Encoding& encoding : kEncodings) {
            EXPECT_EQ(PiecesOf(encoding.encode(Far(row.text, 0))).told, row.pieces)
                << row.says << ", " << encoding.name;
        }
    }
}

TEST(SaxPieces, ItIsPartedAlikeWhereverItStands) {
    for (const Row& row : kRows) {
        const std::size_t before = Far("", 0).size();
        for (std::size_t start = kLongest - before - row.text.size(); start < kLongest; ++start) {
            ASSERT_EQ(PiecesOf(Far(row.text, start)).told, row.pieces) << row.says << " at " << start;
        }
    }
}

TEST(SaxPieces, AnotherEncodingOfWhichMoreThanOneRoundIsConvertedIsPartedAlike) {
    const std::string word(5000, 'w');
    for (const Encoding& encoding : kEncodings) {
        for (const std::size_t start : {0u, 1u, 27000u, 32767u, 60000u}) {
            EXPECT_EQ(PiecesOf(encoding.encode(Far(word + " " + word + "&e;" + word, start))).told,
                      "[" + word + " " + word + "][xy][" + word + "]")
                << encoding.name << " at " << start;
        }
    }
}

TEST(SaxPieces, ACharacterWhoseBytesAreThoseOfAnotherOrdersReferenceIsNone) {
    const std::u16string text(40000, u'\u2600');
    for (const bool bigEndian : {true, false}) {
        const Pieces pieces = PiecesOf(Utf16Bytes(u"\uFEFF<t>" + text + u"</t>", bigEndian));
        EXPECT_EQ(pieces.lengths, std::vector<std::size_t>{40000});
    }
}

TEST(SaxPieces, ALongTextIsPartedAtTheSamePlacesWhereverItStands) {
    const std::string text = std::string(kLongest - 3, 'x') + "    " + std::string(2 * kLongest, 'y') + " z";
    const std::vector<std::size_t> expected = {kLongest - 3, kLongest, kLongest, 6};
    for (const std::size_t start : {0u, 1u, 4000u, 30000u, 65000u, 70000u}) {
        EXPECT_EQ(PiecesOf(Far(text, start)).lengths, expected) << start;
    }
}

TEST(SaxPieces, APairIsNeverParted) {
    std::string text = "x";
    for (std::size_t i = 0; i < kLongest; ++i) text += "\xF0\x9F\x98\x80";
    const std::vector<std::size_t> expected = {kLongest - 1, kLongest, 2};
    EXPECT_EQ(PiecesOf("<t>" + text + "</t>").lengths, expected);
}

TEST(SaxPieces, MoreBlanksThanAPieceHoldsArePartedSomewhere) {
    const std::vector<std::size_t> expected = {1, kLongest, kLongest, 2};
    EXPECT_EQ(PiecesOf("<t>x" + std::string(2 * kLongest + 1, ' ') + "y</t>").lengths, expected);
}

TEST(SaxPieces, ATextInFrontOfAnErrorIsTold) {
    Pieces pieces;
    SAXParser_t parser;
    parser.SetContentHandler(&pieces);
    EXPECT_THROW(parser.Parse(SourceOf("<t>text <")), SAXParseException_t);
    EXPECT_EQ(pieces.told, "[text ]");
}

}  // namespace
