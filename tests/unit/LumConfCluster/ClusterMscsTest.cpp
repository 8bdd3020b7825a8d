#include "adapters/ClusterMscs.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "ClusterProducts.h"
#include "ClusterSeen.h"
#include "Configure.h"
#include "Exceptions.h"
#include "LumConfCluster/ClusterNode.h"
#include "LumConfCluster/ClusterResourceGroup.h"
#include "MscsMemory.h"
#include "Raised.h"
#include "TempRoot.h"
#include "TraceLines.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;
using Ids = std::vector<unsigned>;

const ClusterProduct& Row() {
    return kClusterProducts[static_cast<std::size_t>(ClusterType::Mscs)];
}

class Mscs : public testing::Test {
protected:
    ~Mscs() override { EXPECT_EQ(windows.Held(), 0u); }
    /// What is asked leaves nothing behind but the libraries.
    template <class Question>
    auto Ask(Question&& question) {
        ClusterMscs cluster(Row(), windows);
        EXPECT_EQ(windows.Held(), 2u);
        const auto answer = question(cluster);
        EXPECT_EQ(windows.Held(), 2u);
        return answer;
    }
    ClusterNodes Nodes() {
        return Ask([](ClusterMscs& c) { return c.GetNodes(); });
    }
    ClusterResourceGroup Group(const char* name) {
        return Ask([&](ClusterMscs& c) { return c.GetGroups()[name]; });
    }
    Texts GroupNodes(const char* name) {
        return Names(Ask([&](ClusterMscs& c) { return c.GetGroupNodes(name); }));
    }
    String_t Address(const char* name) {
        return Ask([&](ClusterMscs& c) { return c.GetVirtualIP(name); });
    }

    TempRoot root;
    MscsMemory windows;
};

TEST_F(Mscs, BindsEachOperationByItsNameInItsLibrary) {
    Ask([](ClusterMscs& c) {
        EXPECT_EQ(c.GetName(), "harbour");
        EXPECT_EQ(c.GetType(), ClusterType::Mscs);
        return 0;
    });
    ASSERT_EQ(windows.bound.size(), 23u);
    EXPECT_EQ(windows.bound.front(), "clusapi.dll:OpenCluster");
    EXPECT_EQ(windows.bound[18], "resutils.dll:ResUtilFindSzProperty");
    EXPECT_EQ(windows.bound.back(), "clusapi.dll:ClusterResourceCloseEnum");
}

TEST_F(Mscs, WithoutItsLibrariesThereIsNoCluster) {
    struct Case {
        const char *library, *function;
        unsigned id;
        const char* text;
    };
    for (const Case& row :
         {Case{"clusapi.dll", "", 293,
               "Can not instantiate MSCS cluster object. Can not load clusapi.dll. Windows error '5'."},
          Case{"resutils.dll", "", 305,
               "Can not instantiate MSCS cluster object. 'ResUtilFindSzProperty' not found in resutils.dll. Windows "
               "error '5'."},
          Case{
              "", "ClusterEnum", 304,
              "Can not instantiate MSCS cluster object. 'ClusterEnum' not found in clusapi.dll. Windows error '5'."}}) {
        windows.missingLibrary = row.library;
        windows.missingFunction = row.function;
        const auto messages = MessagesOf<ClusterException>([&] { ClusterMscs(Row(), windows); });
        EXPECT_EQ(Numbers(messages), Ids{row.id});
        EXPECT_EQ(String_t(messages), row.text);
        EXPECT_EQ(windows.Held(), 0u);
    }
}

TEST_F(Mscs, LoadingTwiceIsRefused) {
    MscsLibraries libraries(windows);
    libraries.Load();
    EXPECT_RAISES(libraries.Load(), ClusterException, 292);
    windows.FreeLibrary(libraries.clusapi);
    libraries.clusapi = nullptr;
    EXPECT_RAISES(libraries.Load(), ClusterException, 295);
}

TEST_F(Mscs, AStoppedServiceIsDownAndNoClusterCanBeMade) {
    ClusterMscs cluster(Row(), windows);
    EXPECT_EQ(cluster.GetState(), ClusterState::Up);
    windows.isRunning = false;
    EXPECT_EQ(cluster.GetState(), ClusterState::Down);
    EXPECT_RAISES(cluster.GetNodes(), ClusterException, 300);
    EXPECT_RAISES(ClusterMscs(Row(), windows), ClusterException, 300);
    EXPECT_EQ(windows.Held(), 2u) << "the libraries of the first one";
}

