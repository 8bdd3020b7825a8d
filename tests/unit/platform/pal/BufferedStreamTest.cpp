#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CapturedLog.h"
#include "LumPalIo.h"
#include "TempRoot.h"
#include "TestStreams.h"

using LumPalArray::CharArray_t;
using LumPalIo::BufferedInputStream_t;
using LumPalIo::BufferedOutputStream_t;
using LumPalIo::InputStream_t;
using LumPalIo::IOException_t;
using LumPalIo::OutputStream_t;

namespace {

std::string Long(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += static_cast<char>('a' + i * i % 26);
    return text;
}

}  // namespace

TEST(BufferedInputStream, GivesTheSameBytesWhateverTheBlocks) {
    const std::string text = Long(20000);
    for (const std::size_t piece : {1u, 3u, 8191u, 8192u, 8193u, 30000u}) {
        for (const std::size_t block : {1u, 100u, 8192u, 10000u, 50000u}) {
            const auto below = std::make_shared<TrickleInput>(text, piece);
            EXPECT_EQ(ReadAll(BufferedInputStream_t(InputStream_t(below)), block), text) << piece << " " << block;
        }
    }
}

TEST(BufferedInputStream, AsksSeldomForSingleBytes) {
    const auto below = std::make_shared<TrickleInput>(Long(8192), 8192);
    EXPECT_EQ(ReadAll(BufferedInputStream_t(InputStream_t(below)), 1).size(), 8192u);
    EXPECT_LE(below->reads, 2);
}

TEST(BufferedInputStream, OneReadGivesWhatIsThereAndDoesNotWaitForMore) {
    const auto below = std::make_shared<TrickleInput>("abcdef", 2);
    BufferedInputStream_t in{InputStream_t(below)};
    CharArray_t array(6);
    EXPECT_EQ(in.Read(array, 0, 6), 2);
    EXPECT_EQ(below->reads, 1);
}

TEST(BufferedInputStream, AvailableCountsWhatIsBufferedAndWhatIsBelow) {
    const auto below = std::make_shared<TrickleInput>("abcdef", 4);
    BufferedInputStream_t in{InputStream_t(below)};
    CharArray_t array(1);
    EXPECT_EQ(in.Available(), 6u);
    in.Read(array);
    EXPECT_EQ(in.Available(), 5u);
}

TEST(BufferedInputStream, CloseClosesBelowOnce) {
    const auto below = std::make_shared<TrickleInput>("abc");
    BufferedInputStream_t in{InputStream_t(below)};
    CharArray_t array(1);
    in.Read(array);
    in.Close();
    in.Close();
    EXPECT_EQ(below->closes, 1);
    EXPECT_THROW(in.Read(array), IOException_t);
    EXPECT_THROW(in.Available(), IOException_t);
}

TEST(BufferedInputStream, ANullStreamCannotBeBuffered) {
    EXPECT_THROW(BufferedInputStream_t{InputStream_t()}, IOException_t);
    EXPECT_THROW(BufferedOutputStream_t{OutputStream_t()}, IOException_t);
    EXPECT_TRUE(BufferedInputStream_t().IsNull());
    EXPECT_TRUE(BufferedOutputStream_t().IsNull());
}

TEST(BufferedOutputStream, PassesTheSameBytesWhateverTheBlocks) {
    const std::string text = Long(20000);
    for (const std::size_t block : {1u, 100u, 8191u, 8192u, 8193u, 20000u}) {
        const auto below = std::make_shared<RecordingOutput>();
        BufferedOutputStream_t out{OutputStream_t(below)};
        for (std::size_t at = 0; at < text.size(); at += block) {
            out.Write(text.data() + at, std::min(block, text.size() - at));
        }
        out.Close();
        EXPECT_EQ(below->text, text) << block;
    }
}

TEST(BufferedOutputStream, HoldsBytesBackUntilFlush) {
    const auto below = std::make_shared<RecordingOutput>();
    BufferedOutputStream_t out{OutputStream_t(below)};
    out.Write('a');
    out.Write('b');
    EXPECT_EQ(below->writes, 0);
    out.Flush();
    EXPECT_EQ(below->text, "ab");
    EXPECT_EQ(below->writes, 1);
    EXPECT_EQ(below->flushes, 1);
}

TEST(BufferedOutputStream, CloseWritesOutAndClosesBelowOnce) {
    const auto below = std::make_shared<RecordingOutput>();
    BufferedOutputStream_t out{OutputStream_t(below)};
    out.Write("abc", 3);
    out.Close();
    out.Close();
    EXPECT_EQ(below->text, "abc");
    EXPECT_EQ(below->closes, 1);
    EXPECT_THROW(out.Write('x'), IOException_t);
    EXPECT_THROW(out.Flush(), IOException_t);
}

TEST(BufferedOutputStream, TheLastHandleWritesOut) {
    const auto below = std::make_shared<RecordingOutput>();
    { BufferedOutputStream_t(OutputStream_t(below)).Write("abc", 3); }
    EXPECT_EQ(below->text, "abc");
}

TEST(BufferedOutputStream, CloseReportsWhatCannotBeWrittenAndStillClosesBelow) {
    const auto below = std::make_shared<RecordingOutput>();
    below->fails = true;
    {
        BufferedOutputStream_t out{OutputStream_t(below)};
        out.Write("abc", 3);
        EXPECT_THROW(out.Close(), IOException_t);
        EXPECT_EQ(below->closes, 1);
        out.Close();
    }
    EXPECT_EQ(below->writes, 1);
}

TEST(BufferedOutputStream, AFailureOfTheLastHandleIsSaidInTheApplicationLog) {
    TempRoot root;
    CapturedLog log(root.Native());
    const auto below = std::make_shared<RecordingOutput>();
    below->fails = true;
    { BufferedOutputStream_t(OutputStream_t(below)).Write("abc", 3); }
    EXPECT_EQ(below->writes, 1);
    EXPECT_TRUE(log.Holds("A stream went without being closed, and the end of what was written (buffered bytes)"));
    EXPECT_TRUE(log.Holds("No space."));
}

TEST(BufferedOutputStream, NothingIsSaidWhereNothingIsLost) {
    TempRoot root;
    CapturedLog log(root.Native());
    const auto below = std::make_shared<RecordingOutput>();
    { BufferedOutputStream_t(OutputStream_t(below)).Write("abc", 3); }
    below->fails = true;
    {
        BufferedOutputStream_t out{OutputStream_t(below)};
        out.Write("abc", 3);
        EXPECT_THROW(out.Close(), IOException_t);
    }
    { BufferedOutputStream_t out{OutputStream_t(below)}; }
    EXPECT_EQ(log.Text(), "");
}
