#include "LocalCallers.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "LumVoxRpc.h"
#include "RawHttp.h"
#include "TempRoot.h"

using namespace LumVoxMsg;
using LumPalStr::String_t;

namespace {

struct LocalRoad : testing::Test {
    static LumPalConfig::Configuration_t Transport() {
        LumPalConfig::Configuration_t made{String_t("vox.http.ext.conf")};
        made.SetAttrValue("SERVER_PORT", "0");
        return made;
    }
    LocalRoad() { node.Register(server, true, 1); }
    ~LocalRoad() override { node.Close(); }

    RawAnswer Ask(const std::string& request) { return RawHttp(node.GetPort()).Exchange(request + "\r\n"); }

    TempRoot root;
    LumPalConfig::Configuration_t configuration = Transport();
    LumVoxRpc::RpcServer server{configuration, LumVoxRpc::RpcServer::Options().SetBasePath("/served")};
    Messenger node{configuration, Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/node")};
};

}  // namespace

TEST(LocalHost, IsALoopbackNameOrAddressOrOneOfTheNodesOwnNames) {
    char own[256] = "";
    ASSERT_EQ(gethostname(own, sizeof own - 1), 0);
    for (const std::string& host :
         {std::string("localhost"), std::string("LOCALHOST.:80"), std::string("a.localhost:1"),
          std::string("127.0.0.1"), std::string("127.1.2.3:7443"), std::string("[::1]"), std::string("[::1]:7443"),
          std::string("Node-1:7443"), std::string(own) + ":7443"})
        EXPECT_TRUE(IsLocalHost(host, "node-1")) << host;
    for (const char* const host : {"evil.example", "evil.example:7443", "localhost.evil.example", "notlocalhost",
                                   "127.0.0.1.evil.example", "128.0.0.1", "0.0.0.0", "[::2]", "[::]", "node-2", ""})
        EXPECT_FALSE(IsLocalHost(host, "node-1")) << host;
    EXPECT_FALSE(IsLocalHost("", ""));
}

TEST_F(LocalRoad, APageWhoseNameWasLedHereAsksNothing) {
    for (const char* const host : {"evil.example", "evil.example:7443", "192.0.2.1"}) {
        const std::string field = std::string("Host: ") + host + "\r\n";
        EXPECT_EQ(Ask("GET /node/served?wsdl HTTP/1.1\r\n" + field).status, 421) << host;
        EXPECT_EQ(Ask("POST /node/served HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: 0\r\n" + field).status,
                  421)
            << host;
        EXPECT_EQ(Ask("POST /other HTTP/1.1\r\nContent-Length: 0\r\n" + field).status, 421) << host;
    }
    EXPECT_EQ(Ask("POST /node/served HTTP/1.0\r\nContent-Type: text/xml\r\nContent-Length: 0\r\n").status, 401)
        << "without a Host it is the address that was called";
}

TEST_F(LocalRoad, WhatAnswersHeadHasNoBodyWhateverIsWrong) {
    const struct {
        std::string rest;
        int status;
    } rows[] = {{"/other HTTP/1.1\r\nHost: localhost\r\n", 404},
                {"/node/served HTTP/1.1\r\nHost: localhost\r\n", 405},
                {"/node/served HTTP/1.1\r\nHost: evil.example\r\n", 421},
                {"/node/served HTTP/1.1\r\nHost: a b\r\n", 400},
                {"/node/served HTTP/1.1\r\n", 400},
                {"/node/served HTTP/1.1\r\nHost: localhost\r\nExpect: tea\r\n", 417}};
    for (const auto& row : rows) {
        RawHttp client(node.GetPort());
        client.Send("HEAD " + row.rest + "\r\n");
        client.Finish();
        std::string all;
        for (std::string some; !(some = client.ReceiveSome()).empty();) all += some;
        EXPECT_EQ(all.substr(0, 13), "HTTP/1.1 " + std::to_string(row.status) + " ") << row.rest;
        EXPECT_EQ(all.find("\r\n\r\n"), all.size() - 4) << all;
    }
}
