#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "LumPalIo.h"
#include "TestStreams.h"

using LumPalArray::CharArray_t;
using LumPalIo::Base64InputStream_t;
using LumPalIo::Base64OutputStream_t;
using LumPalIo::CharArrayInputStream_t;
using LumPalIo::InputStream_t;
using LumPalIo::IOException_t;
using LumPalIo::OutputStream_t;

namespace {

std::string Decode(const std::string& text, std::size_t piece = 1000) {
    return ReadAll(Base64InputStream_t(InputStream_t(std::make_shared<TrickleInput>(text, piece))));
}

std::string Encode(const std::string& bytes, std::size_t block = 1000) {
    const auto below = std::make_shared<RecordingOutput>();
    Base64OutputStream_t out{OutputStream_t(below)};
    for (std::size_t at = 0; at < bytes.size(); at += block) {
        out.Write(bytes.data() + at, std::min(block, bytes.size() - at));
    }
    out.Close();
    return below->text;
}

struct Row {
    const char* bytes;
    const char* text;
};

constexpr Row Rows[] = {{"", ""},
                        {"f", "Zg=="},
                        {"fo", "Zm8="},
                        {"foo", "Zm9v"},
                        {"foob", "Zm9vYg=="},
                        {"fooba", "Zm9vYmE="},
                        {"foobar", "Zm9vYmFy"},
                        {"\xFB\xFF\xBF", "+/+/"},
                        {"\xFF", "/w=="}};

}  // namespace

TEST(Base64, TheStandardsExamplesGoBothWays) {
    for (const auto& row : Rows) {
        EXPECT_EQ(Encode(row.bytes), row.text);
        EXPECT_EQ(Decode(row.text), row.bytes);
    }
}

TEST(Base64, EveryByteSurvivesWhateverTheBlocks) {
    std::string bytes;
    for (int i = 0; i < 20000; ++i) bytes += static_cast<char>(i * 31 + i / 256);
    for (const std::size_t block : {1u, 2u, 3u, 7u, 8192u, 30000u}) {
        const std::string text = Encode(bytes, block);
        EXPECT_EQ(text.size(), (bytes.size() + 2) / 3 * 4);
        EXPECT_EQ(text.find_first_of(" \r\n"), std::string::npos);
        EXPECT_TRUE(Decode(text, block) == bytes) << block;
    }
}

TEST(Base64, WhiteSpaceIsSkippedEverywhere) {
    EXPECT_EQ(Decode(" Z\nm\r9\tv\v\f"), "foo");
    EXPECT_EQ(Decode("Zg =\n= \r\n"), "f");
    EXPECT_EQ(Decode(" \r\n\t "), "");
    EXPECT_EQ(Decode("Zm9v\nYmFy\n", 1), "foobar");
}

TEST(Base64, EveryWrongPaddingAndEveryCutIsRefused) {
    for (const char* text :
         {"=",        "==",     "===",       "====",    "Z",     "Z=",     "Z==",   "Z===",   "Zg",
          "Zg=",      "Zg===",  "Zg====",    "Zm8",     "Zm8==", "Zm8===", "Zm9v=", "Zm9v==", "Zm9v====",
          "Zm9vY",    "Zm9vYg", "Zm9vYg=",   "Zm9vYmE", "Zg=a",  "Z=g=",   "=Zg=",  "Zm=8",   "Zg==Zg==",
          "Zg==Zm9v", "Zm8=Z",  "Zm9v Zg= ", "Zg=\n",   "Zh==",  "Zv==",   "Zm9=",  "Zm+="}) {
        EXPECT_THROW(Decode(text), IOException_t) << text;
        EXPECT_THROW(Decode(text, 1), IOException_t) << text;
    }
}

TEST(Base64, EveryOtherCharacterIsRefused) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \t\r\n\v\f";
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text{'Z', 'm', static_cast<char>(byte), 'v'};
        if (alphabet.find(static_cast<char>(byte)) != std::string::npos) continue;
        EXPECT_THROW(Decode(text), IOException_t) << byte;
    }
}

TEST(Base64, AnErrorStaysAnError) {
    Base64InputStream_t in(CharArrayInputStream_t(CharArray_t("Zm9v!Zm9v")));
    CharArray_t array(20);
    EXPECT_THROW(in.Read(array), IOException_t);
    EXPECT_THROW(in.Read(array), IOException_t);
}

TEST(Base64, ShortReadsGiveWhatIsDecoded) {
    Base64InputStream_t in(CharArrayInputStream_t(CharArray_t("Zm9vYmFy")));
    CharArray_t array(4);
    EXPECT_EQ(in.Read(array, 0, 1), 1);
    EXPECT_EQ(array[0], 'f');
    EXPECT_EQ(in.Available(), 5u);
    EXPECT_EQ(in.Read(array), 4);
    EXPECT_EQ(in.Read(array), 1);
    EXPECT_EQ(in.Read(array), -1);
}

TEST(Base64, CloseWritesThePaddingOnceAndClosesBelow) {
    const auto below = std::make_shared<RecordingOutput>();
    Base64OutputStream_t out{OutputStream_t(below)};
    out.Write("f", 1);
    EXPECT_EQ(below->text, "");
    out.Flush();
    EXPECT_EQ(below->text, "");
    out.Close();
    out.Close();
    EXPECT_EQ(below->text, "Zg==");
    EXPECT_EQ(below->closes, 1);
    EXPECT_THROW(out.Write('x'), IOException_t);
    EXPECT_THROW(out.Flush(), IOException_t);
}

TEST(Base64, CloseReportsAFailureAndStillClosesBelow) {
    const auto below = std::make_shared<RecordingOutput>();
    Base64OutputStream_t out{OutputStream_t(below)};
    out.Write("f", 1);
    below->fails = true;
    EXPECT_THROW(out.Close(), IOException_t);
    EXPECT_EQ(below->closes, 1);
}

TEST(Base64, AClosedInputRefusesToBeRead) {
    const auto below = std::make_shared<TrickleInput>("Zm9v");
    Base64InputStream_t in{InputStream_t(below)};
    CharArray_t array(1);
    in.Close();
    in.Close();
    EXPECT_EQ(below->closes, 1);
    EXPECT_THROW(in.Read(array), IOException_t);
    EXPECT_THROW(in.Available(), IOException_t);
}

TEST(Base64, NullStreamsAreRefused) {
    EXPECT_THROW(Base64InputStream_t{InputStream_t()}, IOException_t);
    EXPECT_THROW(Base64OutputStream_t{OutputStream_t()}, IOException_t);
}
