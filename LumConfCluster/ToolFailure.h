/// @file
/// What callers see of a tool of a product that failed.
#pragma once

#include "Exceptions.h"
#include "Messages.h"
#include "ToolRun.h"
#include "Trace.h"

namespace LumConfCluster {

/// Calls something with the limits of this node for tools, and returns what that returns.
/// @throws LumConf::ClusterException ToolFailed, traced, with what was thrown as its details
template <class Running>
auto AsToolFailure(Running&& running) {
    try {
        return running(ConfiguredToolLimits());
    } catch (const LumPalMsg::Exception_t& e) {
        const auto message = LumConf::Make(LumConf::msg::ToolFailed, e);
        LUMCONF_TRACE(LumConf::trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
        throw LumConf::ClusterException(message);
    }
}

}  // namespace LumConfCluster
