#include <gtest/gtest.h>
#include <stdlib.h>

#include "Files.h"
#include "LocalSecret.h"
#include "LumVoxRpc.h"
#include "ScriptedPeer.h"
#include "TempRoot.h"
#include "TestPki.h"

using namespace LumVoxRpc;
using namespace LumVoxSoap;
using LumPalNet::ConnectException_t;
using LumPalNet::URI_t;
using LumPalStr::String_t;

namespace {

std::string Http(const std::string& status, const std::string& body, const std::string& fields = "") {
    return "HTTP/1.1 " + status + "\r\nContent-Type: text/xml\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n" + fields + "\r\n" + body;
}

std::string Envelope(const std::string& inside) {
    return "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body>" + inside +
           "</e:Body></e:Envelope>";
}

const std::string kGood = Http("200 OK", Envelope("<r><value>7</value><text>t</text></r>"));

struct RpcClientTest : testing::Test {
    TempRoot root;
    LumPalConfig::Configuration_t configuration{String_t("vox.http.ext.conf")};
    LumVoxMsg::Messenger messenger{configuration, LumVoxMsg::Messenger::Options().RegisterWithCb(false).SendOnly(true)};
    int value = -1;
    String_t text;

    RpcResponse Call(const std::string& address, const RpcCall::Options& options = RpcCall::Options(),
                     const String_t& sent = "x") {
        SOAPArgUnicodeString argument("argument", sent);
        SOAPArg* const arguments[] = {&argument};
        SOAPArgInt valueArg("value", &value);
        SOAPArgUnicodeString textArg("text", &text);
        SOAPArg* const results[] = {&valueArg, &textArg};
        RpcCall call = RpcClient(configuration, messenger).CreateCall(URI_t(String_t::FromUtf8(address)), options);
        call.SetMethod("ask");
        call.SetArgs(1, arguments);
        return call.Invoke(2, results, "UTF-8");
    }
    RpcResponse Call(const ScriptedPeer& peer, const char* host = "localhost") {
        return Call(std::string("http://") + host + ":" + std::to_string(peer.Port()) + "/a/voxrpcserver");
    }
    template <class Failure>
    std::string FailureOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const Failure& failure) {
            return failure.GetMessageList().GetMessage(0).GetMessageText().ToUtf8();
        }
        return "nothing of the kind was raised";
    }
};

unsigned ClosedPort() {
    return ScriptedPeer({""}).Port();
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

TEST_F(RpcClientTest, ARequestIsOnePostOfTheEnvelope) {
    ScriptedPeer peer({kGood});
    EXPECT_EQ(Call(peer).GetHttpStatus(), 200);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(text, "t");
    const std::string request = peer.Request(0);
    EXPECT_TRUE(request.starts_with("POST /a/voxrpcserver HTTP/1.1\r\n"));
    EXPECT_TRUE(Has(request, "\r\nContent-Type: text/xml; charset=utf-8\r\n"));
    EXPECT_TRUE(Has(request, "\r\nSOAPAction: \"\"\r\n"));
    EXPECT_FALSE(Has(request, "Expect:"));
    EXPECT_FALSE(Has(request, "Authorization:"));
    EXPECT_TRUE(Has(request, "<m:ask xmlns:m=\"urn:lum:conf\"><argument>x</argument></m:ask>"));
}

TEST_F(RpcClientTest, AConnectionIsKeptForTheNextCallOfTheMessenger) {
    ScriptedPeer peer({kGood});
    for (int i = 0; i < 5; ++i) Call(peer);
    EXPECT_EQ(peer.RequestCount(), 5u);
    EXPECT_EQ(peer.Connections(), 1);
}

TEST_F(RpcClientTest, AKeptConnectionThatThePeerClosedIsReplaced) {
    ScriptedPeer peer({"!" + kGood});
    for (int i = 0; i < 3; ++i) EXPECT_NO_THROW(Call(peer)) << i;
    EXPECT_EQ(peer.Connections(), 3);
}

TEST_F(RpcClientTest, AKeptConnectionThatClosesUnderTheRequestIsTriedOnceMore) {
    ScriptedPeer peer({kGood, "", kGood});
    Call(peer);
    EXPECT_NO_THROW(Call(peer));
    EXPECT_EQ(peer.Connections(), 2);
}

TEST_F(RpcClientTest, ANodeThatIsNotThereIsNamedWithPortAndReason) {
    const unsigned port = ClosedPort();
    const std::string number = std::to_string(port);
    EXPECT_EQ(FailureOf<ConnectException_t>([&] { Call("http://127.0.0.1:" + number + "/"); }),
              "Cannot connect to host '127.0.0.1' port " + number + ": Connection refused.");
    const std::string name(70, 'x');  // no name server is asked for it
    EXPECT_EQ(FailureOf<ConnectException_t>([&] { Call("http://" + name + ":" + number + "/"); }),
              "Cannot connect to host '" + name + "' port " + number + ": the host name cannot be resolved.");
}

TEST_F(RpcClientTest, AnAddressWithoutPortTakesTheConfiguredOne) {
    ScriptedPeer peer({kGood});
    configuration.SetAttrValue("TARGET_PORT", LumPalStr::NumToStr(peer.Port()));
    Call("http://localhost/x");
    EXPECT_TRUE(Has(peer.Request(0), "POST /x HTTP/1.1\r\n"));
}

TEST_F(RpcClientTest, ProxiesOfTheEnvironmentAreNotUsed) {
    setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(ClosedPort())).c_str(), 1);
    setenv("ALL_PROXY", "http://127.0.0.1:1", 1);
    ScriptedPeer peer({kGood});
    EXPECT_NO_THROW(Call(peer));
    unsetenv("http_proxy");
    unsetenv("ALL_PROXY");
}

