#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <limits>
#include <memory>
#include <string>

#include "LumPalIo.h"
#include "TestStreams.h"

using LumPalArray::CharArray_t;
using LumPalIo::CharArrayInputStream_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::DataInputStream_t;
using LumPalIo::DataOutputStream_t;
using LumPalIo::EOFException_t;
using LumPalIo::InputStream_t;
using LumPalIo::IOException_t;
using LumPalStr::String_t;

namespace {

DataInputStream_t Over(const std::string& bytes) {
    return DataInputStream_t(CharArrayInputStream_t(CharArray_t(bytes.data(), bytes.size())));
}

DataInputStream_t Trickling(const std::string& bytes) {
    return DataInputStream_t(InputStream_t(std::make_shared<TrickleInput>(bytes)));
}

std::string Line(DataInputStream_t& in) {
    return std::string(in.ReadLine().View());
}

/// Highest address space that the process had so far, in kilobytes.
long PeakKilobytes() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word && word != "VmPeak:") {
    }
    long kilobytes = 0;
    status >> kilobytes;
    return kilobytes;
}

}  // namespace

TEST(DataStream, NumbersAreFourBytesBigEndian) {
    CharArrayOutputStream_t bytes;
    DataOutputStream_t out(bytes);
    out.WriteInt32(0x01020304);
    out.WriteInt32(-2);
    EXPECT_EQ(bytes.ToCharArray().View(), std::string_view("\x01\x02\x03\x04\xFF\xFF\xFF\xFE", 8));
}

TEST(DataStream, TextsAreTheirLengthAndTheirUnitsBigEndian) {
    CharArrayOutputStream_t bytes;
    DataOutputStream_t out(bytes);
    out.WriteUTF16String(u"a\u20AC\U0001F600");
    EXPECT_EQ(bytes.ToCharArray().View(), std::string_view("\0\0\0\x04\0a\x20\xAC\xD8\x3D\xDE\0", 12));
}

TEST(DataStream, NullIsWrittenAsTheEmptyText) {
    CharArrayOutputStream_t bytes;
    DataOutputStream_t(bytes).WriteUTF16String(String_t::Null());
    EXPECT_EQ(bytes.ToCharArray().View(), std::string_view("\0\0\0\0", 4));
    const String_t text = Over(std::string(4, '\0')).ReadUTF16String();
    EXPECT_TRUE(text.IsEmpty() && text.IsNotNull());
}

TEST(DataStream, WhatIsWrittenIsReadAlsoInSingleBytes) {
    const std::int32_t numbers[] = {
        0, 1, -1, 255, 256, 65536, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
    String_t longText;
    for (int i = 0; i < 10000; ++i) longText += static_cast<char16_t>(i * 7);
    const String_t texts[] = {"", "abc", u"\u00E9\U0001F600", String_t(u"a\0b\xD800", 4), longText};
    CharArrayOutputStream_t bytes;
    DataOutputStream_t out(bytes);
    for (const auto number : numbers) out.WriteInt32(number);
    for (const auto& text : texts) out.WriteUTF16String(text);
    const std::string written(bytes.ToCharArray().View());
    for (DataInputStream_t in : {Over(written), Trickling(written)}) {
        for (const auto number : numbers) EXPECT_EQ(in.ReadInt32(), number);
        for (const auto& text : texts) EXPECT_TRUE(in.ReadUTF16String() == text);
        EXPECT_THROW(in.ReadInt32(), EOFException_t);
    }
}

TEST(DataStream, ANumberThatIsCutIsTheEndOfTheStream) {
    for (std::size_t length = 0; length < 4; ++length) {
        EXPECT_THROW(Over(std::string(length, 'x')).ReadInt32(), EOFException_t) << length;
        EXPECT_THROW(Trickling(std::string(length, 'x')).ReadUTF16String(), EOFException_t) << length;
    }
}

TEST(DataStream, ATextThatIsCutAnywhereIsTheEndOfTheStream) {
    const std::string whole("\0\0\0\x03\0a\0b\0c", 10);
    EXPECT_EQ(Over(whole).ReadUTF16String(), "abc");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_THROW(Over(whole.substr(0, length)).ReadUTF16String(), EOFException_t) << length;
    }
}

TEST(DataStream, ANegativeLengthIsAnErrorOfItsOwn) {
    for (const char* bytes : {"\xFF\xFF\xFF\xFF"
                              "abcd",
                              "\x80\x01\x01\x01"
                              "abcd"}) {
        try {
            Over(bytes).ReadUTF16String();
            FAIL();
        } catch (const EOFException_t&) {
            FAIL() << "taken for the end of the stream";
        } catch (const IOException_t&) {
        }
    }
}

