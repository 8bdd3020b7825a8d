/// @file
/// Scores of Pacemaker: of location constraints, and of sets of parameters.
#pragma once

#include <algorithm>

#include "LumPalStr.h"

namespace LumConfCluster {

/// As scores are added, both ends stay what they are.
inline constexpr int kPcmkInfinity = 1000000;

/// From -INFINITY to INFINITY; what is no number is 0.
inline int PcmkScoreOf(const LumPalStr::String_t& text) {
    if (text == "INFINITY" || text == "+INFINITY") return kPcmkInfinity;
    if (text == "-INFINITY") return -kPcmkInfinity;
    return std::clamp(text.ToInt(), -kPcmkInfinity, kPcmkInfinity);
}

}  // namespace LumConfCluster
