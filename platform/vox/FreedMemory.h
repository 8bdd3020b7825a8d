/// @file
/// Giving memory back to the system.
#pragma once

#include <cstddef>

namespace LumVoxRpc {

/// From now on large blocks go back to the system with their end, and what is kept for small ones stays small. For a
/// process that serves messages; the first call counts. Any thread.
void KeepFreedMemorySmall() noexcept;

/// Gives what the process has freed, and the allocator still keeps, back to the system. Takes time; any thread.
void ReturnFreedMemory() noexcept;

/// Says that all that a message of so many bytes took has been freed. When a megabyte has come together a thread of
/// the process gives it back to the system, soon after; less within seconds. Takes no time; any thread.
void NoteFreed(std::size_t bytes) noexcept;

}  // namespace LumVoxRpc