TEST_F(RpcClientTest, ARedirectIsNotFollowed) {
    ScriptedPeer elsewhere({kGood});
    ScriptedPeer peer({Http("307 Temporary Redirect", "",
                            "Location: http://127.0.0.1:" + std::to_string(elsewhere.Port()) + "/\r\n")});
    EXPECT_THROW(Call(peer), SOAPFormatException);
    EXPECT_EQ(elsewhere.Connections(), 0);
}

TEST_F(RpcClientTest, AFaultIsRaisedWhateverTheStatus) {
    const std::string fault =
        Envelope("<e:Fault><faultcode>e:Client</faultcode><faultstring>no</faultstring></e:Fault>");
    for (const char* status : {"200 OK", "400 Bad Request", "500 Internal Server Error"}) {
        ScriptedPeer peer({Http(status, fault)});
        EXPECT_EQ(FailureOf<SOAPFaultException>([&] { Call(peer); }),
                  "The peer answered with the fault 'e:Client': no");
    }
}

TEST_F(RpcClientTest, AStatusThatIsNoSuccessIsNamed) {
    for (const auto& [status, number] : {std::pair("404 Not Found", "404"),
                                         {"413 Too Large", "413"},
                                         {"503 Busy", "503"},
                                         {"204 No Content", "204"}}) {
        ScriptedPeer peer({Http(status, number == std::string("204") ? "" : "<html>no</html>")});
        EXPECT_TRUE(Has(FailureOf<SOAPFormatException>([&] { Call(peer); }),
                        std::string("answered with HTTP status ") + number + ": "));
    }
}

TEST_F(RpcClientTest, AnEnvelopeWithAnotherStatusIsNoSuccess) {
    ScriptedPeer peer({Http("500 Internal Server Error", Envelope("<r><value>1</value></r>"))});
    EXPECT_THROW(Call(peer), SOAPFormatException);
    EXPECT_EQ(value, -1);
}

TEST_F(RpcClientTest, WhatIsNoEnvelopeIsRefused) {
    for (const char* body : {"", "<html/>", "{}", "<!DOCTYPE html><html></html>"}) {
        ScriptedPeer peer({Http("200 OK", body)});
        EXPECT_THROW(Call(peer), LumPalMsg::RuntimeException_t) << body;
    }
}

TEST_F(RpcClientTest, AResultThatDoesNotComeLeavesItsVariable) {
    ScriptedPeer peer({Http("200 OK", Envelope("<r/>"))});
    Call(peer);
    EXPECT_EQ(value, -1);
}

TEST_F(RpcClientTest, AnAnswerBeyondTheLimitIsRefused) {
    configuration.SetAttrValue("RESPONSE_LIMIT", "1000");
    ScriptedPeer small({Http("200 OK", Envelope("<r/>" + std::string(800, ' ')))});
    EXPECT_NO_THROW(Call(small));
    ScriptedPeer peer({Http("200 OK", std::string(1001, ' '))});
    EXPECT_TRUE(Has(FailureOf<SOAPFormatException>([&] { Call(peer); }), "is longer than 1000 bytes"));
}

