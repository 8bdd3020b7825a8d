/// @file
/// What the monitor holds on to while the cluster does not know where something runs.
#pragma once

#include <chrono>
#include <map>
#include <optional>

#include "LumConfCluster/ClusterResourceGroups.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The groups of the last looks, so that one that runs is not taken for stopped where the cluster cannot know it for a
/// while. Used by one thread.
class LastKnownGroups {
public:
    using Moment = std::chrono::steady_clock::time_point;
    /// Three times what Pacemaker gives a probe, unless it is told otherwise. Behind it what is told counts.
    static constexpr std::chrono::seconds kLongest{60};

    /// The groups in their order. One that is not settled, and that was online when it last was, counts as it was then
    /// as long as it may be on that very node, but no longer than kLongest from the first such look on; then a warning
    /// is logged, once. Every other one is as it is told.
    ClusterResourceGroups Settle(const ClusterResourceGroups& told, Moment now);

private:
    struct Known {
        ClusterResourceGroup group;
        std::optional<Moment> heldSince;
        bool isGivenUp = false;
    };
    ClusterResourceGroup SettledOr(const ClusterResourceGroup& told, Moment now);

    std::map<LumPalStr::String_t, Known> last;
};

}  // namespace LumConfCluster
