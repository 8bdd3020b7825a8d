#include <gtest/gtest.h>

#include <thread>

#include "LumSecCore.h"
#include "LumVoxRpc.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TestRevocations.h"

using namespace LumVoxRpc;
using namespace LumVoxSoap;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;

namespace {

/// Answers with the sender's id.
class WhoHandler : public RpcServerHandler {
public:
    void Process(RpcServerCall& call) override {
        SOAPArgUnicodeString text("text", String_t());
        SOAPArg* const arguments[] = {&text};
        call.ReadRequest(1, arguments);
        SOAPArgUnicodeString who("who", String_t::FromUtf8(call.GetOriginatorID()));
        SOAPArg* const results[] = {&who, &text};
        RpcServerResponse response = call.CreateResponse();
        response.SetArgs(2, results);
        response.SendResponse("UTF-8");
    }
    void CallStarted() override {}
    void CallFinished() override {}
};

/// A node that serves TLS under its own root, and a client with another root.
struct RpcTlsTest : testing::Test {
    static LumPalConfig::Configuration_t ServerConfiguration() {
        LumPalConfig::Configuration_t made{String_t("vox.http.ext.conf")};
        made.SetAttrValue("SERVER_PORT", "0");
        return made;
    }
    TestAuthority authority{"authority"};
    WhoHandler handler;
    TempRoot serverRoot;
    LumPalConfig::Configuration_t configuration = ServerConfiguration();
    RpcServer server{configuration, RpcServer::Options().SetBasePath("/voxrpcserver")};
    LumVoxMsg::Messenger node{configuration,
                              LumVoxMsg::Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/node")};
    LumVoxMsg::Messenger messenger{configuration, LumVoxMsg::Messenger::Options().SendOnly(true)};
    std::unique_ptr<TempRoot> clientRoot;

    /// The server's node bears "node-1" and trusts the authority; the client begins with nothing.
    void Serve(const TestIdentity& identity) {
        InstallIdentity("node-1", identity);
        InstallTrust("authority", authority.Certificate());
        server.Register("who", handler);
        node.Register(server, true, 1);
        clientRoot = std::make_unique<TempRoot>();
    }
    ~RpcTlsTest() override { node.Close(); }

    String_t Who(const char* host = "localhost", const String_t& targetId = String_t(), const String_t& sent = "x") {
        const std::string address = std::string("https://") + host + ":" + std::to_string(node.GetPort());
        RpcCall call = RpcClient(configuration, messenger)
                           .CreateCall(LumPalNet::URI_t(String_t::FromUtf8(address + "/node/voxrpcserver")),
                                       RpcCall::Options().SetTargetID(targetId));
        SOAPArgUnicodeString argument("text", sent);
        SOAPArg* const arguments[] = {&argument};
        call.SetMethod("who");
        call.SetArgs(1, arguments);
        String_t who("nobody"), back;
        SOAPArgUnicodeString whoArg("who", &who), textArg("text", &back);
        SOAPArg* const results[] = {&whoArg, &textArg};
        call.Invoke(2, results, "UTF-8");
        EXPECT_EQ(back, sent);
        return who;
    }
    std::string FailureOf(const char* host = "localhost", const String_t& targetId = String_t()) {
        try {
            Who(host, targetId);
        } catch (const ConnectException_t& failure) {
            return failure.GetMessageList().GetMessage(0).GetMessageText().ToUtf8();
        }
        return "was answered";
    }
};

class RpcTlsOfNoAuthority : public RpcTlsTest, public testing::WithParamInterface<TestAuthorityKind> {};

const char* const kNames = "DNS:localhost,IP:127.0.0.1";

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

TEST_F(RpcTlsTest, TheSenderIsTheCommonNameOfTheClientsCertificate) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    InstallIdentity("node-2", authority.Issue("node-2", kNames));
    EXPECT_EQ(Who(), "node-2");
    EXPECT_EQ(Who("127.0.0.1"), "node-2");
}

TEST_F(RpcTlsTest, AClientThatOnlyTrustsIsNobody) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    EXPECT_EQ(Who(), "");
}

TEST_F(RpcTlsTest, WithoutTrustedCertificatesNobodyIsTrusted) {
    Serve(authority.Issue("node-1", kNames));
    EXPECT_TRUE(Has(FailureOf(), "no trusted certificate is installed"));
    InstallTrust("empty", "");
    EXPECT_TRUE(Has(FailureOf(), "no trusted certificate is installed"));
}

TEST_F(RpcTlsTest, ANodeOfAnotherAuthorityIsRefused) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("other", TestAuthority("other").Certificate());
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused")) << FailureOf();
}

TEST_P(RpcTlsOfNoAuthority, ANodeIsRefusedUnlessItsOwnCertificateIsTrusted) {
    const TestAuthority trusted("trusted", GetParam());
    const TestIdentity issued = trusted.Issue("node-1", kNames);
    Serve(issued);
    InstallTrust("trusted", trusted.Certificate());
    EXPECT_TRUE(Has(FailureOf(), "is trusted, but only for itself: it is no authority (invalid CA certificate)."))
        << FailureOf();
    InstallTrust("node-1", issued.certificate);
    EXPECT_NO_THROW(Who());
}

INSTANTIATE_TEST_SUITE_P(EachKind, RpcTlsOfNoAuthority, testing::ValuesIn(kNoAuthorities));

