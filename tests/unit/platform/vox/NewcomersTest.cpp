// Connections whose peers have not said who they are yet, beside as many strangers as there may be.
#include <gtest/gtest.h>

#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <vector>

#include "EchoServer.h"
#include "RawHttp.h"

using LumVoxMsg::HttpLimits;
using namespace std::chrono_literals;

namespace {

const std::string kProof = "Authorization: somebody\r\n";
const std::string kHalfAHeader = "POST /echo HTTP/1.1\r\nHost: a\r\nX: ";
const std::string kHalfARequest =
    "POST /echo HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 10\r\n\r\n";

/// Of sixteen connections twelve are for callers without an id; ten of these may be at work, and two are kept for
/// newcomers. Nobody's time ends.
class NewcomersTest : public testing::Test {
protected:
    static HttpLimits Limits() {
        HttpLimits limits;
        limits.connections = 16;
        limits.headerTime = limits.bodyTime = 600s;
        return limits;
    }
    RawHttp& Connect() { return connections.emplace_back(server.GetPort()); }
    /// @return the status of what the server answers to a header whose body is still to come
    int BeginRequest() {
        RawHttp& stranger = Connect();
        stranger.Send(kHalfARequest);
        return stranger.Receive().status;
    }
    /// Ten strangers are in the first second of their requests, and their places are to be had by nobody.
    void PutStrangersToWork() {
        for (int i = 0; i < 10; ++i) ASSERT_EQ(BeginRequest(), 100) << i;
    }
    int AskAnew() { return RawHttp(server.GetPort()).Exchange(PostOf("/echo", "a", kProof)).status; }

    EchoServer server{Limits()};
    std::deque<RawHttp> connections;
};

TEST_F(NewcomersTest, AProvenCallerConnectsHoweverManyStrangersAreInTheirFirstSecond) {
    PutStrangersToWork();
    for (int i = 0; i < 20; ++i) {
        Connect();
        Connect().Send(kHalfAHeader);
        EXPECT_EQ(AskAnew(), 200) << i;
    }
    EXPECT_LE(server.server.GetConnectionCount(), 16u);
}

TEST_F(NewcomersTest, AStrangerTooManyIsRefusedWithHisFirstRequest) {
    PutStrangersToWork();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(BeginRequest(), 503);
        EXPECT_TRUE(connections.back().IsClosed());
    }
    EXPECT_EQ(AskAnew(), 200);
}

TEST_F(NewcomersTest, OneWhoOnlyAsksForAChallengeTakesNoStrangersPlace) {
    PutStrangersToWork();
    RawHttp caller(server.GetPort());
    EXPECT_EQ(caller.Exchange(PostOf("/elsewhere", "")).status, 404) << "refused before anything of it is taken";
    EXPECT_EQ(caller.Exchange(PostOf("/echo", "a", kProof)).status, 200);
}

TEST_F(NewcomersTest, WhoComesMayBeSlowAsLongAsFewComeAfterHim) {
    PutStrangersToWork();
    for (int i = 0; i < 5; ++i) Connect().Send(kHalfAHeader);
    RawHttp proven(server.GetPort());
    proven.Send("POST /echo HTTP/1.1\r\n" + kProof);
    Connect().Send(kHalfAHeader);
    proven.Send("Host: a\r\nContent-Length: 1\r\n\r\na");
    EXPECT_EQ(proven.Receive().status, 200);
}

TEST_F(NewcomersTest, AnIdleStrangerMakesRoomForAnothersRequest) {
    RawHttp idle(server.GetPort());
    EXPECT_EQ(idle.Exchange(PostOf("/echo", "a")).status, 200);
    for (int i = 0; i < 9; ++i) ASSERT_EQ(BeginRequest(), 100) << i;
    EXPECT_EQ(BeginRequest(), 100);
    EXPECT_TRUE(idle.IsClosed());
    EXPECT_EQ(BeginRequest(), 503) << "all others are at work";
}

TEST_F(NewcomersTest, ProvenCallersWhoFillTheNodeLetOthersSayWhoTheyAre) {
    for (int i = 0; i < 16; ++i) EXPECT_EQ(Connect().Exchange(PostOf("/echo", "a", kProof)).status, 200) << i;
    RawHttp first(server.GetPort());
    first.Send("POST /echo HTTP/1.1\r\n" + kProof);
    RawHttp second(server.GetPort());
    EXPECT_EQ(second.Exchange(PostOf("/echo", "a", kProof)).status, 200);
    first.Send("Host: a\r\nContent-Length: 1\r\n\r\na");
    EXPECT_EQ(first.Receive().status, 200) << "an idle one made room, not the one who had just come";
}

TEST_F(NewcomersTest, ARequestThatIsServedKeepsItsPlaceWhoeverComes) {
    std::mutex mutex;
    std::vector<LumVoxMsg::HttpReply> replies;
    std::promise<void> all;
    server.onServe = [&](LumVoxMsg::HttpRequest&, LumVoxMsg::HttpReply reply) {
        const std::lock_guard lock(mutex);
        replies.push_back(std::move(reply));
        if (replies.size() == 10) all.set_value();
    };
    for (int i = 0; i < 10; ++i) Connect().Send(PostOf("/echo", "a"));
    all.get_future().get();
    for (int i = 0; i < 100; ++i) RawHttp(server.GetPort()).Send(kHalfAHeader);
    for (auto& reply : replies) reply({200, {}, {}, LumVoxMsg::MakeBlocks("done")});
    replies.clear();
    for (int i = 0; i < 10; ++i) EXPECT_EQ(connections[i].Receive().body, "done") << i;
}

}  // namespace
