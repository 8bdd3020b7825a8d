#include "Hub.h"

#include <gtest/gtest.h>

#include <map>

using namespace LumCtrl;
using std::chrono::milliseconds;

namespace {

/// A hub with a wire that only remembers, and a clock that the test owns.
class HubTest : public testing::Test, private Hub::Wire {
protected:
    void Register(Hub::Peer peer, const std::string& name, std::vector<std::string> events) {
        events.insert(events.begin(), name);
        hub.Take(peer, Frame{FrameKind::Register, 0, std::move(events)}, now);
    }
    void Trigger(Hub::Peer peer, std::uint32_t limitMs, const std::string& event, const std::string& value = "",
                 const std::string& target = "") {
        hub.Take(peer, Frame{FrameKind::Trigger, limitMs, {event, value, target}}, now);
    }
    /// Acknowledges what reached the peer last.
    void Acknowledge(Hub::Peer peer) { hub.Take(peer, Frame{FrameKind::Acknowledge, last.at(peer), {}}, now); }
    /// What was sent to the peer since the last question: "K0", "K3 text", "D event value".
    std::string Sent(Hub::Peer peer) { return std::exchange(sent[peer], ""); }
    void Pass(milliseconds time) {
        now += time;
        hub.Tick(now);
    }

    Hub hub{*this};
    Hub::Time now{std::chrono::hours(1)};
    std::vector<Hub::Peer> dropped;
    std::string warnings;

private:
    void Send(Hub::Peer peer, const Frame& frame) override {
        std::string& text = sent[peer];
        if (!text.empty()) text += "; ";
        text += static_cast<char>(frame.kind);
        if (frame.kind == FrameKind::Reply) text += std::to_string(frame.number);
        for (const std::string& part : frame.texts) {
            if (!part.empty()) text += " " + part;
        }
        if (frame.kind == FrameKind::Delivery) last[peer] = frame.number;
    }
    void Drop(Hub::Peer peer) noexcept override { dropped.push_back(peer); }
    void Warn(const std::string& text) override { warnings += text + "\n"; }

    std::map<Hub::Peer, std::string> sent;
    std::map<Hub::Peer, std::uint32_t> last;
};

}  // namespace

TEST_F(HubTest, ATriggerReachesWhoIsRegisteredForIt) {
    Register(1, "exact", {"CHECK_POLICY:a"});
    Register(2, "prefix", {"X", "CHECK_POLICY:*"});
    Register(3, "all", {"*"});
    Register(4, "other", {"CHECK_POLICY:", "CHECK_POLICY:ab", "check_policy:a"});
    for (Hub::Peer peer : {1u, 2u, 3u, 4u}) EXPECT_EQ(Sent(peer), "K0");
    Trigger(9, 0, "CHECK_POLICY:a", "id1 id2");
    EXPECT_EQ(Sent(9), "K0");
    for (Hub::Peer peer : {1u, 2u, 3u}) EXPECT_EQ(Sent(peer), "D CHECK_POLICY:a id1 id2") << peer;
    EXPECT_EQ(Sent(4), "");
}

TEST_F(HubTest, ATargetIsTheOnlyOneToGetIt) {
    Register(1, "a", {"*"});
    Register(2, "b", {"*"});
    Sent(1), Sent(2);
    Trigger(9, 0, "E", "", "b");
    EXPECT_EQ(Sent(1), "");
    EXPECT_EQ(Sent(2), "D E");
}

TEST_F(HubTest, WhatNobodyTakesIsAnsweredByWhyNot) {
    Trigger(9, 0, "E");
    EXPECT_EQ(Sent(9), "K2 E");
    Register(1, "a", {"F"});
    Trigger(9, 1000, "E");
    EXPECT_EQ(Sent(9), "K2 E");
    Trigger(9, 0, "E", "", "b");
    EXPECT_EQ(Sent(9), "K1 b");
    Trigger(9, 0, "E", "", "a");
    EXPECT_EQ(Sent(9), "K2 E");
}

TEST_F(HubTest, ASynchronousTriggerIsAnsweredWhenAllHaveAcknowledged) {
    Register(1, "a", {"*"});
    Register(2, "b", {"*"});
    Trigger(9, 1000, "E");
    Acknowledge(2);
    EXPECT_EQ(Sent(9), "");
    Acknowledge(1);
    EXPECT_EQ(Sent(9), "K0");
    EXPECT_EQ(hub.NextDeadline(), Hub::Time::max());
}

TEST_F(HubTest, OrderIsKeptBetweenTriggersThatWaitAndTriggersThatDoNot) {
    Register(1, "a", {"*"});
    Sent(1);
    Trigger(8, 0, "FIRST");
    Trigger(9, 1000, "CHECK");
    EXPECT_EQ(Sent(1), "D FIRST");
    EXPECT_EQ(Sent(9), "");
    Acknowledge(1);
    EXPECT_EQ(Sent(1), "D CHECK");
    EXPECT_EQ(Sent(9), "");
    Acknowledge(1);
    EXPECT_EQ(Sent(9), "K0");
}

