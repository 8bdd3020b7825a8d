// Triggers on their way to components.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "ControlTest.h"
#include "Frame.h"
#include "LocalSocket.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"
#include "Notify.h"

using namespace LumCtrl;
using LumPalStr::String_t;

TEST_F(ControlTest, ATriggerGoesOverTheSocketWithEventAndValue) {
    service.Start();
    const String_t odd(u" \u00e4\U0001F600\n%1 ");
    Consumer consumer("c", "CHECK_POLICY:*", 1);
    Control::Notify("CHECK_POLICY:x", odd, "", synchronous);
    consumer.Join();
    EXPECT_EQ(consumer.seen, std::vector<std::string>{(String_t("CHECK_POLICY:x=") + odd).ToUtf8()});
}

TEST_F(ControlTest, FirstReachesTheConsumerBeforeCheckThoughOnlyCheckIsWaitedFor) {
    service.Start();
    Consumer consumer("c", all, 40);
    std::vector<std::string> expected;
    for (int i = 0; i < 20; ++i) {
        const String_t number = LumPalStr::NumToStr(i);
        Control::Notify("FIRST", number, "", asynchronous);
        Control::Notify("CHECK", number, "", synchronous);
        expected.push_back(("FIRST=" + number).ToUtf8());
        expected.push_back(("CHECK=" + number).ToUtf8());
    }
    consumer.Join();
    EXPECT_EQ(consumer.seen, expected);
}

TEST_F(ControlTest, AnAsynchronousTriggerDoesNotWaitForTheComponent) {
    service.Start();
    Component component("c", &all, 1);
    Control::Notify("A", "", "", asynchronous);
    Control::Notify("B", "", "", asynchronous);
    ASSERT_TRUE(component.Next(event, value, kLongMs));
    EXPECT_EQ(event, "A");
    EXPECT_FALSE(component.Next(event, value, 0)) << "B comes before A was acknowledged";
    component.Acknowledge();
    ASSERT_TRUE(component.Next(event, value, kLongMs));
    EXPECT_EQ(event, "B");
}

TEST_F(ControlTest, NobodyForTheEventAndNobodyOfTheNameAreToldApart) {
    service.Start();
    Component component("c", &all, 1);
    const String_t one("E");
    Component picky("picky", &one, 1);
    EXPECT_THROW(Control::Notify("E", "", "nobody", asynchronous), TargetException);
    EXPECT_THROW(Control::Notify("F", "", "picky", asynchronous), EventException);
    EXPECT_EQ(TextOf([&] { Control::Notify("E", "", "nob%1dy", synchronous); }),
              "No component 'nob%1dy' is registered.");
}

TEST_F(ControlTest, WithoutComponentsEveryTriggerFails) {
    service.Start();
    EXPECT_THROW(Control::Notify("E", "", "", asynchronous), EventException);
    EXPECT_EQ(TextOf([&] { Control::Notify("E", "", "", synchronous); }),
              "No component is registered for the event 'E'.");
}

TEST_F(ControlTest, TheTargetIdIsThisNodeOrRefused) {
    service.Start();
    Component component("c", &all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "", "", Control::Options(asynchronous).SetTargetID("any")));
    SetAttr("sec.core", "CORE_ID", "node-1");
    EXPECT_NO_THROW(Control::Notify("E", "", "", Control::Options(asynchronous).SetTargetID("node-1")));
    EXPECT_NO_THROW(Control::Notify("E", "", "", asynchronous));
    EXPECT_THROW(Control::Notify("E", "", "", Control::Options(asynchronous).SetTargetID("node-2")), TargetException);
}

TEST_F(ControlTest, AComponentThatDoesNotAcknowledgeInTimeIsNamed) {
    service.Start();
    Component component("sleeper", &all, 1);
    EXPECT_EQ(TextOf([&] { NotifyWithin("E", "", "", synchronous, 1); }),
              "The trigger was not acknowledged: 'sleeper' did not acknowledge in time.");
    ASSERT_TRUE(component.Next(event, value, kLongMs)) << "a late trigger still arrives";
}

TEST_F(ControlTest, AServiceThatSaysNothingIsWaitedForAsLongAsTheCallerSays) {
    LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Spool)).Mkdirs();
    const Descriptor silent = ListenAt(SocketPath());
    EXPECT_THROW(Component("c", &all, 1, 1), LumPalIo::IOException_t);
    EXPECT_EQ(TextOf([&] { Control::Notify("E", "", "", Control::Options().SetTimeout(1)); }),
              "The control service does not answer.");
}

