#include "ClusterHacmp.h"

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "HacmpOutput.h"
#include "LoggedFailure.h"
#include "LumPalIo.h"
#include "NodesByName.h"
#include "Tried.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

enum Tools : std::int32_t { Clstat, ClRGinfo, Clgetip };

constexpr const char* kFolder = "/usr/es/sbin/cluster";
constexpr const char* kUtilities = "/usr/es/sbin/cluster/utilities";

constexpr StateWords<NodeState>::Row kNodeWords[]{
    {"UP", NodeState::Online}, {"DOWN", NodeState::Offline}, {"", NodeState::Unknown}};
constexpr StateWords<RGState>::Row kGroupWords[]{{"ONLINE", RGState::Online},     {"OFFLINE", RGState::Offline},
                                                 {"ACQUIRING", RGState::Offline}, {"RELEASING", RGState::Offline},
                                                 {"ERROR", RGState::Unknown},     {"UNKNOWN", RGState::Unknown},
                                                 {"", RGState::Unknown}};
constexpr StateWords<ClusterState>::Row kClusterWords[]{{"UP", ClusterState::Up},
                                                        {"DOWN", ClusterState::Down},
                                                        {"unknown", ClusterState::Unknown},
                                                        {"", ClusterState::Unknown}};

void ExpectClstat() {
    if (!LumPalIo::File_t(String_t(kFolder), "clstat").Exists()) Raise<ClusterException>(msg::HacmpToolNotThere);
}

ClusterResourceGroup NewGroup(const String_t& name, int id) {
    const ClusterResourceGroup group;
    group.GetImpl()->name = name;
    group.GetImpl()->id = static_cast<std::uint16_t>(id);
    return group;
}

}  // namespace

ClusterHacmp::ClusterHacmp(const ClusterProduct& product) : ClusterImpl(product.type) {
    try {
        AddTool(Clstat, kFolder, "clstat");
        AddTool(ClRGinfo, kUtilities, "clRGinfo");
        AddTool(Clgetip, kUtilities, "clgetip");
        nodeStates = StateWords<NodeState>(kNodeWords);
        groupStates = StateWords<RGState>(kGroupWords);
        clusterStates = StateWords<ClusterState>(kClusterWords);
        localNodeName = LocalNodeName();
        ExpectClstat();
        name = HacmpClusterName(Tool(Clstat).Words("-o").GetOutColl());
        OpenGroupStates(product.stateSuffix);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::HacmpNotMade, e);
    }
}

ClusterState ClusterHacmp::GetState() {
    try {
        return clusterStates.Of(HacmpStateWord(Tool(Clstat).Words("-o").GetOutColl()));
    } catch (const Exception_t& e) {
        LogAndRaise(msg::ClusterLocalStateNotRead, e);
    }
}

ClusterNodes ClusterHacmp::GetNodes() {
    try {
        const ClusterNodes nodes;
        for (const auto& [node, word] : HacmpNodes(Tool(Clstat).Words("-o").GetOutColl()))
            nodes.GetImpl()->Add(NodeOf(node, static_cast<std::uint16_t>(nodes.Count()), nodeStates.Of(word)));
        return nodes;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::HacmpNodesNotRead, e);
    }
}

void ClusterHacmp::TakeOver(const HacmpGroupLine& line, bool isFirst, ClusterResourceGroupImpl& group,
                            NodesByName& nodes) {
    const RGState state = GroupStateOf(line.word);
    if (isFirst || (group.state != RGState::Online && state != RGState::Unknown)) group.state = state;
    if (state == RGState::Online) group.activeNode = nodes[line.node];  // kept: the last one on which it is online
    if (line.node == localNodeName) group.localState = state;
}

ClusterResourceGroups ClusterHacmp::GetGroups() {
    try {
        const std::vector<String_t> lines = Tool(ClRGinfo).Words("-s").GetOutColl();
        NodesByName nodes([this] { return GetNodes(); });
        const ClusterResourceGroups groups;
        ClusterResourceGroup current;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const HacmpGroupLine line = ReadHacmpGroupLine(lines[i]);
            const bool isFirst = i == 0 || line.group != current.GetName();
            if (isFirst && i > 0) groups.GetImpl()->Add(current);
            if (isFirst) current = NewGroup(line.group, groups.Count());
            TakeOver(line, isFirst, *current.GetImpl(), nodes);
        }
        groups.GetImpl()->Add(current);  // kept: no line at all makes a group without a name
        return groups;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::HacmpGroupsNotRead, e);
    }
}

ClusterNodes ClusterHacmp::GetGroupNodes(String_t group) {
    try {
        const ClusterNodes all = GetNodes();
        NodesByName byName([&] { return all; });
        const ClusterNodes nodes;
        for (const String_t& text : Tool(ClRGinfo).Words("-s").GetOutColl()) {
            const HacmpGroupLine line = ReadHacmpGroupLine(text);
            if (line.group == group) nodes.GetImpl()->Add(byName[line.node]);
        }
        return nodes;
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::HacmpGroupNodesNotRead, group, e);
    }
}

String_t ClusterHacmp::GetVirtualIP(String_t group) {
    String_t address("");
    Tried([&] { address = Tool(Clgetip).Name(group).GetOut(); });
    return address;
}

}  // namespace LumConfCluster
