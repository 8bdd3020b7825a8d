// Policies follow the resource groups that they name.
#include "LumPalNet.h"
#include "MonitoredNode.h"

namespace {

using Attributes = std::vector<std::string>;

class MonitorGroups : public MonitoredNode {
protected:
    /// The status after one cycle.
    std::string After(const Attributes& attributes, const std::string& status) {
        Install("p", attributes, status);
        // An install asks the cluster too, and may have changed the status: a change from outside brings it back.
        node.Get("p").GetImpl()->SetStatus(LumPalStr::String_t::FromUtf8(status));
        Begin();
        Step();
        return StatusOf("p");
    }
    std::string Both(const Attributes& attributes) {
        return After(attributes, "enabled") + " " + After(attributes, "disabled");
    }
};

TEST_F(MonitorGroups, EachAttributeHasItsEffect) {
    Move("web", "north");
    const std::string on = "enabled enabled", off = "disabled disabled", untouched = "enabled disabled";
    struct Row {
        Attributes attributes;
        std::string expected;
    };
    const Row rows[] = {
        {{}, untouched},
        {{"other"}, untouched},
        {{"harg:web"}, untouched},
        {{"HARGweb"}, untouched},
        {{"xHARG:web"}, untouched},
        {{"HARG:web"}, on},
        {{"HARG:WEB"}, on},
        {{"HARG:db"}, off},
        {{"HARG:nothing"}, off},
        {{"HARG:"}, off},
        {{"HARG:noHARG"}, on},
        {{"HARG:noharg"}, off},
        {{"HARG:db", "HARG:noHARG"}, on},
        {{"HARG:noHARG", "HARG:db"}, on},
        {{"HARG:nothing", "HARG:web"}, on},
        {{"HARG:db", "other", "HARG:nothing"}, off},
        {{"other", "HARG:web"}, on},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Both(row.attributes), row.expected) << (row.attributes.empty() ? "none" : row.attributes[0]);
    }
}

TEST_F(MonitorGroups, APolicyMovesWithItsGroup) {
    Install("p", {"HARG:web"});
    Install("q", {"HARG:db"});
    Begin();
    for (const char* system : {"north", "south", "", "north", "east", "north"}) {
        Move("web", system);
        Step();
        const bool here = std::string(system) == "north";
        EXPECT_EQ(StatusOf("p"), here ? "enabled" : "disabled");
        EXPECT_EQ(StoredStatusOf("p"), here ? "enabled" : "disabled");
        EXPECT_EQ(StatusOf("q"), "disabled");
    }
}

TEST_F(MonitorGroups, AGroupThatIsNotQuiteOnlineHereIsNotOnline) {
    for (const char* word : {"|PARTIAL|", "|OFFLINE|FAULTED|", "|STARTING|ONLINE|", "", "ONLINE|"}) {
        Move("web", "");
        cluster.SetState("web", "north", word);
        EXPECT_EQ(Both({"HARG:web"}), "disabled disabled") << word;
    }
}

TEST_F(MonitorGroups, TheConfiguredNameIsComparedExactly) {
    Move("web", "north");
    for (const char* name : {"NORTH", "north.example.com", "127.0.0.1"}) {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", name);
        EXPECT_EQ(Both({"HARG:web"}), "disabled disabled") << name;
    }
}

TEST_F(MonitorGroups, WithoutAConfiguredNameThatOfTheSystemCounts) {
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    const std::string local = LumPalNet::InetAddress_t::GetLocalHost().GetHostName().ToUtf8();
    cluster.tools.Answer("hasys -list", local + "\nsouth\neast\n");
    cluster.AddSystem(local, "10");
    cluster.tools.Answer("hagrp -value web SystemList", local + " 0\tsouth 1\n");
    cluster.SetState("web", "south", "|OFFLINE|");
    cluster.SetState("web", local, "|ONLINE|");
    EXPECT_EQ(Both({"HARG:web"}), "enabled enabled");
}

TEST_F(MonitorGroups, ANodeWhoseNameCannotBeResolvedIsNotThisOneAndTheWalkGoesOn) {
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    cluster.tools.Answer("hagrp -value web SystemList", "no.such.name.invalid 0\n");
    cluster.SetState("web", "no.such.name.invalid", "|ONLINE|");
    EXPECT_EQ(Both({"HARG:web"}), "disabled disabled");
    EXPECT_EQ(Both({"HARG:web", "HARG:noHARG"}), "enabled enabled");
    EXPECT_TRUE(running);
}

TEST_F(MonitorGroups, WithoutPoliciesACycleIsQuiet) {
    Begin();
    Step();
    EXPECT_TRUE(running);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(MonitorGroups, AStatusThatIsNoneIsLeftAlone) {
    Install("p", {"HARG:web"});
    Install("q", {"HARG:db"});
    for (const char* id : {"p", "q"}) node.Get(id).GetImpl()->SetStatus("other");
    Move("web", "north");
    Begin();
    Step();
    EXPECT_EQ(StatusOf("p"), "other");
    EXPECT_EQ(StatusOf("q"), "other");
    EXPECT_TRUE(running);
}

TEST_F(MonitorGroups, ConsumersAreToldOnceAndOfAllChangesTogether) {
    Install("p", {"HARG:web"}, "disabled");
    Install("q", {"HARG:web"}, "disabled");
    Install("r", {"HARG:db"});
    Begin();
    ForgetQueue();
    Move("web", "north");
    PolicyListener listener;
    Step();
    EXPECT_EQ(listener.Heard(), (std::vector<std::string>{"ENABLE_POLICY:files p q", "DISABLE_POLICY:files r"}));
    Step();
    EXPECT_EQ(listener.Heard(), std::vector<std::string>());
}

TEST_F(MonitorGroups, WhatInstallsHaveQueuedIsNotSentByACycle) {
    Install("p", {"HARG:web"}, "disabled");
    Begin();
    PolicyListener listener;
    Step();
    EXPECT_EQ(listener.Heard(), std::vector<std::string>()) << "the install is told by who installed";
}

TEST_F(MonitorGroups, NothingOfItIsAudited) {
    Install("p", {"HARG:web"}, "disabled");
    Move("web", "north");
    Begin();
    const std::string before = node.AuditText();
    Step();
    EXPECT_EQ(node.AuditText(), before);
    EXPECT_EQ(StatusOf("p"), "enabled");
}

}  // namespace
