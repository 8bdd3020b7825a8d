#include <gtest/gtest.h>

#include "Blocks.h"
#include "LumVoxRpc.h"
#include "RawHttp.h"
#include "TempRoot.h"
#include "Wsdl.h"

using namespace LumVoxRpc;
using LumPalStr::String_t;

namespace {

Description MakeDescription() {
    return {"Shop",
            {{"Order", {{"item", "xsd:string"}, {"count", "xsd:int", Description::AtMostOnce}}},
             {"Pairs", {{"left", "xsd:string"}, {"right", "xsd:string", Description::AnyNumber}}, true}},
            {{"buy", {{"what", "m:Order"}}, {{"price", "xsd:int"}}}, {"close", {}, {}}}};
}

struct RpcDescriptionTest : testing::Test {
    static LumPalConfig::Configuration_t Transport() {
        LumPalConfig::Configuration_t made{String_t("vox.http.ext.conf")};
        made.SetAttrValue("SERVER_PORT", "0");
        return made;
    }
    RpcDescriptionTest() {
        told.Describe(MakeDescription());
        node.Register(told, true, 1);
        node.Register(silent, true, 1);
    }
    ~RpcDescriptionTest() override { node.Close(); }

    RawAnswer Get(const std::string& target, const std::string& fields, const std::string& version = "1.1") {
        return RawHttp(node.GetPort()).Exchange("GET " + target + " HTTP/" + version + "\r\n" + fields + "\r\n");
    }
    static std::string LocationIn(const std::string& document) {
        const std::string before = "<soap:address location=\"";
        const std::size_t at = document.find(before);
        if (at == std::string::npos) return "none";
        const std::size_t begin = at + before.size();
        return document.substr(begin, document.find('"', begin) - begin);
    }

    TempRoot root;
    LumPalConfig::Configuration_t configuration = Transport();
    RpcServer told{configuration, RpcServer::Options().SetBasePath("/shop")};
    RpcServer silent{configuration, RpcServer::Options().SetBasePath("/silent")};
    LumVoxMsg::Messenger node{configuration,
                              LumVoxMsg::Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/node")};
};

TEST_F(RpcDescriptionTest, AnybodyGetsItAsXml) {
    const RawAnswer answer = Get("/node/shop?wsdl", "Host: h.localhost\r\n");
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.head.find("\r\nContent-Type: text/xml; charset=utf-8\r\n"), std::string::npos) << answer.head;
    EXPECT_EQ(answer.body.substr(0, 5), "<?xml");
}

TEST_F(RpcDescriptionTest, ItNamesTheAddressThatTheRequestCameTo) {
    const struct {
        const char *host, *location;
    } rows[] = {{"h.localhost", "http://h.localhost/node/shop"},
                {"127.0.0.1:7443", "http://127.0.0.1:7443/node/shop"},
                {"[::1]:81", "http://[::1]:81/node/shop"},
                {"my_host-2.localhost", "http://my_host-2.localhost/node/shop"}};
    for (const auto& row : rows)
        EXPECT_EQ(LocationIn(Get("/node/shop?wsdl", std::string("Host: ") + row.host + "\r\n").body), row.location);
}

TEST_F(RpcDescriptionTest, ACallerWithoutAHostLearnsTheSocketsAddress) {
    EXPECT_EQ(LocationIn(Get("/node/shop?WSDL", "", "1.0").body),
              "http://127.0.0.1:" + std::to_string(node.GetPort()) + "/node/shop");
}

TEST_F(RpcDescriptionTest, AHostThatIsNoneIsRefusedAndNeverWritten) {
    for (const char* host : {"", "a b", "a/b", "a\"><x/>", "a?b", "a#b", "user@a", "\xC3\xA4", "a&b"}) {
        const RawAnswer answer = Get("/node/shop?wsdl", std::string("Host: ") + host + "\r\n");
        EXPECT_EQ(answer.status, 400) << host;
        EXPECT_EQ(answer.body.find("definitions"), std::string::npos) << host;
    }
}

TEST_F(RpcDescriptionTest, WhatIsNotAskedThisWayIsNoDescription) {
    const std::string host = "Host: h.localhost\r\n";
    EXPECT_EQ(Get("/node/silent?wsdl", host).status, 404);
    EXPECT_EQ(Get("/node/other?wsdl", host).status, 404);
    EXPECT_EQ(Get("/node/shop", host).status, 405);
    EXPECT_EQ(Get("/node/shop?wsdl2", host).status, 405);
    EXPECT_EQ(Get("/node/shop?", host).status, 405);
    EXPECT_EQ(RawHttp(node.GetPort()).Exchange(PostOf("/node/shop?wsdl", "x")).status, 500);
}

TEST_F(RpcDescriptionTest, AConnectionGoesOnAfterIt) {
    RawHttp client(node.GetPort());
    const std::string request = "GET /node/shop?wsdl HTTP/1.1\r\nHost: h.localhost\r\n\r\n";
    const std::string first = client.Exchange(request).body;
    EXPECT_EQ(client.Exchange(request).body, first);
    EXPECT_EQ(client.Exchange("GET /node/silent?wsdl HTTP/1.1\r\nHost: h.localhost\r\n\r\n").status, 404);
    EXPECT_EQ(client.Exchange(request).body, first);
}

std::string Written(const Description& description, const char* address = "http://h/p") {
    auto blocks = std::make_shared<LumVoxMsg::Blocks>();
    WriteWsdl(LumVoxMsg::WriteBlocks(blocks), description, address);
    return LumVoxMsg::JoinBlocks(*blocks);
}

TEST(Wsdl, HoldsEveryMethodWithItsArgumentsResultsAndTypes) {
    const std::string document = Written(MakeDescription());
    for (const char* part :
         {"<wsdl:message name=\"buy\">", "<wsdl:part name=\"what\" type=\"m:Order\">",
          "<wsdl:message name=\"buyResponse\">", "<wsdl:part name=\"price\" type=\"xsd:int\">",
          "<wsdl:message name=\"close\">", "<wsdl:message name=\"closeResponse\">", "<xsd:complexType name=\"Order\">",
          "<xsd:element name=\"item\" type=\"xsd:string\">",
          "<xsd:element name=\"count\" type=\"xsd:int\" minOccurs=\"0\">",
          "<xsd:sequence minOccurs=\"0\" maxOccurs=\"unbounded\">",
          "<xsd:element name=\"right\" type=\"xsd:string\" minOccurs=\"0\" maxOccurs=\"unbounded\">",
          "<wsdl:input message=\"m:buy\">", "<wsdl:output message=\"m:buyResponse\">",
          "<soap:binding style=\"rpc\" transport=\"http://schemas.xmlsoap.org/soap/http\">",
          "<soap:body use=\"literal\" namespace=\"urn:lum:conf\">", "targetNamespace=\"urn:lum:conf\""})
        EXPECT_NE(document.find(part), std::string::npos) << part << " in\n" << document;
}

TEST(Wsdl, EscapesWhatStandsInTheAddress) {
    EXPECT_NE(Written(MakeDescription(), "http://h/a&b\"c").find("http://h/a&amp;b&quot;c"), std::string::npos);
}

}  // namespace
