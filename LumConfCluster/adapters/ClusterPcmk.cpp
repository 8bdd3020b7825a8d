#include "ClusterPcmk.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
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
    {pcmkWords::kUnmanaged, RGState::Unknown}, {pcmkWords::kBlocked, RGState::Unknown},
    {pcmkWords::kUnprobed, RGState::Unknown}};

/// They stand for themselves: there is nothing to add to the state.
constexpr const char* kPlainWords[]{pcmkWords::kStarted, pcmkWords::kPromoted, pcmkWords::kStopped};

/// Of these something that should run does not.
constexpr const char* kMissing[]{pcmkWords::kStopped, pcmkWords::kPartial, pcmkWords::kUnpromoted,
                                 pcmkWords::kUnmanaged};

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

/// What no policy can follow raises no doubt.
bool IsEverywhere(const PcmkResource& resource) {
    return resource.isCloned && !resource.isPromotable;
}

/// By the configuration too: else nothing is told of it but where it may be.
bool IsPromotedTwice(const PcmkResource& resource, const PcmkState& state) {
    return resource.isPromotable && state.word == std::string_view(pcmkWords::kPromoted) && state.node.IsEmpty();
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
    record.isEverywhere = IsEverywhere(resource) || IsPromotedTwice(resource, state);
    record.mayBeOn = state.several;
    if (record.state == RGState::Online) record.activeNode = nodes.Find(state.node);
    return group;
}

/// What both tools told, one behind the other.
class ClusterPcmk::Look {
public:
    explicit Look(const ClusterPcmk& cluster) : configured(cluster), sight(cluster.SeeResources(configured)) {
        const PcmkStates states(sight.nodes);
        for (const PcmkResource& resource : sight.resources) {
            const bool isMissing = !IsEverywhere(resource) && IsOneOf(states.Whole(resource).word, kMissing);
            doubts.push_back(isMissing ? History().DoubtOf(resource, sight.nodes) : PcmkDoubt());
        }
    }
    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

    Configured& GetConfigured() { return configured; }
    const PcmkSight& GetSight() const { return sight; }
    /// Of the resource at this place.
    const PcmkDoubt& GetDoubt(std::size_t place) const { return doubts[place]; }
    bool IsOutdated() const {
        return std::any_of(doubts.begin(), doubts.end(), [](const PcmkDoubt& doubt) { return doubt.isOutdated; });
    }

private:
    /// Read where it is needed alone.
    const PcmkHistory& History() {
        if (!history) history.emplace(configured.GetTree());
        return *history;
    }

    Configured configured;
    const PcmkSight sight;
    std::optional<PcmkHistory> history;
    std::vector<PcmkDoubt> doubts;
};

void ClusterPcmk::MarkDoubtful(const ClusterResourceGroup& group, const PcmkDoubt& doubt) {
    if (doubt.nodes.empty()) return;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    std::set<String_t> mayBeOn(doubt.nodes.begin(), doubt.nodes.end());
    mayBeOn.insert(record.mayBeOn.begin(), record.mayBeOn.end());
    record.mayBeOn.assign(mayBeOn.begin(), mayBeOn.end());
    record.state = GroupStateOf(pcmkWords::kUnprobed);
    record.detail = pcmkWords::kUnprobed;
    const bool mayBeHere = std::find(doubt.nodes.begin(), doubt.nodes.end(), localNodeName) != doubt.nodes.end();
    if (mayBeHere) record.localState = record.state;
}

ClusterResourceGroups ClusterPcmk::GroupsOf(Look& look) {
    const PcmkSight& sight = look.GetSight();
    const PcmkStates states(sight.nodes);
    NodesByName nodes([&] { return NodesOf(sight); });
    const ClusterResourceGroups groups;
    for (std::size_t i = 0; i < sight.resources.size(); ++i) {
        groups.GetImpl()->Add(MakeGroup(sight.resources[i], static_cast<std::uint16_t>(i), states, nodes));
        MarkDoubtful(groups[static_cast<int>(i)], look.GetDoubt(i));
    }
    // Whoever wants an address asks again where it could not be had.
    Tried([&] { AddAddresses(groups, sight, look.GetConfigured()); });
    return groups;
}

ClusterResourceGroups ClusterPcmk::GetGroups() {
    return Reported(msg::ClusterGroupsNotRead, msg::RhasGroupsFailed, [&] {
        Look look(*this);
        if (!look.IsOutdated()) return GroupsOf(look);
        Look again(*this);
        return GroupsOf(again);
    });
}

void ClusterPcmk::AddAddresses(const ClusterResourceGroups& groups, const PcmkSight& sight, Configured& configured) {
    if (groups.Count() == 0) return;
    const PcmkCib& cib = configured.Get();
    for (int i = 0; i < groups.Count(); ++i) {
        ClusterResourceGroupImpl& record = *groups[i].GetImpl();
        record.virtualIP = cib.AddressOf(sight.resources[static_cast<std::size_t>(i)], record.activeNode.GetName());
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
