#include "Blocks.h"

#include <gtest/gtest.h>

using LumPalArray::CharArray_t;
using LumVoxMsg::AfterRead;
using LumVoxMsg::Blocks;
using LumVoxMsg::MemoryBudget;

namespace {

std::string Pattern(std::size_t size) {
    std::string text(size, ' ');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
}

std::string ReadAll(LumPalIo::InputStream_t stream) {
    CharArray_t bytes(1u << 20);
    const std::int64_t count = stream.Read(bytes);
    return std::string(bytes.View().substr(0, static_cast<std::size_t>(std::max<std::int64_t>(count, 0))));
}

}  // namespace

TEST(Blocks, KeepEveryByteAroundTheirBorders) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, Blocks::kBlockSize - 1, Blocks::kBlockSize,
                                   Blocks::kBlockSize + 1, 3 * Blocks::kBlockSize + 7}) {
        const std::string text = Pattern(size);
        const auto blocks = LumVoxMsg::MakeBlocks(text);
        EXPECT_EQ(blocks->GetSize(), size);
        EXPECT_EQ(LumVoxMsg::JoinBlocks(*blocks), text);
        EXPECT_EQ(ReadAll(LumVoxMsg::ReadBlocks(blocks, AfterRead::Keep)), text);
        EXPECT_EQ(blocks->GetSize(), size);
    }
}

TEST(Blocks, AreFreedWhileTheyAreRead) {
    const auto blocks = LumVoxMsg::MakeBlocks(Pattern(3 * Blocks::kBlockSize));
    LumPalIo::InputStream_t stream = LumVoxMsg::ReadBlocks(blocks, AfterRead::Free);
    CharArray_t some(Blocks::kBlockSize + 1);
    stream.Read(some);
    EXPECT_EQ(blocks->GetSize(), 2 * Blocks::kBlockSize);
    EXPECT_EQ(ReadAll(stream).size(), 2 * Blocks::kBlockSize - 1);
    EXPECT_EQ(blocks->GetSize(), 0u);
}

TEST(Blocks, TakeNoMoreThanTheirBudgetAndGiveItBack) {
    const auto budget = std::make_shared<MemoryBudget>(100);
    {
        Blocks blocks(budget), other(budget);
        EXPECT_TRUE(blocks.Append("0123456789", 10));
        EXPECT_TRUE(other.Append(Pattern(90).data(), 90));
        EXPECT_FALSE(blocks.Append("x", 1));
        EXPECT_EQ(blocks.GetSize(), 10u);
        EXPECT_EQ(budget->GetUsed(), 100u);
        other.DropFirst();
        EXPECT_EQ(budget->GetUsed(), 10u);
        EXPECT_TRUE(blocks.Append("x", 1));
    }
    EXPECT_EQ(budget->GetUsed(), 0u);
}

TEST(Blocks, ABudgetRefusesACountThatWouldWrapAround) {
    MemoryBudget budget(100);
    EXPECT_TRUE(budget.Take(60));
    EXPECT_FALSE(budget.Take(static_cast<std::size_t>(-1)));
    EXPECT_FALSE(budget.Take(static_cast<std::size_t>(-30)));
    EXPECT_FALSE(budget.Take(41));
    EXPECT_TRUE(budget.Take(40));
}

TEST(Blocks, WritingBeyondTheBudgetFails) {
    auto blocks = std::make_shared<Blocks>(std::make_shared<MemoryBudget>(4));
    LumPalIo::OutputStream_t stream = LumVoxMsg::WriteBlocks(blocks);
    stream.Write("0123", 4);
    EXPECT_THROW(stream.Write("4", 1), LumPalIo::IOException_t);
    EXPECT_EQ(LumVoxMsg::JoinBlocks(*blocks), "0123");
}
