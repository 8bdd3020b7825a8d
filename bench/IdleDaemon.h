/// @file
/// A daemon that waits for the next look at its cluster.
#pragma once

#include <vector>

namespace bench {

/// The share of one processor that lumconfd takes on a node of a simulated cluster between two cycles of its monitor,
/// all threads together: so many times, each over so many milliseconds. @throws std::runtime_error
std::vector<double> SharesBetweenCycles(int times, int milliseconds);

}  // namespace bench
