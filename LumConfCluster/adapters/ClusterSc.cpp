#include "ClusterSc.h"

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "LumPalLog.h"
#include "ToolText.h"
#include "Tried.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

enum Tools : std::int32_t { ClusterGet, GroupGet, ResourceGet };

constexpr const char* kFolder = "/usr/cluster/bin";

constexpr StateWords<NodeState>::Row kNodeWords[]{
    {"UNKNOWN", NodeState::Unknown}, {"UP", NodeState::Online}, {"DOWN", NodeState::Offline}, {"", NodeState::Unknown}};
constexpr StateWords<RGState>::Row kGroupWords[]{{"UNMANAGED", RGState::Unknown},
                                                 {"ONLINE", RGState::Online},
                                                 {"OFFLINE", RGState::Offline},
                                                 {"PENDING_ONLINE", RGState::Unknown},
                                                 {"PENDING_OFFLINE", RGState::Unknown},
                                                 {"ERROR_STOP_FAILED", RGState::Unknown},
                                                 {"", RGState::Unknown}};
constexpr StateWords<ClusterState>::Row kClusterWords[]{{"UNKNOWN", ClusterState::Unknown},
                                                        {"UP", ClusterState::Up},
                                                        {"DOWN", ClusterState::Down},
                                                        {"", ClusterState::Unknown}};

}  // namespace

ClusterSc::ClusterSc(const ClusterProduct& product) : ClusterImpl(product.type) {
    try {
        AddTool(ClusterGet, kFolder, "scha_cluster_get");
        AddTool(GroupGet, kFolder, "scha_resourcegroup_get");
        AddTool(ResourceGet, kFolder, "scha_resource_get");
        nodeStates = StateWords<NodeState>(kNodeWords);
        groupStates = StateWords<RGState>(kGroupWords);
        clusterStates = StateWords<ClusterState>(kClusterWords);
        localNodeName = LocalNodeName();
        name = Tool(ClusterGet).Words("-O CLUSTERNAME").GetOut();
        OpenGroupStates(product.stateSuffix);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ScNotMade, e);
    }
}

ClusterState ClusterSc::GetState() {
    try {
        return clusterStates.Of(Tool(ClusterGet).Words("-O NODESTATE_LOCAL").GetOut());
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ClusterLocalStateNotRead, e);
    }
}

ClusterNode ClusterSc::MakeNode(const String_t& node) const {
    const String_t number = Tool(ClusterGet).Words("-O NODEID_NODENAME").Name(node).GetOut();
    const std::uint16_t id = NumberIn(number, ClusterNodeImpl::kUnknownId);
    if (id == ClusterNodeImpl::kUnknownId) Raise<ClusterException>(msg::NodeIdNotRead, node, number);
    return NodeOf(node, id, nodeStates.Of(Tool(ClusterGet).Words("-O NODESTATE_NODE").Name(node).GetOut()));
}

ClusterNodes ClusterSc::GetNodes() {
    try {
        const ClusterNodes nodes;
        for (const String_t& node : Tool(ClusterGet).Words("-O ALL_NODENAMES").GetOutColl())
            Tried([&] { nodes.GetImpl()->Add(MakeNode(node)); });
        return nodes;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ScNodesNotRead, e);
    }
}

ClusterNodes ClusterSc::GetGroupNodes(String_t group) {
    try {
        const ClusterNodes nodes;
        for (const String_t& node : Tool(GroupGet).Words("-O NODELIST -G").Name(group).GetOutColl()) {
            if (!Tried([&] { nodes.GetImpl()->Add(MakeNode(node)); })) LumPalLog::Log(Make(msg::ScNodeNotRead));
        }
        return nodes;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ScGroupNodesNotRead, group, e);
    }
}

void ClusterSc::ReadStateOn(const ClusterNode& node, ClusterResourceGroupImpl& group) {
    group.state = RGState::Unknown;  // kept: a node that does not answer makes what those before it said count no more
    group.state =
        GroupStateOf(Tool(GroupGet).Words("-O RG_STATE_NODE -G").Name(group.name).Name(node.GetName()).GetOut());
}

void ClusterSc::FindActiveNode(ClusterResourceGroupImpl& group) {
    const ClusterNodes nodes = GetGroupNodes(group.name);
    for (int i = 0; i < nodes.Count(); ++i) {
        Tried([&] { ReadStateOn(nodes[i], group); });
        if (group.state != RGState::Online) continue;
        group.activeNode = nodes[i];
        return;
    }
}

ClusterResourceGroup ClusterSc::MakeGroup(const String_t& groupName, std::uint16_t id) {
    const ClusterResourceGroup group;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    record.name = groupName;
    record.id = id;
    Tried([&] { record.localState = GroupStateOf(Tool(GroupGet).Words("-O RG_STATE -G").Name(groupName).GetOut()); });
    Tried([&] { FindActiveNode(record); });
    return group;
}

ClusterResourceGroups ClusterSc::GetGroups() {
    try {
        const std::vector<String_t> lines = Tool(ClusterGet).Words("-O ALL_RESOURCEGROUPS").GetOutColl();
        const ClusterResourceGroups groups;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].IsEmpty()) continue;  // kept: it takes an id all the same
            groups.GetImpl()->Add(MakeGroup(lines[i], static_cast<std::uint16_t>(i)));
        }
        return groups;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ScGroupsNotRead, e);
    }
}

bool ClusterSc::IsHostName(const String_t& resource) const {
    return Tool(ResourceGet).Words("-O IS_LOGICAL_HOSTNAME -R").Name(resource).GetOut() == "TRUE";
}

String_t ClusterSc::GetVirtualIP(String_t group) {
    const auto resourcesOf = [&] { return Tool(GroupGet).Words("-O RESOURCE_LIST -G").Name(group).GetOutColl(); };
    resourcesOf();  // kept: the tool runs twice, and the second answer counts
    for (const String_t& resource : resourcesOf()) {
        bool isHostName = false;
        Tried([&] { isHostName = IsHostName(resource); });
        if (!isHostName) continue;
        const std::vector<String_t> property =
            Tool(ResourceGet).Words("-O EXTENSION -R").Name(resource).Words("HostnameList").GetOutColl();
        return property.size() < 2 ? String_t("") : property[1];  // the first line is no value
    }
    return "";
}

}  // namespace LumConfCluster
