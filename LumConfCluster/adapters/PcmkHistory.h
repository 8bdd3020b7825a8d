/// @file
/// What a Pacemaker cluster remembers of the operations on its nodes.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <vector>

#include "LumConfCluster/XmlDataTree.h"
#include "LumPalStr.h"
#include "PcmkOutput.h"

namespace LumConfCluster {

/// Where something may run that is told to run nowhere.
struct PcmkDoubt {
    std::vector<LumPalStr::String_t> nodes;  ///< each once; none: it runs nowhere
    /// On one of them it runs by its last operation: history was written behind the look, so that another one tells
    /// more.
    bool isOutdated = false;
};

/// Tells whether the cluster can know that something runs nowhere. Pacemaker calls stopped what it has no history of,
/// and a history is gone for a while: while that of a node is written anew, and of a refreshed resource until it has
/// been probed. Any document is taken: what it does not tell raises no doubt. One thread.
class PcmkHistory {
public:
    /// @param tree  what cibadmin printed
    explicit PcmkHistory(const XmlDataTree& tree);
    /// Where one of its members that should run, and is told to be nowhere, may run all the same: on a node whose
    /// history is gone, where the member has none or is being probed, or where it runs by its last operation.
    /// @param resource  as crm_mon told it, with what runs of it
    /// @param nodes     all of them, likewise
    PcmkDoubt DoubtOf(const PcmkResource& resource, const std::vector<PcmkNode>& nodes) const;

private:
    /// What the operations on a node leave of a primitive there.
    enum class Left { Nothing, Running, Unknown };
    using Lefts = std::map<LumPalStr::String_t, Left>;

    void Take(const XmlDataNode& nodeState);
    static Left LeftBy(const XmlDataNode& operations);
    Left LeftOn(const LumPalStr::String_t& node, const LumPalStr::String_t& member, Left whenGone,
                Left whenMissing) const;
    Left LeftOf(const PcmkMember& member, const PcmkCopy& copy, const PcmkNode& node) const;

    std::map<LumPalStr::String_t, std::optional<Lefts>> byNode;  ///< without a value: the history is gone
    std::set<LumPalStr::String_t> contained;                     ///< see PcmkCib::Contained
    bool isAllProbed = true;                                     ///< everything on every node, sooner or later
};

}  // namespace LumConfCluster
