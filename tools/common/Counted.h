/// @file
/// Numbers of things, in a sentence.
#pragma once

#include <cstdint>
#include <string>

namespace lumtools {

/// "1 node", "2 nodes".
/// @param what  one of them, a word whose plural takes an s
inline std::string Counted(std::uint64_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace lumtools