TEST_F(ControlTest, ATimeoutOfTheCallerGoesBeforeThatOfTheNode) {
    service.Start();
    Component component("sleeper", &all, 1);
    EXPECT_THROW(Control::Notify("E", "", "", Control::Options().SetTimeout(1)), ControlException);
    EXPECT_NO_THROW(Control::Notify("E", "", "", Control::Options(asynchronous).SetTimeout(kLongMs)));
}

TEST_F(ControlTest, AComponentThatGoesWhileATriggerWaitsIsNamed) {
    service.Start();
    auto component = std::make_unique<Component>("leaver", &all, 1);
    std::string text;
    std::thread notifier([&] { text = TextOf([&] { NotifyWithin("E", "", "", synchronous, kLongMs); }); });
    ASSERT_TRUE(component->Next(event, value, kLongMs));
    component.reset();
    notifier.join();
    EXPECT_EQ(text, "The trigger was not acknowledged: 'leaver' went away before it acknowledged.");
}

TEST_F(ControlTest, StoppingEndsATriggerThatWaits) {
    service.Start();
    Component component("c", &all, 1);
    std::atomic<bool> raised{false};
    std::thread notifier([&] {
        try {
            NotifyWithin("E", "", "", synchronous, kLongMs);
        } catch (const ControlException&) {
            raised = true;
        }
    });
    ASSERT_TRUE(component.Next(event, value, kLongMs));
    service.Stop();
    notifier.join();
    EXPECT_TRUE(raised);
    EXPECT_THROW(component.Next(event, value, kLongMs), LumPalIo::EOFException_t);
    service.Stop();
}

TEST_F(ControlTest, ANodeThatEndsLetsNoneOfEightTriggersWaitForAComponentThatNeverAcknowledges) {
    service.Start();
    Component component("c", &all, 1);
    std::atomic<int> ended{0};
    std::vector<std::string> texts(8);
    std::vector<std::thread> notifiers;
    for (std::string& text : texts) {
        notifiers.emplace_back([&] {
            text = TextOf([&] { NotifyWithin("E", "", "", synchronous, kLongMs); });
            ++ended;
        });
    }
    ASSERT_TRUE(component.Next(event, value, kLongMs));
    EXPECT_EQ(ended, 0);
    service.StopWaiting();
    for (std::thread& notifier : notifiers) notifier.join();
    for (const std::string& text : texts)
        EXPECT_EQ(text, "The trigger was not acknowledged: 'c' had not acknowledged when the node was stopped.");
    EXPECT_THROW(NotifyWithin("F", "", "", synchronous, kLongMs), ControlException) << "this one came later";
    EXPECT_NO_THROW(Control::Notify("G", "", "", asynchronous));
    EXPECT_THROW(Control::Notify("G", "", "nobody", asynchronous), TargetException);
}

TEST_F(ControlTest, AServiceThatWaitedForNothingAnyMoreWaitsAgainWhenItIsStartedAgain) {
    service.StopWaiting();
    for (int i = 0; i < 2; ++i) {
        service.Start();
        {
            Consumer consumer("c", all, 1);
            EXPECT_NO_THROW(NotifyWithin("E", "", "", synchronous, kLongMs));
        }
        service.StopWaiting();
        service.StopWaiting();
        service.Stop();
        service.StopWaiting();
    }
}

TEST_F(ControlTest, WithoutAServiceNobodyCanBeReached) {
    EXPECT_THROW(Control::Notify("E", "", "", asynchronous), LumPalIo::IOException_t);
    EXPECT_THROW(Component("c", &all, 1), LumPalIo::IOException_t);
    service.Start();
    service.Stop();
    EXPECT_THROW(Control::Notify("E", "", "", asynchronous), LumPalIo::IOException_t);
}

TEST_F(ControlTest, ATakenNameIsRefusedUntilItIsFree) {
    service.Start();
    auto first = std::make_unique<Component>("c", &all, 1);
    EXPECT_EQ(TextOf([&] { Component("c", &all, 1); }),
              "The component 'c' cannot be registered: a component 'c' is registered already.");
    for (int i = 0; i < 50; ++i) {
        first.reset();
        first = std::make_unique<Component>("c", &all, 1);
    }
}