TEST_F(HubTest, ASlowComponentIsNamedWhenTheTimeIsOverAndGetsItsTriggersAllTheSame) {
    Register(1, "slow", {"*"});
    Register(2, "quick", {"*"});
    Trigger(8, 0, "FIRST");
    Trigger(9, 1000, "CHECK");
    Acknowledge(2), Acknowledge(2);
    Pass(milliseconds(999));
    EXPECT_EQ(Sent(9), "");
    Pass(milliseconds(1));
    EXPECT_EQ(Sent(9), "K3 'slow' did not acknowledge in time");
    Sent(1);
    Acknowledge(1);
    EXPECT_EQ(Sent(1), "D CHECK");
    Acknowledge(1);
    EXPECT_EQ(Sent(9), "");
}

TEST_F(HubTest, EachTriggerHasItsOwnDeadline) {
    Register(1, "a", {"*"});
    Trigger(8, 2000, "E");
    Trigger(9, 1000, "E");
    EXPECT_EQ(hub.NextDeadline(), now + milliseconds(1000));
    Pass(milliseconds(1000));
    EXPECT_EQ(Sent(8), "");
    EXPECT_EQ(Sent(9), "K3 'a' did not acknowledge in time");
    EXPECT_EQ(hub.NextDeadline(), now + milliseconds(1000));
}

TEST_F(HubTest, AComponentThatLeavesWhileATriggerWaitsIsNamed) {
    Register(1, "a", {"*"});
    Register(2, "b", {"*"});
    Trigger(9, 1000, "E");
    hub.Gone(1);
    EXPECT_EQ(Sent(9), "");
    Acknowledge(2);
    EXPECT_EQ(Sent(9), "K3 'a' went away before it acknowledged");
    EXPECT_NE(warnings.find("'a' went away: 1 trigger(s) were not acknowledged, the first is 'E'"), std::string::npos);
}

TEST_F(HubTest, AComponentThatLeavesWithNothingToDoIsNotWorthALine) {
    Register(1, "a", {"*"});
    Trigger(9, 0, "E");
    Acknowledge(1);
    hub.Gone(1);
    EXPECT_EQ(warnings, "");
    Trigger(9, 0, "E");
    EXPECT_EQ(Sent(9), "K0; K2 E");
}

TEST_F(HubTest, ANotifierThatLeavesIsNotAnswered) {
    Register(1, "a", {"*"});
    Trigger(9, 1000, "E");
    hub.Gone(9);
    EXPECT_EQ(hub.NextDeadline(), Hub::Time::max());
    Acknowledge(1);
    EXPECT_EQ(Sent(9), "");
}

TEST_F(HubTest, ANameIsTakenOnlyAsLongAsItsComponentLives) {
    Register(1, "a", {"*"});
    Register(2, "a", {"*"});
    EXPECT_EQ(Sent(2), "K4 a component 'a' is registered already");
    hub.Gone(1);
    Register(2, "a", {"*"});
    EXPECT_EQ(Sent(2), "K0");
}

TEST_F(HubTest, NamesAndEventsThatAreNoNamesAreRefused) {
    for (const std::string& bad :
         {std::string(), std::string("a\nb"), std::string("a\0", 2), std::string("\x7F"), std::string(1001, 'x')}) {
        Register(1, bad, {"E"});
        EXPECT_EQ(Sent(1), "K4 a name or an event is empty, too long or holds a control character");
        Register(1, "a", {"E", bad});
        EXPECT_EQ(Sent(1), "K4 a name or an event is empty, too long or holds a control character");
    }
}

TEST_F(HubTest, AFullQueueDropsTheComponentAndTellsEverybodyWhoWaits) {
    Register(1, "dead", {"*"});
    Trigger(8, 1000, "FIRST");
    for (std::size_t i = 1; i < Hub::kMostQueued; ++i) Trigger(7, 0, "E");
    EXPECT_TRUE(dropped.empty());
    Trigger(9, 1000, "LAST");
    EXPECT_EQ(dropped, std::vector<Hub::Peer>{1});
    EXPECT_EQ(Sent(8), "K3 'dead' went away before it acknowledged");
    EXPECT_EQ(Sent(9), "K3 'dead' went away before it acknowledged");
    EXPECT_NE(warnings.find("'dead' is too slow and was dropped: 10001 trigger(s)"), std::string::npos);
}