TEST_F(RpcTlsTest, ANodeWhoseCertificateIsRevokedIsRefusedAlsoOverAConnectionThatWasKept) {
    const TestIdentity node1 = authority.Issue("node-1", kNames);
    Serve(node1);
    InstallTrust("authority", authority.Certificate());
    EXPECT_EQ(Who(), "");
    Revoke({authority.Issue("node-1", kNames).certificate});
    EXPECT_EQ(Who(), "");
    Revoke({node1.certificate});
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused: it was revoked (certificate revoked)"))
        << FailureOf();
    Revoke({});
    EXPECT_EQ(Who(), "");
    Revoke({authority.Certificate()});
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused: it was revoked (certificate revoked)"))
        << FailureOf();
}

TEST_F(RpcTlsTest, NobodyIsCalledWhileNobodyCanTellWhoIsRevoked) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    WriteKeyStore("revoked.list", "end 1\n");
    try {
        Who();
        ADD_FAILURE() << "was answered";
    } catch (const LumSecCore::KeyStoreException& e) {
        EXPECT_TRUE(Has(e.what(), "revoked.list' is broken in line 1: the number of lines is another.")) << e.what();
    }
}

TEST_F(RpcTlsTest, ANodeWhoseCertificateHasEndedIsRefused) {
    Serve(authority.Issue("node-1", kNames, -1));
    InstallTrust("authority", authority.Certificate());
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused")) << FailureOf();
}

TEST_F(RpcTlsTest, ANodeWhoseCertificateNamesAnotherHostIsRefused) {
    Serve(authority.Issue("node-1", "DNS:elsewhere"));
    InstallTrust("authority", authority.Certificate());
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused")) << FailureOf();
    EXPECT_TRUE(Has(FailureOf("127.0.0.1"), "the certificate of the host was refused"));
}

TEST_F(RpcTlsTest, ACertificateForClientsAloneIsNoNodes) {
    Serve(authority.IssueOnlyFor("clientAuth", "node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused")) << FailureOf();
}

TEST_F(RpcTlsTest, ACommonNameIsNoNameOfAHost) {
    Serve(authority.Issue("localhost", ""));
    InstallTrust("authority", authority.Certificate());
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused: it names no host")) << FailureOf();
}

TEST_F(RpcTlsTest, ACommonNameIsNoNameOfAHostBesideNamesOfOtherKinds) {
    Serve(authority.Issue("localhost", "email:localhost@localhost,URI:https://localhost/"));
    InstallTrust("authority", authority.Certificate());
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused: it names no host")) << FailureOf();
}

TEST_F(RpcTlsTest, ATargetIdIsHeldAgainstThePeersCertificate) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    EXPECT_NO_THROW(Who("localhost", "node-1"));
    EXPECT_TRUE(Has(FailureOf("localhost", "node-9"), "the node there is not 'node-9' but 'node-1'"));
    EXPECT_NO_THROW(Who("localhost"));
    EXPECT_TRUE(Has(FailureOf("localhost", "node-9"), "not 'node-9'")) << "a kept connection must not help";
}

TEST_F(RpcTlsTest, ATargetIdDoesNotReplaceTheTestOfHostAndAuthority) {
    Serve(authority.Issue("node-1", "DNS:elsewhere"));
    InstallTrust("authority", authority.Certificate());
    EXPECT_TRUE(Has(FailureOf("localhost", "node-1"), "the certificate of the host was refused"));
    InstallTrust("authority", TestAuthority("authority").Certificate());
    EXPECT_TRUE(Has(FailureOf("localhost", "node-1"), "the certificate of the host was refused"));
}

TEST_F(RpcTlsTest, TrustThatWasTakenBackCountsForTheNextCall) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    EXPECT_NO_THROW(Who());
    InstallTrust("authority", TestAuthority("other").Certificate());
    EXPECT_TRUE(Has(FailureOf(), "the certificate of the host was refused"));
}

TEST_F(RpcTlsTest, AClientWhoseCertificateTheNodeRefusesIsTold) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    InstallIdentity("node-2", TestAuthority("other").Issue("node-2", kNames));
    EXPECT_NE(FailureOf(), "was answered");
}

TEST_F(RpcTlsTest, AMissingKeyOfAnInstalledCertificateIsNamed) {
    Serve(authority.Issue("node-1", kNames));
    InstallIdentity("node-2", authority.Issue("node-2", kNames));
    LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc, "keystore") + "own/node-2.key").Delete();
    EXPECT_THROW(Who(), LumSecCore::KeyStoreException);
}

TEST_F(RpcTlsTest, PlainHttpToATlsPortFails) {
    Serve(authority.Issue("node-1", kNames));
    const std::string address = "http://localhost:" + std::to_string(node.GetPort()) + "/node/voxrpcserver";
    RpcCall call = RpcClient(configuration, messenger)
                       .CreateCall(LumPalNet::URI_t(String_t::FromUtf8(address)), RpcCall::Options());
    call.SetMethod("who");
    EXPECT_THROW(call.Invoke(0, nullptr, "UTF-8"), LumPalMsg::RuntimeException_t);
}

TEST_F(RpcTlsTest, ManyThreadsCallThroughOneMessenger) {
    Serve(authority.Issue("node-1", kNames));
    InstallTrust("authority", authority.Certificate());
    InstallIdentity("node-2", authority.Issue("node-2", kNames));
    std::vector<std::thread> threads;
    std::atomic<int> good{0};
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 25; ++i) good += Who("localhost", "", LumPalStr::NumToStr(1000 * t + i)) == "node-2";
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(good, 200);
}
