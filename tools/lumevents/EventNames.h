/// @file
/// Names of events, as a user may have meant them.
#pragma once

#include <string>

namespace lumevents {

/// Why the node itself never sends what this stands for, with the name that was probably meant, as a sentence; empty
/// when it may. A program of another one may send it all the same.
/// @param event  a name, or the beginning of one with a "*" at its end
std::string DoubtAbout(const std::string& event);

}  // namespace lumevents
