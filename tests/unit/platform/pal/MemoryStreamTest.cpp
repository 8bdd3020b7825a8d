#include <gtest/gtest.h>

#include <string>

#include "LumPalIo.h"
#include "TestStreams.h"

using LumPalArray::CharArray_t;
using LumPalIo::CharArrayInputStream_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::IOException_t;
using LumPalIo::OutputStream_t;

namespace {

CharArrayOutputStream_t Filled(const char* text) {
    CharArrayOutputStream_t stream;
    stream.Write(CharArray_t(text));
    return stream;
}

}  // namespace

TEST(CharArrayInputStream, ReadsItsArrayOnce) {
    CharArrayInputStream_t in(CharArray_t("12345"));
    CharArray_t array(3);
    EXPECT_EQ(in.Available(), 5u);
    EXPECT_EQ(in.Read(array), 3);
    EXPECT_EQ(in.Available(), 2u);
    EXPECT_EQ(in.Read(array), 2);
    EXPECT_EQ(array.View(), "453");
    EXPECT_EQ(in.Available(), 0u);
    EXPECT_EQ(in.Read(array), -1);
}

TEST(CharArrayInputStream, ReadsACopyThatLaterChangesDoNotReach) {
    CharArray_t array("abc");
    CharArrayInputStream_t in(array);
    array[0] = 'X';
    array.Resize(0);
    EXPECT_EQ(ReadAll(in), "abc");
}

TEST(CharArrayInputStream, OverReadsTheCallersBytes) {
    const CharArray_t array("abc");
    EXPECT_EQ(ReadAll(CharArrayInputStream_t::Over(array)), "abc");
}

TEST(CharArrayInputStream, AnEmptyArrayIsAtItsEnd) {
    CharArrayInputStream_t in{CharArray_t()};
    CharArray_t array(1);
    EXPECT_EQ(in.Read(array), -1);
    EXPECT_EQ(in.Read(array, 0, 1), -1);
    EXPECT_EQ(in.Read(array, 0, 0), 0);
}

TEST(CharArrayInputStream, RefusesToBeReadOnceClosed) {
    CharArrayInputStream_t in(CharArray_t("abc"));
    CharArray_t array(1);
    in.Close();
    in.Close();
    EXPECT_THROW(in.Read(array), IOException_t);
    EXPECT_THROW(in.Available(), IOException_t);
    EXPECT_TRUE(CharArrayInputStream_t().IsNull());
}

TEST(CharArrayOutputStream, CollectsBytes) {
    CharArrayOutputStream_t out(100);
    EXPECT_EQ(out.Size(), 0u);
    out.Write(CharArray_t("abc"));
    out.Write(CharArray_t("01234"), 1, 2);
    out.Write('z');
    EXPECT_EQ(out.Size(), 6u);
    EXPECT_EQ(out.ToCharArray().View(), "abc12z");
    EXPECT_EQ(out.ToString(), "abc12z");
}

TEST(CharArrayOutputStream, ToStringReadsUtf8) {
    EXPECT_EQ(Filled("\xC3\xA9").ToString(), u"\u00E9");
    EXPECT_EQ(Filled("\xC3").ToString(), u"\uFFFD");
}

TEST(CharArrayOutputStream, ClosingKeepsWhatWasCollectedAndTakesMore) {
    CharArrayOutputStream_t out = Filled("abc");
    out.Close();
    out.Close();
    EXPECT_EQ(out.ToCharArray().View(), "abc");
    out.Write('d');
    EXPECT_EQ(out.ToCharArray().View(), "abcd");
}

TEST(CharArrayOutputStream, TakeCharArrayLeavesTheStreamEmptyAndUsable) {
    CharArrayOutputStream_t out = Filled("abc");
    EXPECT_EQ(out.TakeCharArray().View(), "abc");
    EXPECT_EQ(out.Size(), 0u);
    out.Write('x');
    EXPECT_EQ(out.ToCharArray().View(), "x");
}

TEST(CharArrayOutputStream, CopiesCollectTogether) {
    CharArrayOutputStream_t out;
    OutputStream_t copy = out;
    copy.Write('a');
    out.Write('b');
    EXPECT_EQ(out.ToCharArray().View(), "ab");
}

struct WriteToRow {
    std::size_t offset;
    std::int64_t length;
    const char* copied;
};

TEST(CharArrayOutputStream, WriteToCopiesAPart) {
    const WriteToRow rows[] = {{0, -1, "12345"}, {2, -1, "345"}, {5, -1, ""}, {0, 0, ""},
                               {1, 2, "23"},     {3, 99, "45"},  {5, 1, ""},  {0, 5, "12345"}};
    const CharArrayOutputStream_t source = Filled("12345");
    for (const auto& row : rows) {
        CharArrayOutputStream_t target;
        EXPECT_EQ(source.WriteTo(target, row.offset, row.length), std::string(row.copied).size());
        EXPECT_EQ(target.ToCharArray().View(), row.copied) << row.offset << ", " << row.length;
    }
    CharArrayOutputStream_t target;
    EXPECT_EQ(source.WriteTo(target), 5u);
    EXPECT_EQ(source.Size(), 5u);
}

TEST(CharArrayOutputStream, WriteToRefusesWhatLiesOutside) {
    const CharArrayOutputStream_t source = Filled("12345");
    CharArrayOutputStream_t target;
    OutputStream_t null;
    EXPECT_THROW(source.WriteTo(target, 6), LumPalMsg::IllegalArgumentError_t);
    EXPECT_THROW(source.WriteTo(target, SIZE_MAX), LumPalMsg::IllegalArgumentError_t);
    EXPECT_THROW(source.WriteTo(target, 0, -2), LumPalMsg::IllegalArgumentError_t);
    EXPECT_THROW(source.WriteTo(null), IOException_t);
    EXPECT_EQ(target.Size(), 0u);
}

TEST(CharArrayOutputStream, WriteToItselfDoublesTheBytes) {
    CharArrayOutputStream_t out = Filled("12345");
    EXPECT_EQ(out.WriteTo(out, 1, -1), 4u);
    EXPECT_EQ(out.ToCharArray().View(), "123452345");
}
