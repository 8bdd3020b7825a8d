/// @file
/// What the tools of Pacemaker print, which is XML. Pure functions; any thread.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "LumConfCluster/XmlDataTree.h"
#include "LumPalStr.h"
#include "ToolRun.h"
#include "ToolText.h"

namespace LumConfCluster {

struct PcmkNode {
    LumPalStr::String_t name;
    std::uint16_t id = 0;  ///< 65535 for one that is no number below
    bool isOnline = false, isStandby = false, isMaintained = false, isPending = false, isUnclean = false;
    bool isRemote = false;       ///< without a part in the quorum
    bool isInContainer = false;  ///< of a bundle, for nothing else
    LumPalStr::String_t host;    ///< of a guest the resource that it is, as a virtual machine

    /// What there is to say of it beyond being on line or not, as "standby, maintenance"; empty for most.
    LumPalStr::String_t Detail() const;
};

enum class PcmkRole { Stopped, Started, Unpromoted, Promoted };

/// A primitive where it runs, or where it does not.
struct PcmkMember {
    LumPalStr::String_t id, agent;
    PcmkRole role = PcmkRole::Stopped;  ///< of one that starts or stops just now: Stopped
    bool isWanted = true;               ///< it should run
    bool isFailed = false, isBlocked = false, isManaged = true;
    std::vector<LumPalStr::String_t> nodes;  ///< where it is active in any way

    bool IsActive() const noexcept { return !nodes.empty(); }
    /// To a remote node, a guest, or a container of a bundle, which is a node of this id.
    bool IsConnection() const;
};

/// Of the copies of a clone, which bear a number behind it, the id that they share.
LumPalStr::String_t PcmkWithoutNumber(const LumPalStr::String_t& id);

/// Members that belong on one node.
using PcmkCopy = std::vector<PcmkMember>;

/// A resource that stands in no other one.
struct PcmkResource {
    LumPalStr::String_t name;
    bool isCloned = false;      ///< its copies may be on several nodes
    bool isPromotable = false;  ///< one of its copies is meant to be more than the others
    bool isBundle = false;
    std::vector<PcmkCopy> copies;
    std::vector<LumPalStr::String_t> inner;  ///< the ids of what it holds, without the numbers of copies
    bool isOftenPromoted = false;  ///< several of its copies may be at once; not told before PcmkCib::PutTogether

    /// Several of its copies are told to be.
    bool IsPromotedTwice() const;
};

/// A resource that may not run on a node.
struct PcmkBan {
    LumPalStr::String_t resource, node;
    bool isOfPromotedOnly = false;
};

/// The cluster at one moment.
struct PcmkSight {
    bool hasQuorum = false, hasController = false;
    bool isOptIn = false;  ///< a resource runs nowhere but where a constraint lets it
    std::vector<PcmkNode> nodes;
    std::vector<PcmkResource> resources;
    std::vector<PcmkBan> bans;
    /// The ids of what remote nodes are there by. It runs on none of them itself.
    std::set<LumPalStr::String_t> remoteHosts;
    /// What is told of below its node alone. Where it belongs is not told: see PcmkCib::PutTogether.
    std::vector<PcmkMember> loose;

    /// Whether what is told leaves something to the configuration: see PcmkCib::PutTogether.
    bool NeedsConfiguration() const;
};

/// The lines that a tool printed as a tree.
/// @param tool  what messages call it
/// @throws LumPalMsg::Exception_t for what is no XML, or more than a tree may hold
XmlDataTree PcmkTree(const LumPalStr::String_t& tool, const ToolLines& lines);

/// The same of a tool that has ended.
/// @throws as above; for another exit code than 0 LumConf::ClusterException PcmkToolFailed with what the tool said, or
///         ToolReturned when it said nothing
XmlDataTree PcmkTree(const LumPalStr::String_t& tool, const ToolEnd& end);

/// Of crm_mon.
/// @param tool  what messages call it
/// @throws LumConf::ClusterException PcmkTooOld for the document of a release before 2.0.3, PcmkNoResult for another
///         document, PcmkToolFailed for a result that tells of a failure, PcmkNothingTold for one without data
PcmkSight PcmkSightOf(const LumPalStr::String_t& tool, const XmlDataTree& tree);
/// The same of how it ended: the reason of a failure is what its document tells, or else what it said.
/// @throws as both above; LumConf::ClusterException PcmkNoDocument for a release that knows no such option,
///         PcmkToolFailed for another failure without a document, ToolReturned for one that no word tells of
PcmkSight PcmkSightOf(const LumPalStr::String_t& tool, const ToolEnd& end);

}  // namespace LumConfCluster
