/// @file
/// Tests of a server that serves TLS.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "ConfigServer.h"
#include "NodeClient.h"
#include "ProcessNode.h"
#include "TestPki.h"

/// A node that serves TLS, and senders with certificates of one authority, each with the one right that it is called
/// after.
class SendersTest : public testing::Test {
protected:
    static constexpr const char* kNames = "DNS:localhost,IP:127.0.0.1";

    SendersTest() {
        InstallTrust("authority", authority.Certificate());
        InstallIdentity("node-1", own);
        node.Grant(
            "one=1\ntwo=2\nfour=4\neight=8\nsixteen=16\nthirtytwo=32\nsixtyfour=64\nonetwentyeight=128\n"
            "twofiftysix=256\nnone=0");
        server.Start();
    }
    ~SendersTest() override { std::filesystem::remove_all(node.Root() + "/etc/keystore"); }
    /// A client that bears the sender's certificate from now on.
    NodeClient& As(const std::string& sender) {
        auto& [identity, client] = senders[sender];
        if (!client) {
            identity = authority.Issue(sender, kNames);
            client = std::make_unique<NodeClient>(server.GetPort(), "https");
        }
        InstallIdentity(sender, identity);
        return *client;
    }

    /// A client that uses the node's own certificate and key.
    NodeClient& AsTheNode() {
        if (!itself) itself = std::make_unique<NodeClient>(server.GetPort(), "https");
        InstallIdentity("node-1", own);
        return *itself;
    }

    ProcessNode& node = ProcessNode::Fresh();
    TestAuthority authority{"authority"};
    const TestIdentity own = authority.Issue("node-1", kNames);
    LumConf::ConfigServer server;

private:
    std::unique_ptr<NodeClient> itself;
    std::map<std::string, std::pair<TestIdentity, std::unique_ptr<NodeClient>>> senders;
};
