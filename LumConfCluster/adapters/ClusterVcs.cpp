#include "ClusterVcs.h"

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "LoggedFailure.h"
#include "ThisSystem.h"
#include "ToolText.h"
#include "Tried.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

enum Tools : std::int32_t { Haclus, Hasys, Hagrp, Hares };

constexpr StateWords<NodeState>::Row kNodeWords[]{{"UNKNOWN", NodeState::Unknown},
                                                  {"RUNNING", NodeState::Online},
                                                  {"NOT_RUNNING", NodeState::Offline},
                                                  {"EXITED", NodeState::Offline},
                                                  {"", NodeState::Offline}};
constexpr StateWords<RGState>::Row kGroupWords[]{{"|PARTIAL|", RGState::Unknown}, {"|UNKNOWN|", RGState::Unknown},
                                                 {"|ONLINE|", RGState::Online},   {"|OFFLINE|", RGState::Offline},
                                                 {"ONLINE", RGState::Online},     {"OFFLINE", RGState::Offline},
                                                 {"", RGState::Unknown}};
constexpr StateWords<ClusterState>::Row kClusterWords[]{{"UNKNOWN", ClusterState::Unknown},
                                                        {"RUNNING", ClusterState::Up},
                                                        {"NOT_RUNNING", ClusterState::Down},
                                                        {"", ClusterState::Unknown}};

/// The product may put such lines between what it tells of one group and of the next.
bool IsBetweenTables(const String_t& firstColumn) {
    return firstColumn.IsEmpty() || firstColumn == "#";
}

}  // namespace

ClusterVcs::ClusterVcs(const ClusterProduct& product) : ClusterImpl(product.type) {
    try {
        const String_t folder = VcsFolder(product);
        AddTool(Haclus, folder, "haclus");
        AddTool(Hasys, folder, "hasys");
        AddTool(Hagrp, folder, "hagrp");
        AddTool(Hares, folder, "hares");
        nodeStates = StateWords<NodeState>(kNodeWords);
        groupStates = StateWords<RGState>(kGroupWords);
        clusterStates = StateWords<ClusterState>(kClusterWords);
        localNodeName = LocalNodeName();
        name = Tool(Haclus).Words("-value ClusterName").GetOut();
        OpenGroupStates(product.stateSuffix);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::VcsNotMade, e);
    }
}

ClusterState ClusterVcs::GetState() {
    try {
        return clusterStates.Of(Tool(Hasys).Words("-state").Name(localNodeName).GetOut());
    } catch (const Exception_t& e) {
        LogAndRaise(msg::ClusterLocalStateNotRead, e);
    }
}

ClusterNode ClusterVcs::MakeNode(const String_t& line) const {
    const ClusterNode node;
    ClusterNodeImpl& record = *node.GetImpl();
    record.name = BehindColon(line);  // a system of a global cluster stands behind its cluster's name
    record.id = ClusterNodeImpl::kUnknownId;
    Tried([&] {
        record.id = NumberIn(Tool(Hasys).Words("-value").Name(record.name).Words("NodeId").GetOut(), record.id);
    });
    Tried([&] { record.state = nodeStates.Of(Tool(Hasys).Words("-state").Name(record.name).GetOut()); });
    return node;
}

ClusterNodes ClusterVcs::GetNodes() {
    try {
        const ClusterNodes nodes;
        for (const String_t& line : Tool(Hasys).Words("-list").GetOutColl()) nodes.GetImpl()->Add(MakeNode(line));
        return nodes;
    } catch (const Exception_t& e) {
        LogAndRaise(msg::VcsNodesNotRead, e);
    }
}

RGState ClusterVcs::StateOn(const String_t& group, const String_t& system) {
    return GroupStateOf(Tool(Hagrp).Words("-state").Name(group).Words("-sys").Name(system).GetOut());
}

void ClusterVcs::ReadGlobalState(ClusterResourceGroupImpl& group) {
    group.state = GroupStateOf(Tool(Hagrp).Words("-value").Name(group.name).Words("State").GetOut());
}

void ClusterVcs::ReadLocalState(ClusterResourceGroupImpl& group) {
    if (Tried([&] { group.localState = StateOn(group.name, localNodeName); })) return;
    Tried([&] { ReadGlobalState(group); });
    ReportUnknownLocalState(group.name);
}

void ClusterVcs::FindActiveNode(ClusterResourceGroupImpl& group) {
    const ClusterNodes systems = GetGroupNodes(group.name);
    for (int i = 0; i < systems.Count(); ++i) {
        const ClusterNode system = systems[i];
        // kept: each system that answers says the group's state anew, until one has it on line
        const bool answered = Tried([&] { group.state = StateOn(group.name, system.GetName()); });
        if (!answered || group.state != RGState::Online) continue;
        group.activeNode = system;
        return;
    }
}

ClusterResourceGroup ClusterVcs::MakeGroup(const String_t& groupName, std::uint16_t id) {
    const ClusterResourceGroup group;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    record.name = groupName;
    record.id = id;
    ReadLocalState(record);
    Tried([&] { FindActiveNode(record); });
    return group;
}

ClusterResourceGroups ClusterVcs::GetGroups() {
    try {
        const std::vector<String_t> lines = Tool(Hagrp).Words("-display -attribute SystemList").GetOutColl();
        const ClusterResourceGroups groups;
        for (std::size_t i = 1; i < lines.size(); ++i) {  // the first one is the heading
            const String_t group = FirstColumn(lines[i]);
            if (IsBetweenTables(group)) continue;
            groups.GetImpl()->Add(MakeGroup(group, static_cast<std::uint16_t>(groups.Count() + 1)));
        }
        return groups;
    } catch (const Exception_t& e) {
        LogAndRaise(msg::VcsGroupsNotRead, e);
    }
}

ClusterNodes ClusterVcs::GetGroupNodes(String_t group) {
    const ClusterNodes all = GetNodes();
    const ClusterNodes systems;
    try {
        const String_t list = Tool(Hagrp).Words("-value").Name(group).Words("SystemList").GetOut();
        for (const String_t& system : NamesOfPairs(list)) {
            Tried([&] {
                Tool(Hasys).Words("-value").Name(system).Words("NodeId").GetOut();  // only whether it answers counts
                systems.GetImpl()->Add(all[system]);
            });
        }
    } catch (const ClusterNoGroupException& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
    return systems;
}

String_t ClusterVcs::GetVirtualIP(String_t group) {
    const auto resourcesOf = [&] { return Tool(Hagrp).Words("-resources").Name(group).GetOutColl(); };
    resourcesOf();  // kept: the tool runs twice, and the second answer counts
    for (const String_t& resource : resourcesOf()) {
        const bool isAddress =
            Tried([&] { Tool(Hares).Words("-display").Name(resource).Words("-attribute Address -type IP").GetOut(); });
        if (isAddress) return Tool(Hares).Words("-value").Name(resource).Words("Address").GetOut();
    }
    return "";
}

}  // namespace LumConfCluster
