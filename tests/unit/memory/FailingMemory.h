/// @file
/// Lets allocations fail by their number, on the threads of one name.
#pragma once

#include <cstddef>
#include <functional>

/// How the n-th allocation fails.
enum class MemoryFault {
    Once,       ///< it alone
    FromThenOn  ///< it and all that follow: the memory is used up
};

/// From its making to its end, operator new fails on the threads that the system shows with the name. The program's
/// operator new is replaced for it. One at a time; other threads allocate as ever.
class FailingMemory {
public:
    /// @param thread  at most 15 bytes; must live as long as this object
    /// @param nth     from 1
    FailingMemory(const char* thread, int nth, MemoryFault fault);
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;
    ~FailingMemory();
    bool Fired() const;

    /// Gives the calling thread a name that no other has.
    static const char* ThisThread();
    /// As malloc and realloc, for libraries that can be given such: they count and fail too.
    static void* Allocate(std::size_t size) noexcept;
    static void* Reallocate(void* memory, std::size_t size) noexcept;
};

/// Runs a trial for n = 1, 2, ... until it makes fewer than n allocations on the thread, with each kind of fault. The
/// trial's disturbed part runs with the fault, its question after it without.
/// @param every  in thousands of allocations the first ones fail one by one, later ones with growing gaps: a gap is so
///               many times smaller than the number; 0 leaves no gaps
void ForEachAllocation(const char* thread, const std::function<void()>& disturbed, const std::function<void()>& after,
                       int every = 0);
