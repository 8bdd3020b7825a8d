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

/// Tells whether the cluster can know that something runs nowhere. Pacemaker calls stopped what it has no history of,
/// and a history is gone for a moment: when a node joins, those of the nodes are taken out and written anew, and a
/// refreshed resource has none until it has been probed. Any document is taken: what it does not tell leaves nothing
/// open. One thread.
class PcmkHistory {
public:
    /// @param tree  what cibadmin printed; lives longer
    explicit PcmkHistory(const XmlDataTree& tree);
    /// Whether one of its members that should run, and is told to be nowhere, may run all the same: on a node whose
    /// history is gone, where it has none or is being probed, or where it runs by its last operation.
    /// @param resource  as crm_mon told it, with what runs of it
    /// @param nodes     all of them, likewise
    bool LeavesOpen(const PcmkResource& resource, const std::vector<PcmkNode>& nodes) const;

private:
    enum class Left { Idle, Active, Probing };
    using Lefts = std::map<LumPalStr::String_t, Left>;

    void Take(const XmlDataNode& nodeState);
    static Left LeftBy(const XmlDataNode& operations);
    bool MayBeOn(const LumPalStr::String_t& member, const PcmkNode& node, bool hasHistory) const;

    std::map<LumPalStr::String_t, std::optional<Lefts>> byNode;  ///< without a value: the history is gone
    bool isAllProbed = true;                                     ///< everything on every node, sooner or later
};

}  // namespace LumConfCluster
