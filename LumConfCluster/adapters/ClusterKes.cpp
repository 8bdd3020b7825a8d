#include "ClusterKes.h"

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "KesOutput.h"
#include "Messages.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

enum Tools : std::int32_t { GetInfo, Stat };

constexpr StateWords<NodeState>::Row kNodeWords[]{{"UP", NodeState::Online}, {"DOWN", NodeState::Offline}};
constexpr StateWords<RGState>::Row kGroupWords[]{{"ONLINE", RGState::Online}};

}  // namespace

ClusterKes::ClusterKes(const ClusterProduct& product) : ClusterImpl(product.type) {
    try {
        AddTool(GetInfo, "/usr/sbin", "kes_get_info");
        AddTool(Stat, "/usr/bin", "kes_stat");
        nodeStates = StateWords<NodeState>(kNodeWords);
        groupStates = StateWords<RGState>(kGroupWords, RGState::Offline);
        name = KesClusterName(Tool(GetInfo).Words("-raw").GetOut());
        localNodeName = LocalNodeName("/sbin/hostname -s");
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::KesNotMade, e);
    }
}

ClusterState ClusterKes::GetState() {
    return ClusterState::Up;
}

ClusterNodes ClusterKes::GetNodes() {
    try {
        const ClusterNodes nodes;
        for (const KesMember& member : KesMembers(Tool(GetInfo).Words("-raw").GetOutColl())) {
            LUMCONF_TRACE(trace::Cluster, Make(msg::KesNodeAsked, member.name));
            nodes.GetImpl()->Add(NodeOf(member.name, member.id, nodeStates.Of(member.word)));
        }
        return nodes;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ClusterNodesNotRead, e);
    }
}

ClusterResourceGroup ClusterKes::MakeGroup(const KesResource& resource, std::uint16_t id, NodesByName& nodes) const {
    const ClusterResourceGroup group;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    record.name = resource.name;
    record.id = id;
    record.state = groupStates.Of(resource.word);
    record.localState = resource.host == localNodeName ? record.state : RGState::Offline;
    record.activeNode = nodes.Find(resource.host);
    return group;
}

ClusterResourceGroups ClusterKes::GetGroups() {
    try {
        const ClusterNodes all = GetNodes();
        NodesByName nodes([&] { return all; });
        const ClusterResourceGroups groups;
        for (const KesResource& resource : KesApplications(Tool(Stat).Words("-t").GetOutColl()))
            groups.GetImpl()->Add(MakeGroup(resource, static_cast<std::uint16_t>(groups.Count()), nodes));
        return groups;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ClusterGroupsNotRead, e);
    }
}

ClusterNodes ClusterKes::GetGroupNodes(String_t group) {
    LUMCONF_TRACE(trace::Cluster, Make(msg::KesGroupNodesAsked, group));
    try {
        const ClusterNodes all = GetNodes();
        const ToolLines profile = Tool(Stat).Words("-p").Name(group).GetOutColl();
        if (!KesIsRestricted(profile)) return all;
        NodesByName nodes([&] { return all; });
        const ClusterNodes members;
        for (const String_t& member : KesHostingMembers(profile)) members.GetImpl()->Add(nodes[member]);
        return members;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::KesGroupNodesNotRead, e);
    }
}

String_t ClusterKes::GetVirtualIP(String_t) {
    return "";
}

}  // namespace LumConfCluster
