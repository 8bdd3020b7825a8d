// How a client proves the node's local secret, and what it tells whoever holds the node's port.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DigestText.h"
#include "Files.h"
#include "LocalDigest.h"
#include "LocalSecret.h"
#include "LumVoxRpc.h"
#include "ScriptedPeer.h"
#include "TempRoot.h"

using namespace LumVoxRpc;
using namespace LumVoxSoap;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;
using LumVoxMsg::DigestParameters;
using LumVoxMsg::LocalDigest;

namespace {

constexpr char kPath[] = "/a/voxrpcserver";
const std::string kForeign = "Digest realm=\"lum\", qop=\"auth\", algorithm=SHA-256, nonce=\"0123456789abcdef\"";

std::string Http(const std::string& status, const std::string& body, const std::string& fields = "") {
    return "HTTP/1.1 " + status + "\r\nContent-Type: text/xml\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n" + fields + "\r\n" + body;
}

const std::string kGood = Http("200 OK",
                               "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><r><value>7"
                               "</value></r></e:Body></e:Envelope>");

std::string Asking(const std::string& challenge) {
    return Http("401 Unauthorized", "", "WWW-Authenticate: " + challenge + "\r\n");
}

/// The value of the field Authorization; empty without one.
std::string ProofIn(const std::string& request) {
    const std::string field = "\r\nAuthorization: ";
    const std::size_t at = request.find(field);
    if (at == request.npos) return "";
    const std::size_t begin = at + field.size();
    return request.substr(begin, request.find("\r\n", begin) - begin);
}

std::string BodyOf(const std::string& request) {
    return request.substr(request.find("\r\n\r\n") + 4);
}

struct RpcProof : testing::Test {
    RpcProof() {
        secret.Create();
        digits = LumVoxMsg::LocalSecretDigits();
    }
    ~RpcProof() override { secret.Remove(); }

    int Call(unsigned port, const char* host = "localhost") {
        int value = -1;
        SOAPArgUnicodeString argument("argument", "told to the node alone");
        SOAPArg* const arguments[] = {&argument};
        SOAPArgInt valueArg("value", &value);
        SOAPArg* const results[] = {&valueArg};
        const std::string address = std::string("http://") + host + ":" + std::to_string(port) + kPath;
        RpcCall call = RpcClient(configuration, messenger)
                           .CreateCall(LumPalNet::URI_t(String_t::FromUtf8(address)), RpcCall::Options());
        call.SetMethod("ask");
        call.SetArgs(1, arguments);
        call.Invoke(1, results, "UTF-8");
        return value;
    }
    std::string FailureOf(unsigned port) {
        try {
            Call(port);
        } catch (const ConnectException_t& e) {
            return e.GetMessageList().GetMessage(0).GetMessageText().ToUtf8();
        }
        return "no failure";
    }
    std::string Challenge(unsigned port, bool stale = false) const {
        return LocalDigest(digits, port).Challenge(LumVoxMsg::SharedMicroseconds(), stale);
    }

    TempRoot root;
    LumPalConfig::Configuration_t configuration{String_t("vox.http.ext.conf")};
    LumVoxMsg::Messenger messenger{configuration, LumVoxMsg::Messenger::Options().SendOnly(true)};
    LumVoxMsg::LocalSecret secret;
    std::string digits;
};

}  // namespace

TEST_F(RpcProof, ACallAsksForAChallengeAnswersItAndTheNextOnesOfTheConnectionNeedNone) {
    ScriptedPeer peer([&](unsigned port) { return std::vector{Asking(Challenge(port)), kGood}; });
    LumVoxMsg::LocalDigestGuard guard(LocalDigest(digits, peer.Port()));
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Call(peer.Port(), i % 2 == 0 ? "localhost" : "127.0.0.1"), 7);
    EXPECT_EQ(peer.RequestCount(), 6u) << "one more than calls";
    EXPECT_EQ(peer.Connections(), 1);
    EXPECT_EQ(ProofIn(peer.Request(0)), "");
    EXPECT_EQ(BodyOf(peer.Request(0)), "");
    for (std::size_t i = 1; i <= 5; ++i) {
        const std::string proof = ProofIn(peer.Request(i));
        EXPECT_EQ(guard.Check(proof, "POST", kPath), LumVoxMsg::LocalDigestGuard::Verdict::Proven) << proof;
        EXPECT_NE(BodyOf(peer.Request(i)).find("told to the node alone"), std::string::npos);
    }
    for (std::size_t i = 0; i <= 5; ++i) EXPECT_EQ(peer.Request(i).find(digits), std::string::npos);
}

