/// @file
/// The keys that the monitor follows.
#pragma once

#include <cstdint>

#include "LocalNode.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// What a monitor goes by from cycle to cycle. Used by its thread.
struct MonitorFields {
    LumPalStr::String_t& clusterType;
    std::int32_t& pollingInterval;
    bool& monitorMode;
};

/// Takes up POLLING_INTERVAL and MONITOR_MODE of "conf.cluster". What is empty there, and a CLUSTER_TYPE that is not
/// the product that was seen, is first set on the node, by a request to it under its local name.
/// @throws LumPalMsg::Exception_t  what opening the namespace throws, and what the request ends in
LocalName FollowKeys(const MonitorFields& fields);

}  // namespace LumConfCluster
