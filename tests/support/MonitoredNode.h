/// @file
/// A node of the small VERITAS cluster with policies and applications, and a monitor whose cycles a test runs.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "AppConfig.h"
#include "CapturedLog.h"
#include "Configure.h"
#include "LumConfCluster/ClusterBase.h"
#include "MonitorCycle.h"
#include "PolicyNode.h"
#include "VcsNode.h"

/// What an application of a test is made of.
struct TestApplication {
    std::string name;
    std::vector<std::pair<std::string, std::string>> instances;  ///< name and group
    std::vector<std::string> policies;
    std::vector<std::string> starts = {}, stops = {};
};

/// This node is north. At first the group web is online on south, and db nowhere. The monitor's keys are filled, and it
/// does not sleep.
class MonitoredNode : public testing::Test {
protected:
    MonitoredNode() {
        for (const auto& [key, value] :
             {std::pair{"CLUSTER_LOCAL_NODENAME", "north"}, std::pair{"CLUSTER_TYPE", "VERITAS Cluster Server (VCS)"},
              std::pair{"POLLING_INTERVAL", "1"}, std::pair{"MONITOR_MODE", "true"}})
            Configure("conf.cluster", key, value);
    }
    ~MonitoredNode() override { LumConfCluster::ClusterBase::SetClusterEnvDetected(false); }

    // The cluster.

    /// @param system  empty: it is online nowhere
    void Move(const std::string& group, const std::string& system) {
        for (const char* each : {"north", "south", "east"}) {
            cluster.SetState(group, each, each == system ? "|ONLINE|" : "|OFFLINE|");
        }
    }
    void LetClusterGoDown() { cluster.tools.Answer("haclus -value ClusterName", "", 1); }
    void LetClusterComeBack() { cluster.tools.Answer("haclus -value ClusterName", "harbour\n"); }

    // Applications.

    void Write(const std::vector<TestApplication>& applications) {
        std::string list;
        for (const TestApplication& application : applications) {
            std::string instances, elements;
            for (const auto& [name, group] : application.instances) instances += AppConfig::Instance(name, group);
            list += AppConfig::Entry(application.name, instances);
            for (const std::string& each : application.policies) elements += "<Template>" + each + "</Template>";
            for (const std::string& each : application.starts) elements += "<StartCommand>" + each + "</StartCommand>";
            for (const std::string& each : application.stops) elements += "<StopCommand>" + each + "</StopCommand>";
            config.Describe(application.name, elements);
        }
        config.List(list);
    }
    /// A command that notes a word and the name of the instance.
    std::string Note(const std::string& word) const {
        return "/bin/sh -c \"echo " + word + " '$instanceName' &gt;&gt; " + NotesPath() + "; echo\"";
    }
    std::string NotesPath() const { return node.Root().Native() + "/notes"; }
    /// What the commands have noted since the last call.
    std::string Notes() const {
        const std::string text = ReadText(NotesPath());
        std::filesystem::remove(NotesPath());
        return text;
    }

    // Policies.

    void Install(const std::string& id, const std::vector<std::string>& attributes = {},
                 const std::string& status = "enabled", const std::string& name = "") {
        TestPolicy policy;
        policy.id = id;
        policy.name = name.empty() ? id : name;
        policy.status = status;
        for (const std::string& attribute : attributes) policy.attributes.emplace_back(attribute, "v");
        // An update would keep what the installed policy has.
        if (node->IsPolicyInstalled() && (" " + node.Ids() + " ").find(" " + id + " ") != std::string::npos) {
            node.Remove(LumConf::Selection().SetPolicyId(LumPalStr::String_t::FromUtf8(id)));
        }
        node.Install(policy);
    }
    /// Without those that the installs have queued.
    void ForgetQueue() {
        try {
            node->Notify("conf.cluster");
        } catch (const LumCtrl::ControlException&) {
            // Nobody listens: what was queued is gone all the same.
        }
    }
    std::string StatusOf(const char* id) { return node.Get(id).GetStatus().ToUtf8(); }
    /// As the disk has it.
    std::string StoredStatusOf(const std::string& id) const {
        const std::string text = node.InstalledContent("files/" + id + "_header.xml");
        const auto at = text.find("<status>");
        return at == text.npos ? "" : text.substr(at + 8, text.find('<', at + 8) - at - 8);
    }

    // The monitor.

    /// A fresh one in place of the one that is there, begun.
    void Begin() {
        MakeMonitor();
        monitor->Begin();
    }
    void MakeMonitor() {
        running = true;
        clusterType = "";
        pollingInterval = 10000;
        monitorMode = true;
        monitor = std::make_unique<LumConfCluster::MonitorCycle>(
            running, LumConfCluster::MonitorFields{clusterType, pollingInterval, monitorMode},
            LumConfCluster::MonitorCycle::Surroundings{[this] { running = false; }, [this] { return policies(); },
                                                       [this](std::uint32_t ms) { sleep(ms); }, watcher, list});
    }
    void Step() { monitor->Step(); }

    VcsNode cluster;
    PolicyNode node;
    const AppConfig config{node.Root()};
    CapturedLog log{node.Root().Native()};
    std::function<LumConf::PolicyOperation*()> policies = [this] { return &node.Operation(); };
    LumConfCluster::PolicyList list = &LumConfCluster::ListInstalled;
    std::function<void(std::uint32_t)> sleep = [](std::uint32_t) { ADD_FAILURE() << "it sleeps"; };
    std::function<void(const LumConfCluster::Applications&)> seen = [](const LumConfCluster::Applications&) {};

    std::function<void()> commandsBegin = [] {};

    /// Hands on what it is told, and notes it: "begin one+" when the start commands of one begin.
    struct Watcher final : LumConfCluster::MonitorWatcher {
        explicit Watcher(MonitoredNode& node) : node(node) {}
        void Seen(const LumConfCluster::Applications& applications, Look look) override {
            looks += look == Look::Whole ? "whole " : "partial ";
            node.seen(applications);
        }
        void CommandsBegin(const LumConfCluster::Application&, const LumConfCluster::Instance& instance) override {
            Note("begin ", instance);
            node.commandsBegin();
        }
        void CommandsEnd(const LumConfCluster::Application&, const LumConfCluster::Instance& instance) override {
            Note("end ", instance);
        }
        void CycleEnded(const LumPalMsg::MessageList_t& why) override {
            hindrance = why.Format(LumPalMsg::BareText | LumPalMsg::Details).ToUtf8();
        }
        void Note(const char* word, const LumConfCluster::Instance& instance) {
            commands += word + instance.GetName().ToUtf8() + (instance.IsActiveNodeLocal() ? "+ " : "- ");
        }

        MonitoredNode& node;
        std::string looks, commands, hindrance;
    };
    Watcher watcher{*this};

    std::atomic<bool> running{true};
    LumPalStr::String_t clusterType;
    std::int32_t pollingInterval = 10000;
    bool monitorMode = true;
    std::unique_ptr<LumConfCluster::MonitorCycle> monitor;
};

/// How often a text stands in another one.
inline int CountOf(const std::string& text, const std::string& words) {
    int count = 0;
    for (auto at = text.find(words); at != text.npos; at = text.find(words, at + 1)) ++count;
    return count;
}
