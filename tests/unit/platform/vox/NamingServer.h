/// @file
/// A server over TLS that says who calls.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CapturedLog.h"
#include "Configure.h"
#include "EchoServer.h"
#include "TempRoot.h"
#include "TestPki.h"

/// A server with a certificate, which answers each caller that "authority" vouches for with his id, as "from <id>".
struct NamingServer : testing::Test {
    TempRoot root;
    CapturedLog log{root.Native()};
    TestAuthority authority{"authority"};
    std::unique_ptr<EchoServer> server = NewServer();

    std::unique_ptr<EchoServer> NewServer() {
        InstallIdentity("node-1", authority.Issue("node-1", "DNS:localhost"));
        InstallTrust("authority", authority.Certificate());
        const LumSecCore::NodeIdentity identity = LumSecCore::NodeIdentity::Load();
        auto made = std::make_unique<EchoServer>(LumVoxMsg::HttpLimits(), &identity);
        made->onServe = [](LumVoxMsg::HttpRequest& request, const LumVoxMsg::HttpReply& reply) {
            reply(
                LumVoxMsg::HttpResponse{200, "text/plain", {}, LumVoxMsg::MakeBlocks("from <" + request.sender + ">")});
        };
        return made;
    }
    bool IsLogged(const std::string& words) {
        return Eventually([&] { return log.Holds(words); });
    }
};
