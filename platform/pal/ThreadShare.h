/// @file
/// How much of the processors a thread gets.
#pragma once

namespace LumPalThread {

/// Makes the calling thread get a small part of what it would get, as long as others have work, until its end. Where
/// the system cannot, nothing happens. Takes no memory.
void TakeSmallShare() noexcept;

}  // namespace LumPalThread
