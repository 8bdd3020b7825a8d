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

/// An operation that has not ended bears no number of its own.
PcmkDoubt DoubtBy(const XmlDataNode& operations) {
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
    if (isProbing) return PcmkDoubt::Unprobed;
    return isActive ? PcmkDoubt::RunsByNow : PcmkDoubt::None;
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
    isAllProbed = !IsProbingLimited(root);
}

void PcmkHistory::Take(const XmlDataNode& nodeState) {
    std::optional<Doubts>& doubts = byNode[AttributeOf(nodeState, "uname")];
    PcmkForEach(nodeState, "lrm", [&](const XmlDataNode& history) {
        doubts.emplace();
        PcmkForEach(history, "lrm_resources", [&](const XmlDataNode& list) {
            PcmkForEach(list, "lrm_resource", [&](const XmlDataNode& resource) {
                doubts->insert_or_assign(AttributeOf(resource, "id"), DoubtBy(resource));
            });
        });
    });
}

PcmkDoubt PcmkHistory::DoubtOn(const PcmkNode& node, const String_t& member, bool isInBundle) const {
    const auto known = byNode.find(node.name);
    if (known == byNode.end()) return PcmkDoubt::None;
    // A remote node has no history before its first operation.
    if (!known->second) return node.isRemote ? PcmkDoubt::None : PcmkDoubt::Unprobed;
    // Copies of a clone share their history, unless each is one of its own.
    for (const String_t& id : {member, PcmkWithoutNumber(member)}) {
        const auto found = known->second->find(id);
        if (found != known->second->end()) return found->second;
    }
    // What is in a container of a bundle is remembered with the container.
    return isAllProbed && !isInBundle ? PcmkDoubt::Unprobed : PcmkDoubt::None;
}

PcmkDoubt PcmkHistory::DoubtOf(const PcmkResource& resource, const std::vector<PcmkNode>& nodes) const {
    PcmkDoubt doubt = PcmkDoubt::None;
    const auto take = [&](const PcmkMember& member) {
        if (!member.isWanted || (member.IsActive() && !resource.isCloned)) return;
        for (const PcmkNode& node : nodes) {
            if (!Counts(node) || IsTold(resource, member.id, node.name)) continue;
            doubt = std::max(doubt, DoubtOn(node, member.id, resource.isBundle));
        }
    };
    for (const PcmkCopy& copy : resource.copies) std::for_each(copy.begin(), copy.end(), take);
    return doubt;
}

}  // namespace LumConfCluster
