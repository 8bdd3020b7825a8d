/// @file
/// Reading what the tools of Red Hat clusters print. Pure functions, which take any text and never fail; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "LumPalStr.h"
#include "ToolText.h"

namespace LumConfCluster {

/// The tools and what they print changed with the releases of the operating system.
enum class RhasGeneration { Below3, Exactly3, Above3 };

/// Of the text of the release file: the number behind the word "release"; the other one without the word. It ends at
/// the first "." of the whole text: one that stands before the number leaves 0.
std::int32_t RhasReleaseIn(const LumPalStr::String_t& text, std::int32_t other);

/// Of the output that tells the cluster's name, on release 3 or above.
LumPalStr::String_t RhasClusterName(const ToolLines& lines, RhasGeneration generation);

struct RhasMember {
    LumPalStr::String_t name;
    bool isUp;
};

/// The rows of the table of members. What is no member, as an empty line or one of dashes, is no row.
std::vector<RhasMember> RhasMembers(const ToolLines& lines, RhasGeneration generation);

struct RhasService {
    LumPalStr::String_t name;
    LumPalStr::String_t word;                  ///< of its state
    std::optional<LumPalStr::String_t> owner;  ///< without the brackets; nothing where the tools do not tell it
};

/// The rows of the table of services, on release 3 or above.
/// @param release  on 5 a name stands behind its kind and a colon
std::vector<RhasService> RhasServices(const ToolLines& lines, RhasGeneration generation, std::int32_t release);
/// The services below release 3, whose names and states two tools tell.
std::vector<RhasService> RhasServicesOf(const ToolLines& names, const ToolLines& states);
/// Whether the answer to a question for one service is a heading alone.
bool RhasKnowsNothing(const ToolLines& lines);
/// Of the output that tells of one service, on release 3 or below: its address; empty without one.
LumPalStr::String_t RhasAddress(const ToolLines& lines, RhasGeneration generation);

}  // namespace LumConfCluster
