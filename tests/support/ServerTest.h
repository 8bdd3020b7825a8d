/// @file
/// Tests of a configuration server that serves.
#pragma once

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ConfigServer.h"
#include "NodeClient.h"
#include "ProcessNode.h"

/// A server on the fresh node of this process, on a free port of loopback, and a client of it.
class ServerTest : public testing::Test {
protected:
    ServerTest() { server.Start(); }

    static TestPolicy Policy(const std::string& id, const std::string& type = "files") {
        TestPolicy policy;
        policy.id = id;
        policy.name = "name of " + id;
        policy.type = type;
        return policy;
    }
    static LumConf::Selection ById(const char* id) { return LumConf::Selection().SetPolicyId(id); }
    bool IsInstalled(const char* id) const {
        return std::filesystem::exists(node.InstallFolder() + "/files/" + id + "_header.xml");
    }

    ProcessNode& node = ProcessNode::Fresh();
    CapturedLog log{node.Root()};
    LumConf::ConfigServer server;
    /// Made when it is first asked for: a test may have to wait for its port.
    NodeClient& Client() {
        if (!client) client = std::make_unique<NodeClient>(server.GetPort());
        return *client;
    }

private:
    std::unique_ptr<NodeClient> client;
};
