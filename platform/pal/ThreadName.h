/// @file
/// What the system shows of a thread.
#pragma once

namespace LumPalThread {

/// Lets the system show the first 15 bytes of the name for the calling thread. Takes no memory.
void NameThisThread(const char* name) noexcept;

}  // namespace LumPalThread
