/// @file
/// A node with applications to load, on a made-up cluster.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AppConfig.h"
#include "ClusterSeen.h"
#include "Configure.h"
#include "LumConfCluster/Applications.h"
#include "Raised.h"

inline Texts TextsOf(const LumConfCluster::Strings& list) {
    Texts texts;
    for (int i = 0; i < list.Count(); ++i) texts.push_back(list[i].ToUtf8());
    return texts;
}

inline std::string Entry(const std::string& name, const std::string& instances = "") {
    return AppConfig::Entry(name, instances);
}
inline std::string OneOf(const std::string& name, const std::string& package = "web") {
    return AppConfig::Instance(name, package);
}

/// A node north; the group web on line on it, db on south, idle nowhere, lost unknown.
class NodeWithApplications : public testing::Test {
protected:
    NodeWithApplications() {
        using LumConfCluster::RGState;
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        made.Add("web", RGState::Online, "north", 1);
        made.Add("db", RGState::Online, "south", 2);
        made.Add("idle", RGState::Offline, "north", 3);
        made.Add("lost", RGState::Unknown, "north", 4);
    }
    void Load(const std::string& list) {
        config.List(list);
        Load();
    }
    void Load() { applications.LoadConfig(made.cluster, made.groups); }
    /// The text of the parser's exception with this number.
    std::string Refused(const std::string& list, unsigned id) {
        config.List(list);
        return Refused(id);
    }
    std::string Refused(unsigned id) {
        const auto messages = MessagesOf<LumConf::ClusterParserException>([&] { Load(); });
        if (messages.GetMessageCount() == 0) return "";
        EXPECT_EQ(messages.GetMessage(0).GetId(), id);
        EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
        return LumPalStr::String_t(messages).ToUtf8();
    }
    std::string NotFound() {
        const auto messages = MessagesOf<LumPalIo::FileNotFoundException_t>([&] { Load(); });
        if (messages.GetMessageCount() == 0) return "";
        EXPECT_EQ(messages.GetMessage(0).GetId(), 666u);
        EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Info);
        EXPECT_EQ(LumPalStr::String_t(messages), "Application configuration file not found.");
        return messages.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
    }

    TempRoot root;
    const AppConfig config{root};
    MadeUpCluster made;
    LumConfCluster::Applications applications;
};