TEST_F(Mscs, LengthsMayCountTheNulAndMayBeHadWithoutAnError) {
    for (const bool countsNul : {false, true}) {
        for (const bool nullSucceeds : {false, true}) {
            windows.countsNul = countsNul;
            windows.nullSucceeds = nullSucceeds;
            EXPECT_EQ(Names(Nodes()), (Texts{"north", "south", "east"}));
            EXPECT_EQ(Group("Web").GetActiveNode().GetName(), "south");
            EXPECT_EQ(Ask([](ClusterMscs& c) { return c.GetName(); }), "harbour");
        }
    }
}

TEST_F(Mscs, NodesHaveTheirNamesInLowerCase) {
    windows.nodes.push_back({u"\u00C4st", u"x", -1});
    windows.nodes.push_back({u"paused", u"70000", 2});
    const ClusterNodes nodes = Nodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east", "\u00E4st", "paused"}));
    const NodeState states[] = {NodeState::Online, NodeState::Online, NodeState::Offline, NodeState::Unknown,
                                NodeState::Offline};
    const int ids[] = {1, 2, 3, 65535, 65535};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(nodes[i].GetState(), states[i]) << i;
        EXPECT_EQ(nodes[i].GetId(), ids[i]) << i;
    }
}

TEST_F(Mscs, GroupsKeepTheirNamesAndAreNumberedFromNought) {
    const ClusterResourceGroups groups = Ask([](ClusterMscs& c) { return c.GetGroups(); });
    EXPECT_EQ(Names(groups), (Texts{"Web", "db"}));
    EXPECT_EQ(groups[0].GetId(), 0);
    EXPECT_EQ(groups[1].GetId(), 1);
    EXPECT_EQ(groups[0].GetState(), RGState::Online);
    EXPECT_EQ(groups[0].GetLocalState(), RGState::Offline);
    EXPECT_EQ(groups[0].GetActiveNode().GetName(), "south");
    EXPECT_EQ(groups[1].GetActiveNode().GetName(), "");
}

TEST_F(Mscs, EachStateOfAGroupWithAndWithoutAConfiguredWord) {
    struct Case {
        std::int32_t number;
        RGState state;
        const char* word;
    };
    const std::vector<Case> rows{
        {0, RGState::Online, "ClusterGroupOnline"},        {1, RGState::Offline, "ClusterGroupOffline"},
        {2, RGState::Offline, "ClusterGroupFailed"},       {3, RGState::Offline, "ClusterGroupPartialOnline"},
        {4, RGState::Offline, "ClusterGroupStateUnknown"}, {-1, RGState::Unknown, "ClusterGroupStateUnknown"}};
    for (const Case& row : rows) {
        windows.groups[0].state = row.number;
        EXPECT_EQ(Group("Web").GetState(), row.state) << row.number;
    }
    for (const Case& row : rows) {
        const TempRoot other;
        Configure("conf.cluster.RGState.MSCS", row.word, "ONLINE");
        for (const Case& state : rows) {
            windows.groups[0].state = state.number;
            const bool isMapped = std::string(row.word) == state.word;
            EXPECT_EQ(Group("Web").GetState(), isMapped ? RGState::Online : RGState::Offline)
                << row.word << state.number;
            EXPECT_EQ(Group("Web").GetActiveNode().GetName(), isMapped ? "south" : "") << row.word << state.number;
        }
    }
}

TEST_F(Mscs, TheLocalNameIsComparedExactly) {
    windows.computerName = "South";
    EXPECT_EQ(Group("Web").GetLocalState(), RGState::Online);
    windows.computerName = "SOUTH";
    EXPECT_EQ(Group("Web").GetLocalState(), RGState::Offline);
    windows.computerName = "a name of sixteen and more";
    EXPECT_EQ(Group("Web").GetLocalState(), RGState::Offline);
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "South");
    EXPECT_EQ(Group("Web").GetLocalState(), RGState::Online);
}

TEST_F(Mscs, AGroupRunsWhereAllOfItsResourcesMay) {
    EXPECT_EQ(GroupNodes("Web"), (Texts{"north", "south"}));
    EXPECT_EQ(GroupNodes("db"), (Texts{"north", "south", "east"})) << "it has no resource";
    windows.groups[0].resources[1].nodes = {u"east", u"South"};
    EXPECT_EQ(GroupNodes("Web"), Texts{"south"});
    windows.groups[0].resources[0].nodes = {};
    EXPECT_EQ(GroupNodes("Web"), Texts{});
    EXPECT_EQ(Group("Web").GetActiveNode().GetName(), "") << "its owner is none of them";
    EXPECT_EQ(Group("Web").GetState(), RGState::Online);
}

