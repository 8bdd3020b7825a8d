/// @file
/// Running the tools of cluster products, and the commands of applications.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LumPalStr.h"

namespace LumConfCluster {

/// What a tool may take.
struct ToolLimits {
    std::uint32_t timeMs = 0;  ///< 0 is none
    std::size_t bytes = std::size_t{64} << 20;
    std::size_t lines = 1000000;
    const char* timeKey = "";  ///< of "conf.cluster", where the time comes from, or what was set in its place
};

/// Those of this node: TOOL_TIMEOUT of "conf.cluster", and COMMAND_TIMEOUT for the commands of applications.
/// @throws as LumPalConfig::ConfigNamespace_t::Open
ToolLimits ConfiguredToolLimits();
/// What ConfiguredToolLimits gives from now on; see ClusterUtil::SetToolTimeout.
void SetToolTimeout(std::int32_t seconds, const char* name);
ToolLimits ConfiguredCommandLimits();

/// Run one tool with the C locale, without input and, but for EndOf, without its error stream; see ClusterUtil::GetOut
/// and ClusterUtil::GetOutColl. Block until it ends. Any thread. When the process is stopping the tool is asked to end,
/// and ended by force after a second.
/// @throws LumPalMsg::Exception_t  what went wrong, with the line
LumPalStr::String_t FirstLineOf(const LumPalStr::String_t& cmd, const ToolLimits& limits);
std::vector<LumPalStr::String_t> AllLinesOf(const LumPalStr::String_t& cmd, const ToolLimits& limits);
/// How a tool has ended.
struct ToolEnd {
    std::vector<LumPalStr::String_t> lines;
    int code = 0;
    /// The beginning of what it wrote to its error stream, as one line without control characters.
    LumPalStr::String_t said;
};
/// As AllLinesOf, but for a tool that tells of its failures itself: each exit code is taken.
ToolEnd EndOf(const LumPalStr::String_t& cmd, const ToolLimits& limits);
/// The same for a command of which nothing is read but how it ends: its exit code. What it prints is dropped.
int ExitCodeOf(const LumPalStr::String_t& cmd, const ToolLimits& limits);

}  // namespace LumConfCluster
