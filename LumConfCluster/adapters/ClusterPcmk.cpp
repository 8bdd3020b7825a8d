#include "ClusterPcmk.h"

#include <algorithm>
#include <optional>

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "LumPalThread.h"
#include "PcmkHistory.h"
#include "PcmkPlacement.h"
#include "Reported.h"
#include "Tried.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

enum Tools : std::int32_t { Monitor, Configuration, Node };

constexpr StateWords<RGState>::Row kGroupWords[]{
    {pcmkWords::kStarted, RGState::Online},    {pcmkWords::kPromoted, RGState::Online},
    {pcmkWords::kStopped, RGState::Offline},   {pcmkWords::kUnpromoted, RGState::Offline},
    {pcmkWords::kPartial, RGState::Offline},   {pcmkWords::kFailed, RGState::Unknown},
    {pcmkWords::kUnmanaged, RGState::Unknown}, {pcmkWords::kBlocked, RGState::Unknown}};

/// They stand for themselves: there is nothing to add to the state.
constexpr const char* kPlainWords[]{pcmkWords::kStarted, pcmkWords::kPromoted, pcmkWords::kStopped};

/// Of these something that should run does not.
constexpr const char* kMissing[]{pcmkWords::kStopped, pcmkWords::kPartial, pcmkWords::kUnpromoted};

/// Until the next look, in milliseconds. A history is written anew within some ten of them, and a probe is begun.
constexpr std::uint32_t kPauses[]{50, 100, 200, 400};

bool IsOneOf(const char* word, const auto& words) {
    return std::any_of(std::begin(words), std::end(words), [&](const char* each) { return String_t(word) == each; });
}

/// One in standby or maintenance is on line: it belongs to the cluster and tells what runs on it.
NodeState StateOf(const PcmkNode& node) {
    if (node.isUnclean || node.isPending) return NodeState::Unknown;
    return node.isOnline ? NodeState::Online : NodeState::Offline;
}

ClusterNodes NodesOf(const PcmkSight& sight) {
    const ClusterNodes nodes;
    for (const PcmkNode& told : sight.nodes) {
        const ClusterNode node = NodeOf(told.name, told.id, StateOf(told));
        node.GetImpl()->detail = told.Detail();
        nodes.GetImpl()->Add(node);
    }
    return nodes;
}

String_t DetailOf(const char* word) {
    return IsOneOf(word, kPlainWords) ? String_t("") : String_t(word);
}

/// What no policy can follow is not waited for.
bool IsEverywhere(const PcmkResource& resource) {
    return resource.isCloned && !resource.isPromotable;
}

}  // namespace

ClusterPcmk::ClusterPcmk(const ClusterProduct& product) : ClusterImpl(product.type) {
    try {
        AddTool(Monitor, "/usr/sbin", "crm_mon");
        AddTool(Configuration, "/usr/sbin", "cibadmin");
        AddTool(Node, "/usr/sbin", "crm_node");
        groupStates = StateWords<RGState>(kGroupWords);
        localNodeName = LocalNodeName(Tool(Node).Words("-n").Text());
        const XmlDataTree tree = ReadCib();
        name = PcmkCib(tree).ClusterName();
        OpenGroupStates(product.stateSuffix);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::PcmkNotMade, e);
    }
}

/// What is configured, asked for at most once for a question.
class ClusterPcmk::Configured {
public:
    explicit Configured(const ClusterPcmk& cluster) : cluster(cluster) {}
    const PcmkCib& Get() {
        if (!cib) cib.emplace(GetTree());
        return *cib;
    }
    /// With what the cluster remembers.
    const XmlDataTree& GetTree() {
        if (!isRead) tree = cluster.ReadCib();
        isRead = true;
        return tree;
    }

private:
    const ClusterPcmk& cluster;
    bool isRead = false;
    XmlDataTree tree;
    std::optional<PcmkCib> cib;
};

PcmkSight ClusterPcmk::See() const {
    const ToolLine line = Tool(Monitor).Words("-1 --output-as=xml");
    return PcmkSightOf(line.Text(), line.GetEnd());
}

PcmkSight ClusterPcmk::SeeResources(Configured& configured) const {
    PcmkSight sight = See();
    if (sight.NeedsConfiguration()) configured.Get().PutTogether(sight);
    return sight;
}

XmlDataTree ClusterPcmk::ReadCib() const {
    const ToolLine line = Tool(Configuration).Words("-Q");
    return PcmkTree(line.Text(), line.GetEnd());
}

String_t ClusterPcmk::GetLocalNodeName() const {
    return ConfiguredNodeName().IsEmpty() ? localNodeName : String_t();
}

