/// @file
/// What a Pacemaker cluster remembers of the operations on its nodes.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "LumConfCluster/XmlDataTree.h"
#include "LumPalStr.h"
#include "PcmkOutput.h"

namespace LumConfCluster {

/// Why something may run that is told to run nowhere, the better reason behind the lesser.
enum class PcmkDoubt {
    None,
    RunsByNow,  ///< by its last operation it runs: history was written behind the look
    Unprobed    ///< the cluster does not know it yet
};

/// Tells whether the cluster can know that something runs nowhere. Pacemaker calls stopped what it has no history of,
/// and a history is gone for a while: when a node joins, those of the nodes are taken out and written anew, and a
/// refreshed resource has none until it has been probed. Any document is taken: what it does not tell raises no doubt.
/// One thread.
class PcmkHistory {
public:
    /// @param tree  what cibadmin printed
    explicit PcmkHistory(const XmlDataTree& tree);
    /// Whether one of its members that should run, and is told to be nowhere, may run all the same: Unprobed on a node
    /// whose history is gone, or where it has none or is being probed.
    /// @param resource  as crm_mon told it, with what runs of it
    /// @param nodes     all of them, likewise
    PcmkDoubt DoubtOf(const PcmkResource& resource, const std::vector<PcmkNode>& nodes) const;

private:
    /// What the operations on a node leave in doubt, by primitives.
    using Doubts = std::map<LumPalStr::String_t, PcmkDoubt>;

    void Take(const XmlDataNode& nodeState);
    PcmkDoubt DoubtOn(const PcmkNode& node, const LumPalStr::String_t& member, bool isInBundle) const;

    std::map<LumPalStr::String_t, std::optional<Doubts>> byNode;  ///< without a value: the history is gone
    bool isAllProbed = true;                                      ///< everything on every node, sooner or later
};

}  // namespace LumConfCluster