TEST_F(RpcClientTest, AnAnswerThatIsCutOrMissingIsAFailedConnection) {
    ScriptedPeer silent({""});
    EXPECT_TRUE(Has(FailureOf<ConnectException_t>([&] { Call(silent); }), "closed without an answer"));
    ScriptedPeer cut({"!HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n<e:Envelope"});
    EXPECT_TRUE(Has(FailureOf<ConnectException_t>([&] { Call(cut); }), "The connection to host '127.0.0.1' port"));
    ScriptedPeer nonsense({"!no http\r\n\r\n"});
    EXPECT_THROW(Call(nonsense), ConnectException_t);
    EXPECT_EQ(value, -1);
}

TEST_F(RpcClientTest, AFailedCallLeavesTheClientUsable) {
    ScriptedPeer peer({"!HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n<", kGood});
    EXPECT_THROW(Call(peer), ConnectException_t);
    EXPECT_NO_THROW(Call(peer));
}

TEST_F(RpcClientTest, APeerThatSaysNothingIsGivenUp) {
    configuration.SetAttrValue("REQUEST_TIMEOUT", "1");
    ScriptedPeer peer({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n"});
    EXPECT_TRUE(Has(FailureOf<ConnectException_t>([&] { Call(peer); }), "no answer within 1 seconds"));
}

TEST_F(RpcClientTest, ACallIsGivenUpWhenItsWholeTimeIsOver) {
    configuration.SetAttrValue("CALL_TIMEOUT", "1");
    ScriptedPeer peer({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n", kGood});
    EXPECT_TRUE(Has(FailureOf<ConnectException_t>([&] { Call(peer); }), "no answer within 1 seconds"));
    configuration.ClearAttr("CALL_TIMEOUT");
    EXPECT_NO_THROW(Call(peer));
}

TEST_F(RpcClientTest, ALongRequestArrivesWhole) {
    ScriptedPeer peer({kGood});
    const std::string big(5u << 20, 'b');
    Call("http://localhost:" + std::to_string(peer.Port()) + "/", RpcCall::Options(), String_t::FromUtf8(big));
    EXPECT_TRUE(Has(peer.Request(0), "<argument>" + big + "</argument>"));
}

TEST_F(RpcClientTest, ATextThatXmlCannotCarryIsRefusedBeforeAnythingIsSent) {
    ScriptedPeer peer({kGood});
    EXPECT_THROW(Call("http://localhost:" + std::to_string(peer.Port()) + "/", RpcCall::Options(), String_t(u"\x01")),
                 LumPalMsg::IllegalArgumentError_t);
    EXPECT_EQ(peer.Connections(), 0);
}

TEST_F(RpcClientTest, AddressesThatCannotBeCalledAreRefused) {
    for (const char* address : {"ftp://localhost/", "file:///etc/passwd", "http://local host/", "http://a\r\nX: y/",
                                "http://localhost/a b", "http://user@localhost/", "http://a\\b/", "http:///x"}) {
        EXPECT_THROW(Call(address), LumPalMsg::IllegalArgumentError_t) << address;
    }
}

TEST_F(RpcClientTest, OnlyUtf8Travels) {
    RpcCall call = RpcClient(configuration, messenger).CreateCall(URI_t("http://localhost:1/"), RpcCall::Options());
    call.SetMethod("m");
    EXPECT_THROW(call.Invoke(0, nullptr, "ISO-8859-1"), LumPalMsg::IllegalArgumentError_t);
    EXPECT_THROW(call.Invoke(0, nullptr, nullptr), LumPalMsg::IllegalArgumentError_t);
}

TEST_F(RpcClientTest, OnThePlainRoadATargetIdIsThisNodesOwn) {
    std::filesystem::create_directories(root.Native() + "/etc");
    WriteText(root.Native() + "/etc/local.secret", "one that proves nothing");
    ScriptedPeer peer({kGood});
    const std::string address = "http://localhost:" + std::to_string(peer.Port()) + "/";
    const RpcCall::Options options = RpcCall::Options().SetTargetID("node-2");
    EXPECT_NO_THROW(Call(address, options)) << "a node without an id matches everything";
    Configure("sec.core", "CORE_ID", "node-1");
    EXPECT_TRUE(Has(FailureOf<ConnectException_t>([&] { Call(address, options); }),
                    "the node there is not 'node-2' but 'node-1'"));
    EXPECT_EQ(peer.RequestCount(), 1u);
    EXPECT_NO_THROW(Call(address, RpcCall::Options().SetTargetID("node-1")));
}

TEST_F(RpcClientTest, AClientWithoutAMessengerCallsAllTheSame) {
    ScriptedPeer peer({kGood});
    messenger = LumVoxMsg::Messenger();
    EXPECT_NO_THROW(Call(peer));
}