ClusterState ClusterPcmk::GetState() {
    return Reported(msg::ClusterLocalStateNotRead, msg::RhasStateFailed, [&] {
        const PcmkSight sight = See();
        const auto local = std::find_if(sight.nodes.begin(), sight.nodes.end(),
                                        [&](const PcmkNode& node) { return node.name == localNodeName; });
        if (!sight.hasController || local == sight.nodes.end()) return ClusterState::Unknown;
        const NodeState state = StateOf(*local);
        if (state == NodeState::Unknown) return ClusterState::Unknown;
        return state == NodeState::Online && sight.hasQuorum ? ClusterState::Up : ClusterState::Down;
    });
}

ClusterNodes ClusterPcmk::GetNodes() {
    return Reported(msg::ClusterNodesNotRead, msg::RhasNodesFailed, [&] { return NodesOf(See()); });
}

ClusterResourceGroup ClusterPcmk::MakeGroup(const PcmkResource& resource, std::uint16_t id, const PcmkStates& states,
                                            NodesByName& nodes) {
    const ClusterResourceGroup group;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    const PcmkState state = states.Whole(resource);
    record.name = resource.name;
    record.id = id;
    record.state = GroupStateOf(state.word);
    record.localState = GroupStateOf(states.WordOn(resource, localNodeName));
    record.detail = DetailOf(state.word);
    record.isEverywhere = IsEverywhere(resource);
    if (record.state == RGState::Online) record.activeNode = nodes.Find(state.node);
    return group;
}

/// Where nobody tells what is remembered, the word of crm_mon holds.
bool ClusterPcmk::LeavesOpen(const PcmkSight& sight, Configured& configured) {
    const PcmkStates states(sight.nodes);
    std::vector<PcmkResource> missing;
    std::copy_if(
        sight.resources.begin(), sight.resources.end(), std::back_inserter(missing),
        [&](const PcmkResource& one) { return !IsEverywhere(one) && IsOneOf(states.Whole(one).word, kMissing); });
    bool isOpen = false;
    if (missing.empty()) return isOpen;
    Tried([&] {
        const PcmkHistory history(configured.GetTree());
        isOpen = std::any_of(missing.begin(), missing.end(),
                             [&](const PcmkResource& one) { return history.LeavesOpen(one, sight.nodes); });
    });
    return isOpen;
}

ClusterResourceGroups ClusterPcmk::GroupsOf(const PcmkSight& sight, Configured& configured) {
    const PcmkStates states(sight.nodes);
    NodesByName nodes([&] { return NodesOf(sight); });
    const ClusterResourceGroups groups;
    for (const PcmkResource& resource : sight.resources) {
        const auto id = static_cast<std::uint16_t>(groups.Count());
        groups.GetImpl()->Add(MakeGroup(resource, id, states, nodes));
    }
    // Whoever wants an address asks again where it could not be had.
    Tried([&] { AddAddresses(groups, configured); });
    return groups;
}

ClusterResourceGroups ClusterPcmk::GetGroups() {
    return Reported(msg::ClusterGroupsNotRead, msg::RhasGroupsFailed, [&] {
        for (const std::uint32_t pause : kPauses) {
            Configured configured(*this);
            const PcmkSight sight = SeeResources(configured);
            if (!LeavesOpen(sight, configured)) return GroupsOf(sight, configured);
            LumPalThread::Thread_t::Sleep(pause);
        }
        Configured configured(*this);
        return GroupsOf(SeeResources(configured), configured);
    });
}

void ClusterPcmk::AddAddresses(const ClusterResourceGroups& groups, Configured& configured) {
    if (groups.Count() == 0) return;
    const PcmkCib& cib = configured.Get();
    for (int i = 0; i < groups.Count(); ++i) {
        ClusterResourceGroupImpl& record = *groups[i].GetImpl();
        record.virtualIP = cib.AddressOf(record.name);
        record.virtualIPKnown = 1;
    }
}

ClusterNodes ClusterPcmk::GetGroupNodes(String_t group) {
    try {
        Configured configured(*this);
        const PcmkSight sight = SeeResources(configured);
        const ClusterNodes may;
        const auto resource = std::find_if(sight.resources.begin(), sight.resources.end(),
                                           [&](const PcmkResource& one) { return one.name == group; });
        if (resource == sight.resources.end()) return may;
        NodesByName nodes([&] { return NodesOf(sight); });
        for (const String_t& node : PcmkNodesOf(*resource, sight, configured.Get())) may.GetImpl()->Add(nodes[node]);
        return may;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::PcmkGroupNodesNotRead, group, e);
    }
}

String_t ClusterPcmk::GetVirtualIP(String_t group) {
    try {
        const XmlDataTree tree = ReadCib();
        return PcmkCib(tree).AddressOf(group);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::PcmkAddressNotRead, group, e);
    }
}

}  // namespace LumConfCluster
