#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Configure.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumConfCluster/ClusterUtil.h"
#include "LumPalNet.h"
#include "PolicyHeader.h"
#include "PolicyHeaderImpl.h"
#include "Raised.h"
#include "VcsNode.h"

namespace {

using LumConf::PolicyHeader;
using LumConfCluster::ClusterBase;
using LumConfCluster::ClusterUtil;
using LumPalStr::String_t;

/// A node whose group "here" is on line here, and whose group "away" is on line elsewhere; "db" is on line nowhere. A
/// monitor runs.
class GroupStatus : public testing::Test {
protected:
    GroupStatus() {
        node.tools.Answer("hagrp -display -attribute SystemList", "#Group\nhere SystemList\naway SystemList\ndb S\n");
        for (const std::string group : {"here", "away"}) {
            node.tools.Answer("hagrp -value " + group + " SystemList", "north 0 south 1\n");
            node.SetState(group, "north", group == "here" ? "|ONLINE|" : "|OFFLINE|");
            node.SetState(group, "south", group == "away" ? "|ONLINE|" : "|OFFLINE|");
        }
        ClusterBase::SetClusterEnvDetected(true);
    }
    ~GroupStatus() override { ClusterBase::SetClusterEnvDetected(false); }

    static PolicyHeader Header(const std::vector<std::string>& attributes, const char* status = "enabled") {
        PolicyHeader header;
        for (const std::string& name : attributes) header.SetAttribute(String_t::FromUtf8(name), "value");
        header.GetImpl()->SetStatus(status);
        return header;
    }
    /// The status after the rule.
    std::string StatusOf(const std::vector<std::string>& attributes, const char* status = "enabled") {
        const PolicyHeader header = Header(attributes, status);
        ClusterUtil::ChangeHeader(header.GetImpl());
        EXPECT_EQ(header.GetAttributesCount(), static_cast<int>(attributes.size()));
        return header.GetStatus().ToUtf8();
    }

