#include "PcmkHistory.h"

#include <algorithm>
#include <array>

#include "PcmkCib.h"
#include "XmlSearch.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

constexpr std::array kOfRunning{"start", "monitor", "promote", "demote", "migrate_from"};
/// It runs, it runs promoted, and both once more for one that runs with less than all.
constexpr std::array kRuns{"0", "8", "190", "191"};

bool IsOneOf(const String_t& text, const auto& all) {
    return std::any_of(all.begin(), all.end(), [&](const char* each) { return text == each; });
}

/// Somebody has it that not everything is probed everywhere.
bool IsProbingLimited(const XmlDataNode& root) {
    return FindElement(root, "nvpair", {{"name", "enable-startup-probes"}, {"value", "false"}}) != nullptr ||
           FindElement(root, "rsc_location", {{"resource-discovery", "never"}}) != nullptr ||
           FindElement(root, "rsc_location", {{"resource-discovery", "exclusive"}}) != nullptr;
}

bool IsTold(const PcmkResource& resource, const String_t& member, const String_t& node) {
    const auto isThere = [&](const PcmkMember& each) {
        return PcmkWithoutNumber(each.id) == PcmkWithoutNumber(member) &&
               std::find(each.nodes.begin(), each.nodes.end(), node) != each.nodes.end();
    };
    return std::any_of(resource.copies.begin(), resource.copies.end(),
                       [&](const PcmkCopy& copy) { return std::any_of(copy.begin(), copy.end(), isThere); });
}

/// Of another node nothing runs that counts, or somebody else tells it.
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
    isAllProbed = !IsProbingLimited(root);
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
    bool isActive = false, isProbing = false;
    PcmkForEach(operations, "lrm_rsc_op", [&](const XmlDataNode& one) {
        const String_t name = AttributeOf(one, "operation");
        if (AttributeOf(one, "op-status") == "-1") {
            isProbing = isProbing || (name == "monitor" && AttributeOf(one, "interval") == "0");
            return;
        }
        const int number = AttributeOf(one, "call-id").ToInt();
        if (number <= latest) return;
        latest = number;
        isActive = IsOneOf(name, kOfRunning) && IsOneOf(AttributeOf(one, "rc-code"), kRuns);
    });
    if (isProbing) return Left::Probing;
    return isActive ? Left::Active : Left::Idle;
}

bool PcmkHistory::MayBeOn(const String_t& member, const PcmkNode& node, bool hasHistory) const {
    const auto known = byNode.find(node.name);
    if (known == byNode.end()) return false;
    // A remote node has no history before its first operation.
    if (!known->second) return !node.isRemote;
    // Copies of a clone share their history, unless each is one of its own.
    for (const String_t& id : {member, PcmkWithoutNumber(member)}) {
        const auto found = known->second->find(id);
        if (found != known->second->end()) return found->second != Left::Idle;
    }
    return hasHistory && isAllProbed;
}

bool PcmkHistory::LeavesOpen(const PcmkResource& resource, const std::vector<PcmkNode>& nodes) const {
    const auto isOpen = [&](const PcmkMember& member) {
        if (!member.isWanted || (member.IsActive() && !resource.isCloned)) return false;
        return std::any_of(nodes.begin(), nodes.end(), [&](const PcmkNode& node) {
            // What is in a container of a bundle is remembered with the container.
            return Counts(node) && !IsTold(resource, member.id, node.name) &&
                   MayBeOn(member.id, node, !resource.isBundle);
        });
    };
    return std::any_of(resource.copies.begin(), resource.copies.end(),
                       [&](const PcmkCopy& copy) { return std::any_of(copy.begin(), copy.end(), isOpen); });
}

}  // namespace LumConfCluster
