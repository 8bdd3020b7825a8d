/// @file
/// The bytes of one message in blocks, so that a large one is never moved while it grows and is freed while it is read.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "LumPalIo.h"

namespace LumVoxMsg {

/// How many bytes all messages that share the budget may hold. Any thread.
class MemoryBudget {
public:
    explicit MemoryBudget(std::size_t limit) noexcept : limit(limit) {}
    /// False, and nothing taken, when it does not fit.
    bool Take(std::size_t bytes) noexcept;
    void Give(std::size_t bytes) noexcept { used.fetch_sub(bytes); }
    std::size_t GetUsed() const noexcept { return used.load(); }

private:
    const std::size_t limit;
    std::atomic<std::size_t> used{0};
};

/// What one holder has of a budget; given back at its end. One thread at a time.
class BudgetShare {
public:
    BudgetShare() = default;
    BudgetShare(const BudgetShare&) = delete;
    BudgetShare& operator=(const BudgetShare&) = delete;
    ~BudgetShare() { Clear(); }
    /// Has so many bytes of it from now on, or as many as before when that is more. What it has of another one stays
    /// taken from there. @return false, and nothing taken, when it does not fit
    bool Raise(const std::shared_ptr<MemoryBudget>& from, std::size_t wanted) noexcept;
    /// What was held has been freed.
    void Clear() noexcept;

private:
    std::shared_ptr<MemoryBudget> budget;
    std::size_t bytes = 0;
};

/// One thread at a time.
class Blocks {
public:
    static constexpr std::size_t kBlockSize = 65536;
    /// @param budget  what the bytes are taken from; null means without limit
    explicit Blocks(std::shared_ptr<MemoryBudget> budget = nullptr) : budget(std::move(budget)) {}
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;
    ~Blocks();
    /// False when the budget does not allow it; nothing is appended then.
    bool Append(const char* bytes, std::size_t count);
    std::size_t GetSize() const noexcept { return size; }
    std::size_t GetCount() const noexcept { return blocks.size(); }
    std::string_view GetBlock(std::size_t index) const noexcept { return blocks[index]; }
    /// Frees the first block; there must be one.
    void DropFirst();
    void Clear();

private:
    std::shared_ptr<MemoryBudget> budget;
    std::deque<std::string> blocks;
    std::size_t size = 0;
    std::size_t appended = 0;  ///< in all
};

/// What a stream over blocks does with a block that was read.
enum class AfterRead { Keep, Free };
LumPalIo::InputStream_t ReadBlocks(std::shared_ptr<Blocks> blocks, AfterRead after);
/// Appends. @throws LumPalIo::IOException_t when the budget is used up
LumPalIo::OutputStream_t WriteBlocks(std::shared_ptr<Blocks> blocks);
/// The text as a message.
std::shared_ptr<Blocks> MakeBlocks(std::string_view text);
/// All bytes in one piece.
std::string JoinBlocks(const Blocks& blocks);

}  // namespace LumVoxMsg