    VcsNode node;
};

/// The rule, once more and in other words: the first attribute that matches ends it; every attribute that does not,
/// from the first one with a group on, disables.
std::string Expected(const std::vector<std::string>& attributes) {
    bool hasGroup = false, disabled = false;
    for (const std::string& name : attributes) {
        if (name == "HARG:here" || name == "HARG:noHARG") break;
        hasGroup = hasGroup || name.starts_with("HARG:");
        disabled = disabled || hasGroup;
    }
    return disabled ? "disabled" : "enabled";
}

TEST_F(GroupStatus, EachAttributeAloneHasItsEffect) {
    EXPECT_EQ(StatusOf({}), "enabled");
    EXPECT_EQ(StatusOf({"other"}), "enabled");
    EXPECT_EQ(StatusOf({"HARG:here"}), "enabled");
    EXPECT_EQ(StatusOf({"HARG:HERE"}), "enabled") << "groups are found in any case";
    EXPECT_EQ(StatusOf({"HARG:away"}), "disabled");
    EXPECT_EQ(StatusOf({"HARG:db"}), "disabled");
    EXPECT_EQ(StatusOf({"HARG:nothing"}), "disabled") << "a group that the cluster does not have";
    EXPECT_EQ(StatusOf({"HARG:"}), "disabled");
    EXPECT_EQ(StatusOf({"HARG:noHARG"}), "enabled");
    EXPECT_EQ(StatusOf({"HARG:noharg"}), "disabled") << "the word's case counts";
    EXPECT_EQ(StatusOf({"harg:away"}), "enabled") << "the prefix's case counts";
    EXPECT_EQ(StatusOf({"HARGaway"}), "enabled");
    EXPECT_EQ(StatusOf({"HARG"}), "enabled");
}

TEST_F(GroupStatus, NothingEnables) {
    for (const char* status : {"disabled", "any text", ""}) {
        EXPECT_EQ(StatusOf({"HARG:here"}, status), status);
        EXPECT_EQ(StatusOf({"HARG:noHARG"}, status), status);
        EXPECT_EQ(StatusOf({"other"}, status), status);
        EXPECT_EQ(StatusOf({"HARG:away"}, status), "disabled");
    }
}

TEST_F(GroupStatus, TheOrderOfTheAttributesCounts) {
    EXPECT_EQ(StatusOf({"HARG:db", "HARG:noHARG"}), "disabled");
    EXPECT_EQ(StatusOf({"HARG:noHARG", "HARG:db"}), "enabled");
    EXPECT_EQ(StatusOf({"HARG:away", "HARG:here"}), "disabled");
    EXPECT_EQ(StatusOf({"HARG:here", "HARG:away"}), "enabled");
    EXPECT_EQ(StatusOf({"other", "HARG:here"}), "enabled");
    EXPECT_EQ(StatusOf({"HARG:nothing", "other"}), "disabled");
}

TEST_F(GroupStatus, AllOrdersOfAllKindsOfAttributesFollowTheRule) {
    node.tools.Answer("hagrp -display -attribute SystemList", "#Group\nhere SystemList\naway SystemList\n");
    node.tools.Answer("hasys -list", "north\nsouth\n");
    std::vector<std::string> names{"HARG:away", "HARG:here", "HARG:noHARG", "other"};
    do {
        EXPECT_EQ(StatusOf(names), Expected(names)) << testing::PrintToString(names);
        std::vector<std::string> others = names;
        std::replace(others.begin(), others.end(), std::string("HARG:away"), std::string("HARG:nothing"));
        EXPECT_EQ(StatusOf(others), Expected(others)) << testing::PrintToString(others);
    } while (std::next_permutation(names.begin(), names.end()));
}

TEST_F(GroupStatus, WithoutAMonitorNothingIsAskedAndNothingChanges) {
    ClusterBase::SetClusterEnvDetected(false);
    EXPECT_EQ(StatusOf({"HARG:away"}), "enabled");
    EXPECT_TRUE(node.tools.Calls().empty());
}

TEST_F(GroupStatus, NoToolRunsForAPolicyOfNoGroup) {
    StatusOf({"other", "another"});
    EXPECT_TRUE(node.tools.Calls().empty());
}

TEST_F(GroupStatus, AClusterThatCannotBeAskedLeavesTheHeaderAsItIs) {
    node.tools.FailAt(1);
    EXPECT_EQ(StatusOf({"HARG:away"}), "enabled");
    node.tools.FailAt(2);
    EXPECT_EQ(StatusOf({"HARG:away"}), "enabled") << "the list of groups";
    node.tools.FailAt(1);
    EXPECT_EQ(StatusOf({"HARG:noHARG", "HARG:away"}), "enabled");
}

TEST_F(GroupStatus, WhatWasDecidedBeforeTheClusterFailedStays) {
    StatusOf({"HARG:away"});
    const std::size_t calls = node.tools.Calls().size();
    node.tools.ForgetCalls();
    node.tools.FailAt(calls + 1);
    EXPECT_EQ(StatusOf({"HARG:away", "HARG:here"}), "disabled");
}

TEST_F(GroupStatus, TheConfiguredNameOfThisNodeIsComparedExactly) {
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "NORTH");
    node.SetState("here", "NORTH", "|ONLINE|");
    EXPECT_EQ(StatusOf({"HARG:here"}), "disabled");
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "south");
    EXPECT_EQ(StatusOf({"HARG:away"}), "enabled");
}

/// Lets the system's own name count, of which the cluster has a node.
class GroupStatusByHostName : public GroupStatus {
protected:
    GroupStatusByHostName() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
        char name[256] = "";
        gethostname(name, sizeof name - 1);
        host = name;
        node.tools.Answer("hasys -list", host + "\n127.0.0.1\n" + noHost + "\n");
        for (const std::string& system : {host, std::string("127.0.0.1"), noHost}) {
            node.AddSystem(system, "1");
            node.SetState("here", system, "|OFFLINE|");
        }
        node.tools.Answer("hagrp -value here SystemList", host + " 0 127.0.0.1 1 " + noHost + " 2\n");
    }
    std::string host;
    const std::string noHost = std::string(70, 'x');  ///< longer than names can be: no name service is asked
};

TEST_F(GroupStatusByHostName, AGroupThatIsOnlineOnThisHostMatches) {
    node.SetState("here", host, "|ONLINE|");
    EXPECT_EQ(StatusOf({"HARG:here"}), "enabled");
}

TEST_F(GroupStatusByHostName, AnotherNameDoesNotMatch) {
    node.SetState("here", "127.0.0.1", "|ONLINE|");
    EXPECT_EQ(StatusOf({"HARG:here"}), "disabled");
}

TEST_F(GroupStatusByHostName, ANameThatCannotBeResolvedIsNoFailureOfTheCluster) {
    node.SetState("here", noHost, "|ONLINE|");
    const PolicyHeader header = Header({"HARG:here"});
    EXPECT_THROW(ClusterUtil::ChangeHeader(header.GetImpl()), LumPalNet::ConnectException_t);
    EXPECT_TRUE(header.IsEnabled());
}

}  // namespace
