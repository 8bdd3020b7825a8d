// What lumcluster tells of the next cycle, and what a cycle then does: two implementations of one rule.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "Exceptions.h"
#include "LumPalNet.h"
#include "MonitoredNode.h"
#include "lumcluster/Look.h"
#include "lumcluster/Reasons.h"

namespace {

using lumcluster::Explanation;
using Ids = std::set<std::string>;

constexpr int kPolicies = 8, kRounds = 24;
constexpr const char* kGroupWords[] = {"|ONLINE|", "|OFFLINE|", "|PARTIAL|", "|OFFLINE|FAULTED|"};
const std::vector<std::string> kAttributes{
    "HARG:web", "HARG:WEB", "HARG:db", "HARG:nothing", "HARG:", "other", "HARG:noHARG", "HARGweb", "harg:web"};
const std::vector<std::string> kListed{"a", "b", "c", "files:a", ":b", "probes:c", "other:a", "x:y", "A", "files:"};
const std::vector<std::string> kNoNames{"", "a=b", " "};
const std::vector<std::string> kNames{"a", "b", "c", "x:y"};

class ExplainedCycle : public MonitoredNode {
protected:
    // Clusters, applications and policies by chance.

    int Below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
    template <class List>
    auto OneOf(const List& list) {
        return *(std::begin(list) + Below(static_cast<int>(std::size(list))));
    }
    std::vector<std::string> SomeOf(const std::vector<std::string>& list, int most) {
        std::vector<std::string> some;
        for (int left = Below(most + 1); left > 0; --left) some.push_back(OneOf(list));
        return some;
    }

    void MakeCluster() {
        for (const char* group : {"web", "db"}) {
            for (const char* system : {"north", "south", "east"}) cluster.SetState(group, system, OneOf(kGroupWords));
        }
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", OneOf(std::vector{"north", "north", "south", "NORTH"}));
    }
    void MakeApplications() {
        std::vector<TestApplication> applications;
        for (const char* name : {"shop", "office", "depot"}) {
            if (Below(3) == 0) continue;
            TestApplication made{name, {}, SomeOf(kListed, 3)};
            for (int i = Below(3); i > 0; --i) {
                made.instances.emplace_back(name + std::to_string(i), OneOf(std::vector{"web", "db"}));
            }
            if (Below(8) == 0) made.policies.insert(made.policies.begin(), OneOf(kNoNames));
            applications.push_back(made);
        }
        Write(applications);
    }
    void MakePolicies() {
        LumConfCluster::ClusterBase::SetClusterEnvDetected(false);  // so that the installs leave the status alone
        if (node->IsPolicyInstalled()) node.Remove(LumConf::Selection());
        for (int i = 0; i < kPolicies; ++i) {
            TestPolicy policy;
            policy.id = "p" + std::to_string(i);
            policy.name = kNames[static_cast<std::size_t>(i) % kNames.size()];
            policy.type = i < kPolicies / 2 ? "files" : "probes";
            policy.status = Below(2) == 0 ? "enabled" : "disabled";
            for (const std::string& attribute : SomeOf(kAttributes, 3)) policy.attributes.emplace_back(attribute, "v");
            node.Install(policy);
        }
        if (Below(3) == 0) node.Get("p0").GetImpl()->SetStatus("other");
    }

    // What is told, and what is done.

    std::map<std::string, Explanation> Explained() {
        const lumcluster::Sight sight = lumcluster::Look(lumcluster::Keys::Read(), nullptr);
        const LumConf::PolicyContainer all = node.List();
        std::map<std::string, Explanation> explained;
        for (int i = 0; i < all.GetCount(); ++i) {
            const Explanation made = Explain(all.GetPolicyHeader(i), sight, lumcluster::HasAddress);
            explained.emplace(made.id, made);
        }
        return explained;
    }
    /// The ids of those of which consumers hear.
    static Ids Heard(PolicyListener& listener) {
        Ids ids;
        for (const std::string& line : listener.Heard()) {
            std::istringstream words(line);
            std::string word;
            for (words >> word; words >> word;) ids.insert(word);
        }
        return ids;
    }
    template <class Is>
    static Ids Those(const std::map<std::string, Explanation>& explained, Is&& is) {
        Ids ids;
        for (const auto& [id, explanation] : explained) {
            if (is(explanation)) ids.insert(id);
        }
        return ids;
    }

    /// @return whether the monitor lives on
    bool TryStep() {
        try {
            Step();
            return true;
        } catch (const LumConf::ClusterException&) {
            return false;
        }
    }

    void ExpectAsExplained(const std::map<std::string, Explanation>& explained, PolicyListener& listener) {
        const bool isBroken = !explained.begin()->second.brokenBy.empty();
        EXPECT_EQ(TryStep(), !isBroken);
        for (const auto& [id, explanation] : explained) {
            EXPECT_EQ(StatusOf(id.c_str()), explanation.after) << id << ": " << TextOf(explanation, {});
        }
        if (isBroken) return ForgetQueue();
        EXPECT_EQ(Heard(listener), Those(explained, [](const Explanation& e) { return e.changes; }));
        Step();
        EXPECT_EQ(Heard(listener), Those(explained, [](const Explanation& e) { return e.inEveryCycle; }));
    }

    std::mt19937 random{1};
};

TEST_F(ExplainedCycle, WhateverTheClusterAndThePoliciesACycleDoesWhatIsToldOfIt) {
    PolicyListener listener;
    Ids seen;
    for (int round = 0; round < kRounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        MakeCluster();
        MakeApplications();
        MakePolicies();
        Begin();
        ForgetQueue();
        listener.Heard();
        const auto explained = Explained();
        for (const auto& [id, explanation] : explained) {
            seen.insert(explanation.changes ? "switched" : explanation.IsTied() ? "right" : "free");
            if (explanation.inEveryCycle) seen.insert("again and again");
            if (!explanation.brokenBy.empty()) seen.insert("broken");
            if (explanation.status == "other") seen.insert("other");
        }
        ExpectAsExplained(explained, listener);
        listener.Heard();
    }
    EXPECT_THAT(seen, testing::ElementsAre("again and again", "broken", "free", "other", "right", "switched"));
}

TEST_F(ExplainedCycle, WithoutAConfiguredNameToo) {
    const std::string local = LumPalNet::InetAddress_t::GetLocalHost().GetHostName().ToUtf8();
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    cluster.tools.Answer("hasys -list", local + "\nsouth\neast\n");
    cluster.AddSystem(local, "10");
    cluster.tools.Answer("hagrp -value web SystemList", local + " 0\tno.such.name.invalid 1\n");
    Write({{"shop", {{"till", "web"}}, {"listed"}}});
    PolicyListener listener;
    for (const auto& [here, there] : {std::pair{"|ONLINE|", "|OFFLINE|"}, std::pair{"|OFFLINE|", "|ONLINE|"},
                                      std::pair{"|OFFLINE|", "|OFFLINE|"}}) {
        LumConfCluster::ClusterBase::SetClusterEnvDetected(false);
        Install("listed", {}, "enabled");
        Install("grouped", {"HARG:web"}, "disabled");
        cluster.SetState("web", local, here);
        cluster.SetState("web", "no.such.name.invalid", there);
        Begin();
        ForgetQueue();
        listener.Heard();
        ExpectAsExplained(Explained(), listener);
    }
}

}  // namespace
