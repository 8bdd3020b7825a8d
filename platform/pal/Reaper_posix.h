/// @file
/// The background thread that ends what nobody waits for.
#pragma once

#include <sys/types.h>

#include <array>

#include "Descriptor_posix.h"

namespace LumPalCmd {

/// A program that nobody holds any more.
struct Orphan {
    pid_t pid = 0;           ///< 0 when its end was collected
    LumPal::Descriptor end;  ///< readable when it has ended
    std::array<LumPal::Descriptor, 2> outputs;
};

/// Reads and drops the output until nobody holds it, so that no writer blocks or dies, and
/// collects the end. Any thread. The thread that does so lives only while there is work.
void Adopt(Orphan orphan) noexcept;

}  // namespace LumPalCmd
