#include <gtest/gtest.h>

#include <random>

#include "LumPalIo.h"
#include "LumVoxSoap.h"

using namespace LumVoxSoap;
using LumPalArray::CharArray_t;
using LumPalStr::String_t;

namespace {

CharArray_t Decode(const String_t& text, std::uint32_t piece = 0xFFFFFFFFu) {
    SOAPArgByteArray arg("bytes");
    arg.StartElement("", "bytes", "");
    for (std::uint32_t at = 0; at < text.GetLength(); at += std::min(piece, text.GetLength())) {
        arg.Characters(text.GetBuffer(), at, std::min(piece, text.GetLength() - at));
    }
    arg.EndElement("", "bytes", "");
    return arg.TakeValue();
}

/// What stands between the tags.
std::string Encode(const CharArray_t& bytes) {
    LumPalIo::CharArrayOutputStream_t out;
    LumPalXml::XmlWriter_t::Options_t options;
    options.declaration = false;
    LumPalXml::XmlWriter_t writer(out, options.Indent(0));
    writer.OpenTag("b");
    SOAPArgByteArray("bytes", bytes).WriteContent(writer);
    writer.Close();
    const std::string text(out.ToCharArray().View());
    return text.substr(3, text.size() - 7);
}

struct Row {
    const char *bytes, *text;
};
struct KnownBytes : testing::TestWithParam<Row> {};
struct NoBase64 : testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(KnownBytes, TextAndBytesBelongTogether) {
    EXPECT_EQ(Decode(GetParam().text).View(), GetParam().bytes);
    EXPECT_EQ(Encode(CharArray_t(GetParam().bytes)), GetParam().text);
}
INSTANTIATE_TEST_SUITE_P(SoapByteArray, KnownBytes,
                         testing::Values(Row{"", ""}, Row{"f", "Zg=="}, Row{"fo", "Zm8="}, Row{"foo", "Zm9v"},
                                         Row{"foob", "Zm9vYg=="}, Row{"fooba", "Zm9vYmE="}, Row{"foobar", "Zm9vYmFy"},
                                         Row{"\xFB\xFF\xBF", "+/+/"}));

TEST_P(NoBase64, IsRefusedInOnePieceOrInMany) {
    EXPECT_THROW(Decode(String_t::FromUtf8(GetParam())), SOAPFormatException);
    EXPECT_THROW(Decode(String_t::FromUtf8(GetParam()), 1), SOAPFormatException);
}
INSTANTIATE_TEST_SUITE_P(SoapByteArray, NoBase64,
                         testing::Values("Z", "Zg", "Zg=", "Zm8", "=", "====", "Z===", "Zg===", "Zg==Zg==", "Zg=a",
                                         "Zg==a", "Zm9v=", "Zm9vZ", "Zm9*", "Zm9\xC2\xA0", "Zm-_", "Zh==", "Zm9=",
                                         "\xEF\xBC\xA1\xEF\xBC\xA1\xEF\xBC\xA1\xEF\xBC\xA1", "Zm9v\x0B", "&amp;"));

TEST(SoapByteArray, WhiteSpaceMayStandAnywhere) {
    for (std::uint32_t piece : {1u, 2u, 3u, 5u, 100u}) {
        EXPECT_EQ(Decode(" Z\nm 9\r\nv\tYg = = \n", piece).View(), "foob") << piece;
    }
}

TEST(SoapByteArray, AnyBytesSurviveTheWayInAnyPieces) {
    std::minstd_rand random(7);
    for (std::size_t length : {1u, 2u, 3u, 4u, 6143u, 6144u, 6145u, 20000u}) {
        CharArray_t bytes(length);
        for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(random());
        const String_t text = String_t::FromUtf8(Encode(bytes));
        EXPECT_EQ(text.GetLength(), (length + 2) / 3 * 4);
        for (std::uint32_t piece : {7u, 64u, 4096u, 0xFFFFFFFFu}) EXPECT_EQ(Decode(text, piece), bytes) << piece;
    }
}

TEST(SoapByteArray, ASecondArrivalReplacesTheFirst) {
    SOAPArgByteArray arg("bytes", CharArray_t("old"));
    const String_t text("Zm9v");
    arg.StartElement("", "bytes", "");
    arg.Characters(text.GetBuffer(), 0, 4);
    arg.EndElement("", "bytes", "");
    EXPECT_EQ(arg.GetValue().View(), "foo");
    EXPECT_EQ(arg.TakeValue().View(), "foo");
    EXPECT_TRUE(arg.GetValue().IsEmpty());
}
