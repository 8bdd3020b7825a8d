#include "ClusterPlsd.h"

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "LimitedStream.h"
#include "LoggedFailure.h"
#include "LumPalPlainFile.h"
#include "PlsdOutput.h"
#include "Tried.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;

namespace {

enum Tools : std::int32_t { Plsview, Plsconf };

constexpr StateWords<NodeState>::Row kNodeWords[]{{"up", NodeState::Online},       {"down", NodeState::Offline},
                                                  {"unknown", NodeState::Unknown}, {"starting", NodeState::Unknown},
                                                  {"halting", NodeState::Unknown}, {"", NodeState::Unknown}};
constexpr StateWords<RGState>::Row kGroupWords[]{{"up", RGState::Online},       {"down", RGState::Offline},
                                                 {"unknown", RGState::Unknown}, {"starting", RGState::Unknown},
                                                 {"halting", RGState::Unknown}, {"", RGState::Unknown}};
constexpr StateWords<ClusterState>::Row kClusterWords[]{
    {"up", ClusterState::Up},           {"down", ClusterState::Down},
    {"unknown", ClusterState::Unknown}, {"starting", ClusterState::Unknown},
    {"halting", ClusterState::Unknown}, {"", ClusterState::Unknown}};

constexpr std::size_t kMostOfScript = std::size_t{4} << 20;

String_t AddressIn(const String_t& script) {
    try {
        return PlsdAddressIn(LimitedStream::Over(LumPalIo::OpenPlainFile(script), kMostOfScript));
    } catch (const TooMuch&) {
        Raise<RuntimeException_t>(msg::ScriptTooLarge, LumPalStr::NumToStr(kMostOfScript), script);
    }
}

}  // namespace

ClusterPlsd::ClusterPlsd(const ClusterProduct& product) : ClusterImpl(product.type) {
    try {
        AddTool(Plsview, "/usr/sbin", "plsview");
        AddTool(Plsconf, "/usr/sbin", "plsconf");
        nodeStates = StateWords<NodeState>(kNodeWords);
        groupStates = StateWords<RGState>(kGroupWords);
        clusterStates = StateWords<ClusterState>(kClusterWords);
        localNodeName = LocalNodeName("/bin/hostname");
        name = PlsdOnlyRow(Tool(Plsview).Words("-l cluster").GetOutColl()).name;
        OpenGroupStates(product.stateSuffix);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::PlsdNotMade, e);
    }
}

ClusterState ClusterPlsd::GetState() {
    try {
        return clusterStates.Of(PlsdOnlyRow(Tool(Plsview).Words("-l node -n").Name(localNodeName).GetOutColl()).word);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::ClusterLocalStateNotRead, e);
    }
}

ClusterNodes ClusterPlsd::GetNodes() {
    try {
        const ClusterNodes nodes;
        for (const PlsdRow& row : PlsdNodeRows(Tool(Plsview).Words("-l node").GetOutColl())) {
            const auto id = static_cast<std::uint16_t>(nodes.Count());
            nodes.GetImpl()->Add(NodeOf(row.name, id, nodeStates.Of(row.word)));
        }
        return nodes;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::PlsdNodesNotRead, e);
    }
}

void ClusterPlsd::SetOwner(ClusterResourceGroupImpl& group, const ClusterNodes& nodes,
                           const PlsdPackage& package) const {
    group.localState = package.isOwned && package.node == localNodeName ? RGState::Online : RGState::Offline;
    if (package.isOwned) Tried([&] { group.activeNode = nodes[package.node]; });
}

void ClusterPlsd::FindHere(ClusterResourceGroupImpl& group, const ClusterNodes& nodes) const {
    if (!PlsdRunsOn(Tool(Plsview).Words("-v").GetOutColl(), group.name, localNodeName)) return;
    group.localState = RGState::Online;
    Tried([&] { group.activeNode = nodes[localNodeName]; });
}

ClusterResourceGroup ClusterPlsd::MakeGroup(const PlsdPackage& package, std::uint16_t id) {
    const ClusterResourceGroup group;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    record.name = package.name;
    record.id = id;
    record.state = GroupStateOf(package.word);
    const ClusterNodes nodes = GetNodes();
    if (package.isMultiNode) {
        FindHere(record, nodes);
    } else {
        SetOwner(record, nodes, package);
    }
    return group;
}

ClusterResourceGroups ClusterPlsd::GetGroups() {
    try {
        const ClusterResourceGroups groups;
        for (const PlsdPackage& package : PlsdPackages(Tool(Plsview).Words("-l package").GetOutColl()))
            groups.GetImpl()->Add(MakeGroup(package, static_cast<std::uint16_t>(groups.Count())));
        return groups;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::PlsdGroupsNotRead, e);
    }
}

ClusterNodes ClusterPlsd::GetGroupNodes(String_t group) {
    const ClusterNodes members;
    try {
        const ClusterNodes all = GetNodes();
        for (const String_t& node : PlsdConfiguredNodes(Tool(Plsconf).Words("-p").Name(group).GetOutColl())) {
            if (node == "*") return all;
            members.GetImpl()->Add(all[node]);
        }
    } catch (const ClusterNoGroupException& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    } catch (const Exception_t& e) {
        LogAndRaise(msg::PlsdGroupNodesNotRead, group, e);
    }
    return members;
}

String_t ClusterPlsd::GetVirtualIP(String_t group) {
    const String_t script = PlsdScript(Tool(Plsconf).Words("-p").Name(group).GetOutColl());
    String_t address = "";
    if (script.IsNotEmpty()) Tried([&] { address = AddressIn(script); });
    return address;
}

}  // namespace LumConfCluster