TEST_F(RpcProof, WhoeverElseHoldsThePortLearnsNothing) {
    const std::string own = Challenge(1);
    const std::vector<std::string> strangers = {
        kGood,
        Asking(kForeign),
        Asking(own),  // passed on from the node, which serves another port
        Asking("Basic realm=\"lum\""),
        Asking("Digest realm=\"lum\", nonce=\"x\""),
        Http("302 Found", "", "Location: http://127.0.0.1:1/\r\n"),
        "HTTP/1.1 007 x\r\nContent-Length: 0\r\n\r\n",
        "HTTP/1.1 100 Continue\r\n\r\n" + kGood,
        "HTTP/1.0 200 OK\r\n\r\n",
        "hello\r\n\r\n",
        "",
    };
    for (const std::string& answer : strangers) {
        ScriptedPeer stranger({answer});
        EXPECT_THROW(Call(stranger.Port()), ConnectException_t) << answer;
        for (std::size_t i = 0; i < stranger.RequestCount(); ++i) {
            EXPECT_EQ(ProofIn(stranger.Request(i)), "") << answer;
            EXPECT_EQ(BodyOf(stranger.Request(i)), "") << answer;
            EXPECT_EQ(stranger.Request(i).find(digits), std::string::npos) << answer;
        }
    }
}

TEST_F(RpcProof, TheFailureSaysThatTheNodeIsNotThere) {
    ScriptedPeer stranger({kGood});
    EXPECT_EQ(FailureOf(stranger.Port()),
              "The connection to host '127.0.0.1' port " + std::to_string(stranger.Port()) +
                  " failed: what answers there does not know this node's local secret; nothing was sent.");
}

TEST_F(RpcProof, AFailureOfANodeThatHasTooMuchToDoIsToldAsItIs) {
    ScriptedPeer peer({Http("503 Service Unavailable", "")});
    try {
        Call(peer.Port());
        FAIL() << "it was answered";
    } catch (const SOAPFormatException& e) {
        EXPECT_NE(e.GetMessageList().GetMessage(0).GetMessageText().ToUtf8().find("503"), std::string::npos);
    }
    EXPECT_EQ(BodyOf(peer.Request(0)), "");
}

TEST_F(RpcProof, AStaleChallengeIsAnsweredAnew) {
    ScriptedPeer peer([&](unsigned port) {
        return std::vector{Asking(Challenge(port)), kGood, Asking(Challenge(port, true)), kGood};
    });
    EXPECT_EQ(Call(peer.Port()), 7);
    EXPECT_EQ(Call(peer.Port()), 7);
    EXPECT_EQ(peer.RequestCount(), 4u);
    EXPECT_NE(DigestParameters::Read(ProofIn(peer.Request(2)))->Get("nonce"),
              DigestParameters::Read(ProofIn(peer.Request(3)))->Get("nonce"));
}

TEST_F(RpcProof, ANewConnectionInThePlaceOfAKeptOneBeginsWithoutProofAndWithoutBody) {
    ScriptedPeer peer([&](unsigned port) {
        return std::vector{Asking(Challenge(port)), "!" + kGood, Asking(Challenge(port)), kGood};
    });
    EXPECT_EQ(Call(peer.Port()), 7);
    EXPECT_EQ(Call(peer.Port()), 7);
    EXPECT_EQ(peer.Connections(), 2);
    ASSERT_EQ(peer.RequestCount(), 4u);
    EXPECT_EQ(ProofIn(peer.Request(2)) + BodyOf(peer.Request(2)), "");
}

TEST_F(RpcProof, AStrangerWhoTakesThePortOfANodeThatWasKilledAndKeptNoChallengeLearnsNothing) {
    ScriptedPeer peer([&](unsigned port) {
        return std::vector{Asking(Challenge(port)), "!" + kGood, Asking(kForeign)};
    });
    EXPECT_EQ(Call(peer.Port()), 7);
    EXPECT_THROW(Call(peer.Port()), ConnectException_t);
    EXPECT_EQ(ProofIn(peer.Request(2)) + BodyOf(peer.Request(2)), "");
}

TEST_F(RpcProof, AWrongSecretIsAskedForOnceMoreAtMost) {
    ScriptedPeer peer([&](unsigned port) { return std::vector{Asking(Challenge(port))}; });
    EXPECT_ANY_THROW(Call(peer.Port()));
    EXPECT_LE(peer.RequestCount(), 3u);
}

TEST_F(RpcProof, NothingIsProvenToAnotherNameOfTheHost) {
    ScriptedPeer peer({kGood});
    for (const char* name : {"127.1", "LOCALHOST"}) {
        try {
            Call(peer.Port(), name);
        } catch (const ConnectException_t&) {
            continue;  // the name leads elsewhere, or nowhere
        }
        EXPECT_EQ(ProofIn(peer.Request(peer.RequestCount() - 1)), "") << name;
    }
}

TEST_F(RpcProof, WhileTheNodeDoesNotServeWhoeverHoldsItsPortReceivesNothing) {
    secret.Remove();
    ScriptedPeer peer({kGood});
    EXPECT_THROW(Call(peer.Port()), LumPalNet::ConnectException_t);
    EXPECT_EQ(peer.RequestCount(), 0u);
}

TEST_F(RpcProof, ASecretThatIsThereAndCannotBeUsedLetsACallGoOutAsItIs) {
    secret.Remove();
    WriteText(LumVoxMsg::LocalSecretFile().ToString().ToUtf8(), "no secret");
    ScriptedPeer peer({kGood});
    EXPECT_EQ(Call(peer.Port()), 7);
    EXPECT_EQ(peer.RequestCount(), 1u);
    EXPECT_EQ(ProofIn(peer.Request(0)), "");
}