TEST(DataStream, ALengthThatLiesTakesNoMemory) {
    const long before = PeakKilobytes();
    ASSERT_GT(before, 0);
    EXPECT_THROW(Over("\x7F\xFF\xFF\xFF"
                      "ab")
                     .ReadUTF16String(),
                 EOFException_t);
    EXPECT_LT(PeakKilobytes() - before, 64 * 1024);
}

TEST(DataStream, LinesEndWithLineFeedWithOrWithoutCarriageReturn) {
    const std::string text = "one\ntwo\r\n\n\r\na\rb\nlast";
    for (DataInputStream_t in : {Over(text), Trickling(text)}) {
        EXPECT_EQ(Line(in), "one");
        EXPECT_EQ(Line(in), "two");
        EXPECT_EQ(Line(in), "");
        EXPECT_EQ(Line(in), "");
        EXPECT_EQ(Line(in), "a\rb");
        EXPECT_EQ(Line(in), "last");
        EXPECT_THROW(in.ReadLine(), EOFException_t);
        EXPECT_THROW(in.ReadLine(), EOFException_t);
    }
}

TEST(DataStream, ALineFeedAtTheEndBeginsNoFurtherLine) {
    DataInputStream_t in = Over("one\n");
    EXPECT_EQ(Line(in), "one");
    EXPECT_THROW(in.ReadLine(), EOFException_t);
    EXPECT_THROW(Over("").ReadLine(), EOFException_t);
}

TEST(DataStream, ACarriageReturnBeforeTheEndBelongsToTheLine) {
    DataInputStream_t in = Over("one\r");
    EXPECT_EQ(Line(in), "one\r");
}

TEST(DataStream, LongLinesAndZeroBytesComeWhole) {
    const std::string text = std::string(20000, 'x') + '\0' + "y";
    DataInputStream_t in(InputStream_t(std::make_shared<TrickleInput>(text + "\nnext", 777)));
    EXPECT_EQ(Line(in), text);
    EXPECT_EQ(Line(in), "next");
}

TEST(DataStream, PlainReadsGoOnWhereTheOthersStopped) {
    const std::string bytes = std::string("\0\0\0\x01", 4) + "raw" + "line\n" + "rest";
    for (DataInputStream_t in : {Over(bytes), Trickling(bytes)}) {
        CharArray_t raw(3);
        EXPECT_EQ(in.ReadInt32(), 1);
        EXPECT_EQ(in.Read(raw), 3);
        EXPECT_EQ(raw.View(), "raw");
        EXPECT_EQ(Line(in), "line");
        EXPECT_EQ(in.Available(), 4u);
        EXPECT_EQ(ReadAll(in), "rest");
    }
}

TEST(DataStream, OneAfterAnotherCanReadTheSameMemory) {
    const CharArrayInputStream_t memory(CharArray_t("\0\0\0\x01\0\0\0\x02", 8));
    EXPECT_EQ(DataInputStream_t(memory).ReadInt32(), 1);
    EXPECT_EQ(DataInputStream_t(memory).ReadInt32(), 2);
}

TEST(DataStream, CloseClosesBelow) {
    const auto output = std::make_shared<RecordingOutput>();
    DataOutputStream_t out{LumPalIo::OutputStream_t(output)};
    out.WriteInt32(7);
    out.Close();
    EXPECT_EQ(output->closes, 1);
    const auto input = std::make_shared<TrickleInput>("abcdefgh");
    DataInputStream_t in{InputStream_t(input)};
    in.ReadInt32();
    in.Close();
    EXPECT_EQ(input->closes, 1);
    EXPECT_THROW(in.ReadInt32(), IOException_t);
    EXPECT_THROW(in.ReadLine(), IOException_t);
}

TEST(DataStream, NullStreamsAreRefused) {
    EXPECT_THROW(DataInputStream_t{InputStream_t()}, IOException_t);
    EXPECT_THROW(DataOutputStream_t{LumPalIo::OutputStream_t()}, IOException_t);
    EXPECT_THROW(DataInputStream_t().ReadInt32(), IOException_t);
    EXPECT_THROW(DataInputStream_t().ReadLine(), IOException_t);
    EXPECT_THROW(DataOutputStream_t().WriteInt32(1), IOException_t);
}
