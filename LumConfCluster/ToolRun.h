/// @file
/// Running the tools of cluster products.
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
};

/// Those of this node: TOOL_TIMEOUT of "conf.cluster". @throws as LumPalConfig::ConfigNamespace_t::Open
ToolLimits ConfiguredToolLimits();

/// Run one tool with the C locale, without input and without its error stream; see ClusterUtil::GetOut and
/// ClusterUtil::GetOutColl. Block until it ends. Any thread.
/// @throws LumPalMsg::Exception_t  what went wrong, with the line
LumPalStr::String_t FirstLineOf(const LumPalStr::String_t& cmd, const ToolLimits& limits);
std::vector<LumPalStr::String_t> AllLinesOf(const LumPalStr::String_t& cmd, const ToolLimits& limits);

}  // namespace LumConfCluster
