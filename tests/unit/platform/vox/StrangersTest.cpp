#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <future>
#include <thread>
#include <vector>

#include "Configure.h"
#include "LocalSecret.h"
#include "LumVoxRpc.h"
#include "MethodHandler.h"
#include "RawHttp.h"
#include "TempRoot.h"

using namespace LumVoxRpc;

namespace {

const std::string kCall =
    "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><ask/></e:Body></e:Envelope>";

void Answer(RpcServerCall& call) {
    call.ReadRequest(0, nullptr);
    call.CreateResponse().SendResponse("UTF-8");
}

/// A server whose calls of strangers wait until the gate opens; those of the administrator are answered.
class StrangersTest : public testing::TestWithParam<const char*> {
protected:
    StrangersTest() {
        configuration.SetAttrValue("SERVER_PORT", "0");
        configuration.SetAttrValue("WORKER_THREADS", GetParam());
        server = RpcServer(configuration, RpcServer::Options().SetBasePath("/a"));
        server.Register("ask", handler);
        messenger = LumVoxMsg::Messenger(configuration, LumVoxMsg::Messenger::Options());
        messenger.Register(server, true, 1);
    }
    ~StrangersTest() override {
        Open();
        messenger.Close();
    }
    void Open() {
        if (!opened.exchange(true)) gateOpens.set_value();
    }
    void Serve(RpcServerCall& call) {
        if (!call.Authenticated()) {
            ++strangersInside;
            gate.wait();
        }
        Answer(call);
    }
    std::string Post(const std::string& fields) const { return PostOf("/a", kCall, fields); }
    std::string Proof() const { return "Authorization: " + LumVoxMsg::LocalAuthorization() + "\r\n"; }

    TempRoot root;
    LumPalConfig::Configuration_t configuration{LumPalStr::String_t("vox.http.ext.conf")};
    std::promise<void> gateOpens;
    std::shared_future<void> gate = gateOpens.get_future().share();
    std::atomic<bool> opened{false};
    std::atomic<unsigned> strangersInside{0};
    MethodHandler handler{[this](RpcServerCall& call) { Serve(call); }};
    RpcServer server;
    LumVoxMsg::Messenger messenger;
};

TEST_P(StrangersTest, HoweverManyStrangersCallAProvenCallerIsServed) {
    std::deque<RawHttp> strangers;
    for (int i = 0; i < 6; ++i) strangers.emplace_back(messenger.GetPort()).Send(Post(""));
    while (strangersInside == 0) std::this_thread::yield();
    RawHttp proven(messenger.GetPort());
    for (int i = 0; i < 5; ++i) EXPECT_EQ(proven.Exchange(Post(Proof())).status, 200);
    EXPECT_LE(strangersInside, 2u) << "they have a quarter as many threads, and one at least";
    Open();
    for (RawHttp& stranger : strangers) EXPECT_EQ(stranger.Receive().status, 200);
}

TEST_P(StrangersTest, OfTooManyStrangersSomeWaitAndTheOthersAreRefusedAtOnceAndSentAway) {
    constexpr unsigned kStrangers = 60, kMostThatStay = 2 * (1 + 8) + kStrangers / 4;  // some ask at the same moment
    std::atomic<unsigned> refused{0}, served{0}, closed{0};
    std::vector<std::thread> strangers;
    for (unsigned i = 0; i < kStrangers; ++i) {
        strangers.emplace_back([&] {
            RawHttp stranger(messenger.GetPort());
            const int status = stranger.Exchange(Post("")).status;
            closed += status == 503 && stranger.IsClosed();
            ++(status == 503 ? refused : served);
        });
    }
    EXPECT_TRUE(Eventually([&] { return refused >= kStrangers - kMostThatStay; })) << refused;
    EXPECT_EQ(served, 0u);
    RawHttp proven(messenger.GetPort());
    EXPECT_EQ(proven.Exchange(Post(Proof())).status, 200);
    Open();
    for (std::thread& stranger : strangers) stranger.join();
    EXPECT_EQ(refused + served, kStrangers);
    EXPECT_GE(served, 1u);
    EXPECT_EQ(closed, refused);
}

TEST_P(StrangersTest, ASecretThatIsWrongMakesNoProvenCaller) {
    RawHttp stranger(messenger.GetPort());
    stranger.Send(Post("Authorization: LumLocal " + std::string(64, '0') + "\r\n"));
    while (strangersInside == 0) std::this_thread::yield();
    Open();
    EXPECT_EQ(stranger.Receive().status, 200);
}

INSTANTIATE_TEST_SUITE_P(WorkerThreads, StrangersTest, testing::Values("1", "2", "8"),
                         [](const auto& row) { return row.param; });

}  // namespace
