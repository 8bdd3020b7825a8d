/// @file
/// What the monitor holds on to while the cluster does not know where something runs.
#pragma once

#include <chrono>
#include <map>

#include "LumConfCluster/ClusterResourceGroups.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The groups of the last looks, so that what is not known for a while switches nothing: neither off, which stops what
/// runs, nor on. Used by one thread.
class LastKnownGroups {
public:
    using Moment = std::chrono::steady_clock::time_point;
    /// Several times what a product needs to look for a group. Behind it what is told counts.
    static constexpr std::chrono::seconds kLongest{60};

    /// The groups in their order, with one that is not settled as it was when it last was, if that is not longer ago
    /// than kLongest. One that never was is as it is told. Logs a warning, once each time, of one that stays unsettled.
    ClusterResourceGroups Settle(const ClusterResourceGroups& told, Moment now);

private:
    struct Known {
        ClusterResourceGroup group;
        Moment seen;
        bool isGivenUp = false;
    };
    ClusterResourceGroup SettledOr(const ClusterResourceGroup& told, Moment now);

    std::map<LumPalStr::String_t, Known> last;
};

}  // namespace LumConfCluster