TEST_F(Mscs, TheLastAddressResourceCounts) {
    EXPECT_EQ(Address("Web"), "10.0.0.7");
    EXPECT_EQ(Address("db"), "");
    EXPECT_TRUE(Address("db").IsNotNull());
    windows.groups[0].resources.push_back({u"second", u"IP Address", u"10.0.0.8", {}});
    windows.groups[0].resources.push_back({u"name", u"Network Name", u"10.0.0.9", {}});
    EXPECT_EQ(Address("Web"), "10.0.0.8");
}

TEST_F(Mscs, WhatIsNotThereIsTold) {
    ClusterMscs cluster(Row(), windows);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("none"); });
    EXPECT_EQ(String_t(messages), "Can not get cluster group handle for group 'none'. Windows error '5'.");
    EXPECT_EQ(Numbers(messages), Ids{289});
    EXPECT_RAISES(cluster.GetVirtualIP("none"), ClusterException, 282);
    windows.groups[0].resources[0].canBeOpened = false;
    const TraceLines traced;
    EXPECT_RAISES(cluster.GetVirtualIP("Web"), ClusterException, 284);
    EXPECT_RAISES(cluster.GetGroupNodes("Web"), ClusterException, 284);
    EXPECT_RAISES(cluster.GetGroups(), ClusterException, 284);
    EXPECT_TRUE(traced.Contains("Can not enumerate resources. Windows error '5'."));
    windows.groups[0].resources[0].canBeOpened = true;
    windows.groups[0].resources[0].nodes.push_back(u"west");
    EXPECT_RAISES(cluster.GetGroupNodes("Web"), ClusterException, 306);
    EXPECT_EQ(windows.Held(), 2u);
}

/// The numbers that are told when the n-th call fails, for each n until none fails any more.
std::set<Ids> Failures(MscsMemory& windows, const std::function<void(ClusterMscs&)>& question) {
    std::set<Ids> told;
    for (int number = 1;; ++number) {
        windows.calls = 0;
        windows.failAt = number;
        try {
            ClusterMscs cluster(Row(), windows);
            question(cluster);
        } catch (const ClusterException& e) {
            told.insert(Numbers(e.GetMessageList()));
        }
        EXPECT_EQ(windows.Held(), 0u) << "call " << number;
        if (windows.calls < number) break;
    }
    windows.failAt = 0;
    return told;
}

TEST_F(Mscs, WhicheverCallFailsEverythingIsGivenBackAndTold) {
    const std::set<Ids> made = Failures(windows, [](ClusterMscs&) {});
    EXPECT_EQ(made, (std::set<Ids>{{274}, {275}, {293}, {300}, {302}, {304}, {305}}));
    const auto more = [&](const std::function<void(ClusterMscs&)>& question) {
        std::set<Ids> told;
        for (const Ids& ids : Failures(windows, question)) {
            if (!made.count(ids)) told.insert(ids);
        }
        return told;
    };
    EXPECT_EQ(more([](ClusterMscs& c) { c.GetState(); }), (std::set<Ids>{}));
    const std::set<Ids> nodes{{279}, {306}, {307}, {308, 277}, {308, 278}, {309, 277}, {309, 278}};
    EXPECT_EQ(more([](ClusterMscs& c) { c.GetNodes(); }), nodes);
    std::set<Ids> groupNodes = nodes;
    groupNodes.insert({{289}, {284}, {291}, {308, 283}, {309, 283}, {308, 290}, {309, 290}});
    EXPECT_EQ(more([](ClusterMscs& c) { c.GetGroupNodes("Web"); }), groupNodes);
    std::set<Ids> groups = groupNodes;
    groups.insert({{280}, {282}, {308, 281}, {309, 281}});
    EXPECT_EQ(more([](ClusterMscs& c) { c.GetGroups(); }), groups);
    EXPECT_EQ(more([](ClusterMscs& c) { c.GetVirtualIP("Web"); }),
              (std::set<Ids>{{282}, {284}, {285}, {286}, {287}, {288}, {308, 283}, {309, 283}}));
}

TEST_F(Mscs, AGroupWhoseStateCannotBeHadIsUnknown) {
    windows.groups[0].state = -1;
    EXPECT_EQ(Group("Web").GetState(), RGState::Unknown);
    EXPECT_EQ(Group("Web").GetActiveNode().GetName(), "");
}

TEST_F(Mscs, IsAskedOnWindowsAlone) {
    const auto messages = MessagesOf<ClusterException>([] { Row().make(Row()); });
    EXPECT_EQ(String_t(messages),
              "Clusters of the product 'Microsoft Cluster Server (MSCS)' can be asked on Windows alone.");
}

}  // namespace
