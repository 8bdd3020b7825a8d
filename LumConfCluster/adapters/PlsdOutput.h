/// @file
/// What the tools of Palisade print. Nothing here fails on any text.
#pragma once

#include <vector>

#include "LumPalIo.h"
#include "LumPalStr.h"
#include "ToolText.h"

namespace LumConfCluster {

/// A line of a table.
struct PlsdRow {
    LumPalStr::String_t name;
    LumPalStr::String_t word;  ///< of the state
};

struct PlsdPackage : PlsdRow {
    LumPalStr::String_t node;  ///< all that stands in the last column
    bool isOwned = true;       ///< by that node
    bool isMultiNode = false;
};

/// The table that tells of one thing: the line below its two lines of heading. Empty texts where there is none.
PlsdRow PlsdOnlyRow(const ToolLines& lines);
/// The table of the nodes, without the two lines of its heading.
std::vector<PlsdRow> PlsdNodeRows(const ToolLines& lines);
std::vector<PlsdPackage> PlsdPackages(const ToolLines& lines);
/// Whether the long listing tells of a package that it runs on a node.
bool PlsdRunsOn(const ToolLines& lines, const LumPalStr::String_t& package, const LumPalStr::String_t& node);
/// The nodes that a package's configuration names, in order; "*" is all of them.
ToolLines PlsdConfiguredNodes(const ToolLines& lines);
/// The path of the script of a package's configuration; empty where there is none.
LumPalStr::String_t PlsdScript(const ToolLines& lines);
/// The first address that a script sets, empty where it sets none. @throws as reading the stream
LumPalStr::String_t PlsdAddressIn(const LumPalIo::InputStream_t& script);

}  // namespace LumConfCluster
