/// @file
/// Reading what the tools of HACMP print. Pure functions, which take any text and never fail; any thread.
#pragma once

#include <vector>

#include "LumPalStr.h"
#include "ToolText.h"

namespace LumConfCluster {

/// Of the output of clstat: what stands behind "Cluster: " and before the number in brackets.
LumPalStr::String_t HacmpClusterName(const ToolLines& status);
/// Of the same output: the word of the first state that is told, which is the cluster's.
LumPalStr::String_t HacmpStateWord(const ToolLines& status);

struct HacmpNodeLine {
    LumPalStr::String_t node, word;
};

/// Of the same output: its nodes in their order. The interfaces' states stand in lines of their own, and are none.
std::vector<HacmpNodeLine> HacmpNodes(const ToolLines& status);

struct HacmpGroupLine {
    LumPalStr::String_t group, word, node;
};

/// A line of the output of clRGinfo: the state of a group on one of its nodes. Its first field is trimmed, the others
/// not.
HacmpGroupLine ReadHacmpGroupLine(const LumPalStr::String_t& line);

}  // namespace LumConfCluster
