#include "PcmkHistory.h"

#include <algorithm>
#include <array>

#include "PcmkCib.h"
#include "XmlSearch.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

/// What changes where something runs, or finds it. Others, as "notify", say nothing of it.
constexpr std::array kOfRunning{"start", "monitor", "promote", "demote", "migrate_from"};
constexpr std::array kOfStopping{"stop", "migrate_to"};
/// It runs, it runs promoted, and both once more for one that runs with less than all.
constexpr std::array kRuns{"0", "8", "190", "191"};
constexpr std::array kFalse{"false", "no", "off", "n", "0"};

bool IsOneOf(const String_t& text, const auto& all) {
    return std::any_of(all.begin(), all.end(), [&](const char* each) { return text == each; });
}

bool IsLimiting(const XmlDataNode& node) {
    if (node.GetName() == "nvpair" && AttributeOf(node, "name") == "enable-startup-probes")
        return IsOneOf(AttributeOf(node, "value").ToLower(), kFalse);
    const String_t discovery = AttributeOf(node, "resource-discovery");
    return node.GetName() == "rsc_location" && (discovery == "never" || discovery == "exclusive");
}

/// Somebody has it that not everything is probed everywhere.
bool IsProbingLimited(const XmlDataNode& part) {
    if (IsLimiting(part)) return true;
    for (int i = 0; i < part.ChildrenCount(); ++i) {
        if (IsProbingLimited(part[i])) return true;
    }
    return false;
}

bool IsTold(const PcmkResource& resource, const String_t& member, const String_t& node) {
    const auto isThere = [&](const PcmkMember& each) {
        return each.id == member && std::find(each.nodes.begin(), each.nodes.end(), node) != each.nodes.end();
    };
    return std::any_of(resource.copies.begin(), resource.copies.end(),
                       [&](const PcmkCopy& copy) { return std::any_of(copy.begin(), copy.end(), isThere); });
}

/// Which copy of a clone runs on a node nobody tells, but each member of a bundle is one of its own.
bool IsMissing(const PcmkResource& resource, const PcmkMember& member, const String_t& node) {
    if (!member.isWanted) return false;
    return resource.isCloned && !resource.isBundle ? !IsTold(resource, member.id, node) : !member.IsActive();
}

bool IsOn(const PcmkMember& member, const String_t& node) {
    return std::find(member.nodes.begin(), member.nodes.end(), node) != member.nodes.end();
}

/// On another node nothing runs that counts, or somebody else tells it.
bool Counts(const PcmkNode& node) {
    return node.isOnline && !node.isPending && !node.isUnclean && !node.isInContainer;
}

}  // namespace

PcmkHistory::PcmkHistory(const XmlDataTree& tree) {
    if (tree.ChildrenCount() == 0) return;
    const XmlDataNode& root = tree[0];
    PcmkForEach(root, "status", [this](const XmlDataNode& status) {
        PcmkForEach(status, "node_state", [this](const XmlDataNode& node) { Take(node); });
    });
    PcmkForEach(root, "configuration", [this](const XmlDataNode& one) { isAllProbed = !IsProbingLimited(one); });
    contained = PcmkCib(tree).Contained();
}

void PcmkHistory::Take(const XmlDataNode& nodeState) {
    std::optional<Lefts>& lefts = byNode[AttributeOf(nodeState, "uname")];
    PcmkForEach(nodeState, "lrm", [&](const XmlDataNode& history) {
        lefts.emplace();
        PcmkForEach(history, "lrm_resources", [&](const XmlDataNode& list) {
            PcmkForEach(list, "lrm_resource", [&](const XmlDataNode& resource) {
                lefts->insert_or_assign(AttributeOf(resource, "id"), LeftBy(resource));
            });
        });
    });
}

/// An operation that has not ended bears no number of its own.
PcmkHistory::Left PcmkHistory::LeftBy(const XmlDataNode& operations) {
    int latest = -1;
    Left left = Left::Nothing;
    bool isProbing = false;
    PcmkForEach(operations, "lrm_rsc_op", [&](const XmlDataNode& one) {
        const String_t name = AttributeOf(one, "operation");
        const bool isOfRunning = IsOneOf(name, kOfRunning);
        if (AttributeOf(one, "op-status") == "-1") {
            isProbing = isProbing || (name == "monitor" && AttributeOf(one, "interval") == "0");
            return;
        }
        const int number = AttributeOf(one, "call-id").ToInt();
        if (number <= latest || !(isOfRunning || IsOneOf(name, kOfStopping))) return;
        latest = number;
        left = isOfRunning && IsOneOf(AttributeOf(one, "rc-code"), kRuns) ? Left::Running : Left::Nothing;
    });
    return isProbing ? Left::Unknown : left;
}

PcmkHistory::Left PcmkHistory::LeftOn(const String_t& node, const String_t& member, Left whenGone,
                                      Left whenMissing) const {
    const auto known = byNode.find(node);
    if (known == byNode.end()) return Left::Nothing;
    if (!known->second) return whenGone;
    // Copies of a clone share their history, unless each is one of its own.
    for (const String_t& id : {member, PcmkWithoutNumber(member)}) {
        const auto found = known->second->find(id);
        if (found != known->second->end()) return found->second;
    }
    return whenMissing;
}

/// What is in a container of a bundle is looked for on the container's own node, where the connection to that is.
PcmkHistory::Left PcmkHistory::LeftOf(const PcmkMember& member, const PcmkCopy& copy, const PcmkNode& node) const {
    const Left whenMissing = isAllProbed ? Left::Unknown : Left::Nothing;
    const bool isContained = contained.contains(member.id) || contained.contains(PcmkWithoutNumber(member.id));
    const auto connection = std::find_if(copy.begin(), copy.end(), [&](const PcmkMember& other) {
        return isContained && other.IsConnection() && IsOn(other, node.name);
    });
    if (connection != copy.end()) return LeftOn(connection->id, member.id, Left::Unknown, whenMissing);
    // A remote node has none before its first operation, and not everything is probed there.
    if (node.isRemote) return LeftOn(node.name, member.id, Left::Nothing, Left::Nothing);
    return LeftOn(node.name, member.id, Left::Unknown, isContained ? Left::Nothing : whenMissing);
}

PcmkDoubt PcmkHistory::DoubtOf(const PcmkResource& resource, const std::vector<PcmkNode>& nodes) const {
    PcmkDoubt doubt;
    for (const PcmkNode& node : nodes) {
        if (!Counts(node)) continue;
        Left left = Left::Nothing;
        for (const PcmkCopy& copy : resource.copies) {
            for (const PcmkMember& member : copy) {
                if (IsMissing(resource, member, node.name)) left = std::max(left, LeftOf(member, copy, node));
            }
        }
        if (left != Left::Nothing) doubt.nodes.push_back(node.name);
        doubt.isOutdated = doubt.isOutdated || left == Left::Running;
    }
    return doubt;
}

}  // namespace LumConfCluster
