// Memory runs out on the threads that work on calls: that costs the call.
#include <gtest/gtest.h>

#include "FailingMemory.h"
#include "LumVoxRpc.h"
#include "RawHttp.h"
#include "TempRoot.h"

using namespace LumVoxRpc;
using namespace LumVoxSoap;
using LumPalStr::String_t;

namespace {

const char* const kWorker = "LumVox:Worker";
const char* const kPath = "/node/voxrpcserver";

/// Sends a text back, or fails with it.
class EchoHandler : public RpcServerHandler {
public:
    void Process(RpcServerCall& call) override {
        SOAPArgUnicodeString text("text", String_t());
        SOAPArg* const arguments[] = {&text};
        call.ReadRequest(1, arguments);
        if (text.GetValue() == "fail") throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("as asked"));
        SOAPArg* const results[] = {&text};
        RpcServerResponse response = call.CreateResponse();
        response.SetArgs(1, results);
        response.SendResponse("UTF-8");
    }
    void CallStarted() override { ++calls; }
    void CallFinished() override { --calls; }
    std::atomic<int> calls{0};
};

struct RpcMemory : testing::Test {
    static LumPalConfig::Configuration_t OneWorker() {
        LumPalConfig::Configuration_t made{String_t("vox.http.ext.conf")};
        made.SetAttrValue("SERVER_PORT", "0");
        made.SetAttrValue("WORKER_THREADS", "1");
        return made;
    }
    static std::string Call(const std::string& text, const std::string& method = "echo") {
        return PostOf(kPath, "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><" + method +
                                 "><text>" + text + "</text></" + method + "></e:Body></e:Envelope>");
    }
    RawAnswer Ask(const std::string& bytes) { return RawHttp(node.GetPort()).Exchange(bytes); }

    TempRoot root;
    EchoHandler handler;
    LumPalConfig::Configuration_t configuration = OneWorker();
    RpcServer server{configuration, RpcServer::Options().SetBasePath("/voxrpcserver")};
    LumVoxMsg::Messenger node{configuration,
                              LumVoxMsg::Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/node")};
    RpcMemory() {
        server.Register("echo", handler);
        node.Register(server, true, 1);
    }
    ~RpcMemory() override { node.Close(); }
};

}  // namespace

TEST_F(RpcMemory, AWorkerWithoutMemoryAnswersThatTheCallFailed) {
    const std::string rows[] = {Call("well"),
                                Call(std::string(100000, 'x')),
                                Call("fail"),
                                Call("well", "unknown"),
                                PostOf(kPath, "<not><xml"),
                                "GET " + std::string(kPath) + "?wsdl HTTP/1.1\r\nHost: a\r\n\r\n"};
    ASSERT_EQ(Ask(Call("well")).status, 200);
    ForEachAllocation(
        kWorker,
        [&] {
            for (const std::string& row : rows)
                EXPECT_NE(Ask(row).status, 0) << "it must be answered: " << row.substr(0, 60);
        },
        [&] {
            const RawAnswer answer = Ask(Call("well"));
            EXPECT_EQ(answer.status, 200);
            EXPECT_NE(answer.body.find(">well<"), std::string::npos) << answer.body;
            EXPECT_EQ(handler.calls, 0);
        });
}