TEST_F(HubTest, AQueueIsFullByItsBytesToo) {
    Register(1, "dead", {"*"});
    const std::string value(Hub::kMostQueuedBytes / 4, 'x');
    for (int i = 0; i < 3; ++i) Trigger(7, 0, "E", value);
    EXPECT_TRUE(dropped.empty());
    Sent(7);
    Trigger(7, 0, "E", value);
    EXPECT_EQ(dropped, std::vector<Hub::Peer>{1});
    EXPECT_EQ(Sent(7), "K3 'dead' went away before it acknowledged");
}

TEST_F(HubTest, FramesOutOfTurnAreRefused) {
    Register(1, "a", {"*"});
    EXPECT_THROW(Register(1, "b", {"*"}), FrameError);
    EXPECT_THROW(Trigger(1, 0, "E"), FrameError);
    Trigger(9, 1000, "E");
    EXPECT_THROW(Trigger(9, 1000, "E"), FrameError);
    EXPECT_THROW(Register(9, "c", {"*"}), FrameError);
    EXPECT_THROW(hub.Take(2, Frame{FrameKind::Acknowledge, 1, {}}, now), FrameError);
    EXPECT_THROW(hub.Take(1, Frame{FrameKind::Acknowledge, 2, {}}, now), FrameError);
    Acknowledge(1);
    EXPECT_THROW(Acknowledge(1), FrameError);
    EXPECT_THROW(hub.Take(1, Frame{FrameKind::Delivery, 1, {"E", ""}}, now), FrameError);
    EXPECT_THROW(hub.Take(1, Frame{FrameKind::Reply, 1, {""}}, now), FrameError);
}

TEST_F(HubTest, StoppingAnswersWhoWaits) {
    Register(1, "a", {"*"});
    Trigger(9, 1000, "E");
    hub.Stop();
    EXPECT_EQ(Sent(9), "K4 the control service stops");
    EXPECT_EQ(hub.NextDeadline(), Hub::Time::max());
}

TEST_F(HubTest, StoppingNamesTheComponentsThatLeaveTriggersUnacknowledged) {
    Register(1, "done", {"E"});
    Register(2, "silent", {"*"});
    Trigger(9, 0, "E");
    Trigger(9, 0, "F");
    Acknowledge(1);
    hub.Stop();
    EXPECT_EQ(warnings,
              "The control service stops before the component 'silent' is done: 2 trigger(s) were not acknowledged, "
              "the first is 'E'.\n");
}

TEST_F(HubTest, WhenNothingIsToWaitAnyMoreTheTriggersThatWaitAreAnsweredAtOnce) {
    Register(1, "a", {"*"});
    Register(2, "b", {"*"});
    Trigger(8, 60000, "E");
    Trigger(9, 1000, "F");
    Acknowledge(1);
    Sent(8), Sent(9);
    hub.StopWaiting(now);
    Pass(milliseconds(0));
    EXPECT_EQ(Sent(8), "K3 'b' had not acknowledged when the node was stopped");
    EXPECT_EQ(Sent(9), "K3 'a', 'b' had not acknowledged when the node was stopped");
    EXPECT_EQ(hub.NextDeadline(), Hub::Time::max());
}

TEST_F(HubTest, WhenNothingIsToWaitAnyMoreALaterTriggerStillReachesWhoIsFree) {
    Register(1, "free", {"*"});
    hub.StopWaiting(now);
    Sent(1);
    Trigger(8, 60000, "E", "v");
    Trigger(9, 0, "F");
    Pass(milliseconds(0));
    EXPECT_EQ(Sent(1), "D E v");
    EXPECT_EQ(Sent(8), "K3 'free' had not acknowledged when the node was stopped");
    EXPECT_EQ(Sent(9), "K0") << "nobody waits for this one";
    Acknowledge(1);
    EXPECT_EQ(Sent(1), "D F");
}

TEST_F(HubTest, SoManyComponentsAreRefusedThatOthersFindAPlace) {
    for (Hub::Peer peer = 1; peer <= Hub::kMostComponents; ++peer) Register(peer, "c" + std::to_string(peer), {"E"});
    EXPECT_EQ(Sent(Hub::kMostComponents), "K0");
    Register(5000, "one more", {"E"});
    EXPECT_EQ(Sent(5000), "K4 there are too many components");
    EXPECT_TRUE(hub.IsIdle(5000));
    hub.Gone(7);
    Register(5000, "one more", {"E"});
    EXPECT_EQ(Sent(5000), "K0");
}

TEST_F(HubTest, WhoIsNeitherComponentNorWaitingIsIdle) {
    Register(1, "a", {"*"});
    EXPECT_FALSE(hub.IsIdle(1));
    EXPECT_TRUE(hub.IsIdle(9));
    Trigger(9, 1000, "E");
    EXPECT_FALSE(hub.IsIdle(9));
    Acknowledge(1);
    EXPECT_TRUE(hub.IsIdle(9));
}