TEST_F(ControlTest, AComponentNeedsANameAndEvents) {
    service.Start();
    EXPECT_THROW(Component("", &all, 1), LumPalIo::IOException_t);
    EXPECT_THROW(Component("a\nb", &all, 1), LumPalIo::IOException_t);
    EXPECT_THROW(Component("c", &all, 0), LumPalMsg::IllegalArgumentError_t);
}

TEST_F(ControlTest, ThereIsNothingToAcknowledgeBeforeATriggerAndAfterItsAcknowledgement) {
    service.Start();
    Component component("c", &all, 1);
    EXPECT_THROW(component.Acknowledge(), LumPalMsg::IllegalStateError_t);
    Control::Notify("E", "", "", asynchronous);
    ASSERT_TRUE(component.Next(event, value, kLongMs));
    component.Acknowledge();
    EXPECT_THROW(component.Acknowledge(), LumPalMsg::IllegalStateError_t);
}
TEST_F(ControlTest, ManyNotifiersAtATimeLoseNothing) {
    service.Start();
    constexpr int kThreads = 8, kEach = 50;
    Consumer one("one", all, kThreads * kEach), two("two", all, kThreads * kEach);
    std::vector<std::thread> notifiers;
    for (int t = 0; t < kThreads; ++t) {
        notifiers.emplace_back([&, t] {
            for (int i = 0; i < kEach; ++i) {
                Control::Notify(LumPalStr::NumToStr(t), LumPalStr::NumToStr(i), "", i % 2 ? synchronous : asynchronous);
            }
        });
    }
    for (std::thread& notifier : notifiers) notifier.join();
    one.Join(), two.Join();
    EXPECT_EQ(one.seen, two.seen) << "both queues have one order";
    for (int t = 0; t < kThreads; ++t) {
        int next = 0;
        for (const std::string& line : one.seen) {
            const std::string mine = std::to_string(t) + "=";
            if (line.compare(0, mine.size(), mine) != 0) continue;
            EXPECT_EQ(line, mine + std::to_string(next++));
        }
        EXPECT_EQ(next, kEach);
    }
}

TEST_F(ControlTest, AConsumerMayNotifyWhileATriggerWaitsForIt) {
    service.Start();
    const String_t inner("INNER");
    Consumer other("other", inner, 1);
    const String_t outer("OUTER");
    Component component("c", &outer, 1);
    std::thread notifier([&] { EXPECT_NO_THROW(NotifyWithin("OUTER", "", "", synchronous, kLongMs)); });
    ASSERT_TRUE(component.Next(event, value, kLongMs));
    EXPECT_NO_THROW(Control::Notify("INNER", "", "", synchronous));
    component.Acknowledge();
    notifier.join();
}

TEST_F(ControlTest, AValueOfMegabytesArrivesWhole) {
    service.Start();
    Consumer consumer("c", all, 1);
    const std::string big(8u << 20, 'x');
    Control::Notify("E", String_t::FromUtf8(big), "", synchronous);
    consumer.Join();
    ASSERT_EQ(consumer.seen.size(), 1u);
    EXPECT_EQ(consumer.seen[0].size(), big.size() + 2);
}

TEST_F(ControlTest, ATriggerThatIsTooLongIsRefusedBeforeItIsSent) {
    service.Start();
    Component component("c", &all, 1);
    const String_t big = String_t::FromUtf8(std::string(FrameBuffer::kLongestFrame, 'x'));
    EXPECT_EQ(TextOf([&] { Control::Notify("E", big, "", asynchronous); }), "The trigger is too long.");
    EXPECT_FALSE(component.Next(event, value, 0));
}

TEST_F(ControlTest, TheLimitComesFromTheConfiguration) {
    EXPECT_EQ(AcknowledgeLimitMs(), 30000u);
    for (const auto& [text, milliseconds] :
         {std::pair("1", 1000u), {"7", 7000u}, {"0", 30000u}, {"-1", 30000u}, {"x", 30000u}, {"3601", 3600000u}}) {
        SetAttr("conf.core", "CONTROL_ACK_TIMEOUT", text);
        EXPECT_EQ(AcknowledgeLimitMs(), milliseconds) << text;
    }
}
