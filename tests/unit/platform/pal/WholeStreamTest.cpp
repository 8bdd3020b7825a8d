#include <gtest/gtest.h>

#include "LumPalWhole.h"
#include "TestStreams.h"

namespace {

using namespace LumPalIo;
using LumPalArray::CharArray_t;

InputStream_t Trickle(const std::shared_ptr<TrickleInput>& input) {
    return InputStream_t(input);
}

std::shared_ptr<TrickleInput> InputOf(std::size_t bytes, std::size_t piece) {
    return std::make_shared<TrickleInput>(std::string(bytes, 'x') + "end", piece);
}

/// Knows nothing of what is to come.
class Unforeseen : public TrickleInput {
public:
    using TrickleInput::TrickleInput;
    std::size_t Available() override { return 0; }
};

TEST(WholeStream, AllOfItIsReadHoweverItComes) {
    for (const std::size_t piece : {1u, 7u, 100'000u}) {
        const auto input = InputOf(40'000, piece);
        EXPECT_EQ(ReadAtMost(Trickle(input), kNoLimit).View(), input->text) << piece;
    }
}

TEST(WholeStream, AllOfItIsReadThoughTheStreamSaysThatNothingIsThere) {
    const auto input = std::make_shared<Unforeseen>(std::string(40'000, 'x') + "end", 1000);
    EXPECT_EQ(ReadAtMost(Trickle(input), kNoLimit).View(), input->text);
}

TEST(WholeStream, OneThatGrowsWhileItIsReadIsReadToItsNewEnd) {
    class Growing : public TrickleInput {
    public:
        using TrickleInput::TrickleInput;
        std::size_t Available() override { return 1; }
    };
    const auto input = std::make_shared<Growing>("abcdef", 2);
    EXPECT_EQ(ReadAtMost(Trickle(input), kNoLimit).View(), "abcdef");
}

TEST(WholeStream, WhatIsBeyondTheLimitIsNotRead) {
    for (const std::uint64_t limit : {0u, 1u, 5u, 20'000u}) {
        const auto input = InputOf(30'000, 999);
        EXPECT_EQ(ReadAtMost(Trickle(input), limit).GetLength(), limit);
        EXPECT_EQ(input->position, limit);
    }
}

TEST(WholeStream, AStreamWithoutEndStopsAtTheLimit) {
    class Endless : public InputStream_t::Impl {
        std::int64_t Read(char* target, std::size_t length) override {
            std::memset(target, 'x', length);
            return static_cast<std::int64_t>(length);
        }
    };
    const InputStream_t endless(std::make_shared<Endless>());
    EXPECT_EQ(ReadAtMost(endless, 100'000).GetLength(), 100'000u);
    EXPECT_FALSE(ReadWhole(endless, 100'000));
}

TEST(WholeStream, OneThatIsLongerThanTheLimitGivesNothingAndOneThatFillsItIsThere) {
    EXPECT_FALSE(ReadWhole(Trickle(std::make_shared<TrickleInput>("abc")), 2));
    EXPECT_EQ(ReadWhole(Trickle(std::make_shared<TrickleInput>("abc")), 3)->View(), "abc");
    EXPECT_EQ(ReadWhole(Trickle(std::make_shared<TrickleInput>("abc")), kNoLimit)->View(), "abc");
    EXPECT_EQ(ReadWhole(Trickle(std::make_shared<TrickleInput>("")), 0)->View(), "");
}

TEST(WholeStream, ACopyHasEveryByteAndSaysHowMany) {
    const auto input = InputOf(50'000, 333);
    const auto output = std::make_shared<RecordingOutput>();
    EXPECT_EQ(Copy(Trickle(input), OutputStream_t(output)), input->text.size());
    EXPECT_EQ(output->text, input->text);
    EXPECT_EQ(input->closes + output->closes, 0);
}

TEST(WholeStream, ACopyStopsAtItsLimitAndAtTheEndWhicheverComesFirst) {
    const auto input = std::make_shared<TrickleInput>("abcdef", 4);
    const auto output = std::make_shared<RecordingOutput>();
    EXPECT_EQ(Copy(Trickle(input), OutputStream_t(output), 5), 5u);
    EXPECT_EQ(Copy(Trickle(input), OutputStream_t(output), 5), 1u);
    EXPECT_EQ(output->text, "abcdef");
}

TEST(WholeStream, AFailureOfEitherSideEndsTheCopy) {
    const auto output = std::make_shared<RecordingOutput>();
    output->fails = true;
    EXPECT_THROW(Copy(Trickle(InputOf(10, 4)), OutputStream_t(output)), IOException_t);
    EXPECT_EQ(output->writes, 1);
    EXPECT_THROW(Copy(InputStream_t(), OutputStream_t(output)), IOException_t);
}

}  // namespace
