#include "lumcluster/Reasons.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lumcluster/Follower.h"

using lumcluster::Comparison;
using lumcluster::Explanation;
using lumcluster::LocalName;
using lumcluster::Sight;
using testing::HasSubstr;

namespace {

bool Everything(const std::string&) {
    return true;
}

/// This node is alpha, where database is online; web is online on beta, and reports nowhere.
Sight Harbour() {
    Sight sight;
    sight.local = {"alpha", true};
    sight.isClusterSeen = true;
    sight.product = "VERITAS Cluster Server (VCS)";
    sight.groups = {{"database", 1, "Online", "Online", "alpha", ""},
                    {"web", 2, "Online", "Offline", "beta", ""},
                    {"reports", 3, "Offline", "Offline", "", ""}};
    return sight;
}

LumConf::PolicyHeader Policy(const std::vector<const char*>& attributes, const char* status = "enabled") {
    const LumConf::PolicyHeader policy;
    policy.SetContainerId("1a2b");
    policy.SetName("disk-io");
    policy.SetTypeName("monitor");
    if (std::string(status) == "disabled") policy.SetDisabled();
    for (const char* attribute : attributes) policy.SetAttribute(attribute, "v");
    return policy;
}

struct Row {
    std::vector<const char*> attributes;
    const char* before;
    const char* after;
    bool isSwitched;
};

TEST(ClusterReasons, APolicyFollowsTheGroupsThatItsAttributesName) {
    const Row rows[] = {
        {{}, "enabled", "enabled", false},
        {{"other", "harg:web"}, "disabled", "disabled", false},
        {{"HARG:database"}, "disabled", "enabled", true},
        {{"HARG:DataBase"}, "disabled", "enabled", true},
        {{"HARG:web"}, "enabled", "disabled", true},
        {{"HARG:web"}, "disabled", "disabled", false},
        {{"HARG:reports"}, "enabled", "disabled", true},
        {{"HARG:nobody"}, "enabled", "disabled", true},
        {{"HARG:"}, "enabled", "disabled", true},
        {{"HARG:noHARG"}, "disabled", "enabled", true},
        {{"HARG:noharg"}, "enabled", "disabled", true},
        {{"HARG:web", "HARG:noHARG"}, "disabled", "enabled", true},
        {{"HARG:web", "HARG:database"}, "disabled", "enabled", true},
        {{"HARG:database", "HARG:web"}, "enabled", "enabled", false},
    };
    for (const Row& row : rows) {
        const Explanation made = Explain(Policy(row.attributes, row.before), Harbour(), Everything);
        SCOPED_TRACE(row.attributes.empty() ? "" : row.attributes.front());
        EXPECT_EQ(made.after, row.after);
        EXPECT_EQ(made.changes, row.isSwitched);
        EXPECT_FALSE(made.inEveryCycle);
    }
}

TEST(ClusterReasons, AttributesBehindOneThatIsOnlineHereAreNotLookedAt) {
    const Explanation made = Explain(Policy({"HARG:web", "HARG:database", "HARG:reports"}), Harbour(), Everything);
    ASSERT_EQ(made.attributes.size(), 3u);
    EXPECT_TRUE(made.attributes[0].isLookedAt);
    EXPECT_TRUE(made.attributes[1].isLookedAt);
    EXPECT_FALSE(made.attributes[2].isLookedAt);
}

TEST(ClusterReasons, TheNamesThatWereComparedAreTold) {
    Sight sight = Harbour();
    const auto because = [&](const char* attribute, const lumcluster::Resolves& resolves) {
        return Explain(Policy({attribute}), sight, resolves).attributes.front().Because();
    };
    EXPECT_EQ(because("HARG:web", Everything), "'beta' is not 'alpha' (CLUSTER_LOCAL_NODENAME)");
    EXPECT_EQ(because("HARG:database", Everything), "'alpha' is 'alpha' (CLUSTER_LOCAL_NODENAME)");
    EXPECT_EQ(because("HARG:reports", Everything), "the group is not online");
    EXPECT_EQ(because("HARG:nobody", Everything), "the cluster has no such group");
    EXPECT_EQ(because("HARG:noHARG", Everything), "this word enables it on every node");
    sight.local.isConfigured = false;
    EXPECT_EQ(because("HARG:web", Everything), "'beta' is not 'alpha' (the system's own name)");
    EXPECT_THAT(because("HARG:database", [](const std::string&) { return false; }), HasSubstr("has no address"));
}

TEST(ClusterReasons, ANameOfTheSystemsOwnNeedsAnAddressAndAConfiguredOneDoesNot) {
    const auto nobody = [](const std::string&) { return false; };
    const auto isSame = [&](bool configured, const char* node, const lumcluster::Resolves& resolves) {
        return Comparison::Of({"alpha", configured}, node, resolves).isSame;
    };
    EXPECT_TRUE(isSame(true, "alpha", nobody));
    EXPECT_FALSE(isSame(true, "ALPHA", nobody));
    EXPECT_FALSE(isSame(true, "alpha.site", nobody));
    EXPECT_TRUE(isSame(false, "alpha", Everything));
    EXPECT_FALSE(isSame(false, "alpha", nobody));
    EXPECT_FALSE(isSame(false, "", Everything));
    EXPECT_FALSE(
        isSame(false, "beta", [](const std::string&) -> bool { throw std::logic_error("nobody was to ask"); }));
}

TEST(ClusterReasons, APolicyFollowsAnApplicationThatListsIt) {
    Sight sight = Harbour();
    for (const char* listed : {"disk-io", "monitor:disk-io", ":disk-io"}) {
        sight.applications = {{"shop", {{"till", "web", "Offline", "beta", false}}, {listed}, ""}};
        EXPECT_EQ(Explain(Policy({}), sight, Everything).after, "disabled") << listed;
        sight.applications[0].instances.push_back({"stock", "database", "Online", "alpha", true});
        EXPECT_EQ(Explain(Policy({}, "disabled"), sight, Everything).after, "enabled") << listed;
    }
    for (const char* listed : {"Disk-io", "other:disk-io", "monitor", "1a2b"}) {
        sight.applications = {{"shop", {{"till", "web", "Offline", "beta", false}}, {listed}, ""}};
        EXPECT_FALSE(Explain(Policy({}), sight, Everything).IsTied()) << listed;
    }
}

TEST(ClusterReasons, AnApplicationThatListsAPolicyAgainTiesItOnce) {
    Sight sight = Harbour();
    for (const char* again : {"disk-io", "monitor:disk-io", ":disk-io"}) {
        sight.applications = {
            {"shop", {{"stock", "database", "Online", "alpha", true}}, {"disk-io", "other", again}, ""}};
        const Explanation made = Explain(Policy({}, "disabled"), sight, Everything);
        EXPECT_EQ(made.listings.size(), 1u) << again;
        EXPECT_THAT(TextOf(made, {}), HasSubstr("In the next cycle the application 'shop' enables it: it becomes"));
    }
    sight.applications[0].policies = {"disk-io", "disk-io", "a=b"};
    EXPECT_THAT(Explain(Policy({}), sight, Everything).brokenBy, HasSubstr("lists a policy as 'a=b'"));
}

TEST(ClusterReasons, AnApplicationWithoutInstancesLeavesItsPoliciesAlone) {
    Sight sight = Harbour();
    sight.applications = {{"shop", {}, {"disk-io", ""}, ""}};
    const Explanation made = Explain(Policy({}), sight, Everything);
    EXPECT_TRUE(made.IsTied());
    EXPECT_TRUE(made.steps.empty());
    EXPECT_TRUE(made.brokenBy.empty());
    EXPECT_THAT(TextOf(made, {}), HasSubstr("The next cycle leaves it alone."));
}

TEST(ClusterReasons, WhoAreNotOfOneMindSwitchItInEveryCycle) {
    Sight sight = Harbour();
    sight.applications = {{"shop", {{"till", "web", "Offline", "beta", false}}, {"disk-io"}, ""},
                          {"office", {{"desk", "database", "Online", "alpha", true}}, {"disk-io"}, ""}};
    const Explanation byTwo = Explain(Policy({}), sight, Everything);
    EXPECT_TRUE(byTwo.inEveryCycle);
    EXPECT_EQ(byTwo.after, "enabled");
    sight.applications.pop_back();
    const Explanation byBoth = Explain(Policy({"HARG:database"}), sight, Everything);
    EXPECT_TRUE(byBoth.inEveryCycle);
    EXPECT_EQ(byBoth.after, "enabled");
    EXPECT_THAT(TextOf(byBoth, {}), HasSubstr("switched off and on in every cycle"));
    EXPECT_FALSE(Explain(Policy({"HARG:web"}), sight, Everything).inEveryCycle);
}

TEST(ClusterReasons, AClusterThatDoesNotTellItsGroupsSwitchesNothing) {
    Sight sight = Harbour();
    sight.groups.clear();
    sight.problems.push_back({lumcluster::kGroups, {lumtools::kFailed, {}}});
    const Explanation made = Explain(Policy({"HARG:web", "HARG:noHARG"}, "disabled"), sight, Everything);
    EXPECT_TRUE(made.steps.empty());
    EXPECT_EQ(made.after, "disabled");
    EXPECT_EQ(made.attributes[0].Because(), "the cluster does not tell its groups now");
    EXPECT_THAT(TextOf(made, {}), HasSubstr("A cycle that cannot see the groups leaves it alone."));
}

TEST(ClusterReasons, WhereApplicationsCannotBeReadNobodySaysThatNothingTiesAPolicy) {
    const char* const groups =
        "What ties it to a resource group is not known: the applications cannot be read without "
        "the groups of the cluster: it broke.\nA cycle that cannot see the groups leaves it alone.\n";
    const char* const files =
        "What ties it to a resource group is not known: the applications cannot be read to their "
        "end: it broke.\nAs far as it is known, the next cycle leaves it alone.\n";
    struct Case {
        const char *problem, *told;
    };
    for (const Case& row :
         {Case{lumcluster::kCluster, groups}, {lumcluster::kGroups, groups}, {lumcluster::kApplications, files}}) {
        Sight sight = Harbour();
        sight.isClusterSeen = row.problem != std::string(lumcluster::kCluster);
        sight.isApplicationListThere = true;
        sight.problems.push_back({row.problem, {lumtools::kFailed, {{0, "it broke."}}}});
        const Explanation made = Explain(Policy({}), sight, Everything);
        EXPECT_THAT(TextOf(made, {"o"}), HasSubstr(std::string(row.told) + "Not now: o.\n")) << row.problem;
        EXPECT_NE(ToJson(made, {})["unknown_because"], nullptr);
        sight.isApplicationListThere = false;
        EXPECT_THAT(TextOf(Explain(Policy({}), sight, Everything), {"o"}), HasSubstr("it is never switched"));
    }
}

TEST(ClusterReasons, WhereApplicationsCannotBeReadWhatBecomesOfAPolicyIsSaidAsFarAsItIsKnown) {
    Sight sight = Harbour();
    sight.isApplicationListThere = true;
    sight.problems.push_back({lumcluster::kApplications, {lumtools::kFailed, {{0, "it broke."}}}});
    const Explanation made = Explain(Policy({"HARG:web"}), sight, Everything);
    EXPECT_THAT(
        TextOf(made, {}),
        HasSubstr("Whether an application ties it besides is not known: the applications cannot be read to their "
                  "end: it broke.\nAs far as it is known, in the next cycle its attributes disable it: it becomes "
                  "disabled.\n"));
    lumcluster::Keys keys;
    keys.monitorMode = "true";
    keys.isMonitorModeOn = true;
    EXPECT_THAT(Obstacles(lumcluster::Follower(), keys, sight),
                testing::Contains("the applications cannot be read to their end: it broke; what is behind that is not "
                                  "followed"));
}

TEST(ClusterReasons, AnInstanceThatIsHereByItsAddressIsNotCalledOffline) {
    Sight sight = Harbour();
    sight.groups[0].state = "Offline";
    sight.applications = {{"shop", {{"stock", "database", "Online", "alpha", true}}, {"disk-io"}, ""}};
    const Explanation made = Explain(Policy({}, "disabled"), sight, Everything);
    EXPECT_EQ(made.after, "enabled");
    EXPECT_THAT(made.listings[0].instances[0].Because(), HasSubstr("has the address of this one"));
}

TEST(ClusterReasons, WhatEndsTheMonitorLetsNothingComeBehindIt) {
    Sight sight = Harbour();
    for (const char* wrong : {"", " ", "a=b"}) {
        sight.applications = {{"shop", {{"till", "web", "Offline", "beta", false}}, {wrong, "disk-io"}, ""}};
        const Explanation made = Explain(Policy({"HARG:database"}, "disabled"), sight, Everything);
        EXPECT_THAT(made.brokenBy, HasSubstr("ends the monitor")) << wrong;
        EXPECT_TRUE(made.steps.empty()) << wrong;
        EXPECT_EQ(made.after, "disabled") << wrong;
    }
}

TEST(ClusterReasons, WhatKeepsACycleFromItIsTold) {
    const Explanation made = Explain(Policy({"HARG:web"}), Harbour(), Everything);
    EXPECT_THAT(TextOf(made, {"MONITOR_MODE is off"}), HasSubstr("becomes disabled.\nNot now: MONITOR_MODE is off.\n"));
    EXPECT_EQ(ToJson(made, {"a"})["kept_from_it"][0], "a");
}

}  // namespace
