/// @file
/// How many descriptors connections leave for everything else.
#pragma once

namespace LumPal {

/// So many descriptors of those that the process may have (RLIMIT_NOFILE) are never taken by callers over the network,
/// nor by files that are kept open for speed alone, and half of them never by local programs either, which take the
/// other half first: the store, the logs and the control service work on when connections have used up the rest. Of a
/// limit that is below twice the number it is half.
constexpr unsigned kKeptDescriptors = 32;

/// Who takes a descriptor that lasts. What is kept open for speed counts as a caller.
enum class DescriptorUse { Caller, LocalProgram };

/// Whether a descriptor that was just opened leaves enough for the others: the system gives the lowest one that is
/// free, so that those from a number on stay free as long as nobody keeps them. Any thread.
bool LeavesEnough(int descriptor, DescriptorUse use) noexcept;

/// The lowest descriptor that the use must not keep, of so many in all.
unsigned FirstKept(unsigned long limit, DescriptorUse use) noexcept;

/// How many descriptors the process may have; the greatest number when there is no limit.
unsigned long MostDescriptors() noexcept;

}  // namespace LumPal
