#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "LocalSocket.h"
#include "LumCtrl.h"
#include "LumCtrlState.h"
#include "LumPalConfig.h"
#include "LumPalFault.h"
#include "LumPalIo.h"
#include "Notify.h"
#include "TempRoot.h"

using namespace LumCtrl;
using LumPalStr::String_t;

namespace {

constexpr std::uint32_t kLongMs = 60000;

void SetAttr(const char* nameSpace, const char* name, const char* value) {
    LumPalConfig::Configuration_t configuration{String_t(nameSpace)};
    configuration.SetAttrValue(name, value);
    LumPalConfig::ConfigUpdate_t update{String_t()};
    update.SetConfig(configuration);
    update.Apply();
}

/// A component on a thread of its own that acknowledges what comes and remembers it.
class Consumer {
public:
    Consumer(const char* name, const String_t& event, std::size_t count)
        : component(name, &event, 1), thread([this, count] { Run(count); }) {}
    ~Consumer() { Join(); }
    void Join() {
        if (thread.joinable()) thread.join();
    }
    std::vector<std::string> seen;

private:
    void Run(std::size_t count) {
        String_t event, value;
        while (seen.size() < count && component.Next(event, value, kLongMs)) {
            seen.push_back((event + "=" + value).ToUtf8());
            component.Acknowledge();
        }
    }
    Component component;
    std::thread thread;
};

struct ControlTest : testing::Test {
    TempRoot root;
    Service service;
    Control::Options synchronous, asynchronous = Control::Options().SetAsynchronous(true);
    String_t event, value;
    const String_t all{"*"};
};

std::string TextOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const LumPalMsg::Exception_t& failure) {
        return failure.GetMessageList().GetMessage(0).GetMessageText().ToUtf8();
    }
    return "nothing was raised";
}

}  // namespace

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

TEST_F(ControlTest, OnlyOneServiceLivesOnARoot) {
    service.Start();
    EXPECT_THROW(service.Start(), LumPalMsg::IllegalStateError_t);
    Service second;
    EXPECT_THROW(second.Start(), LumPalIo::IOException_t);
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "", "", synchronous)) << "the refused one must not have harmed the first";
    consumer.Join();
    service.Stop();
    EXPECT_NO_THROW(second.Start());
}

TEST_F(ControlTest, AServiceStartsAgainAfterItsStop) {
    for (int i = 0; i < 3; ++i) {
        service.Start();
        EXPECT_TRUE(LumPalIo::File_t(SocketPath()).Exists());
        service.Stop();
        EXPECT_FALSE(LumPalIo::File_t(SocketPath()).Exists());
    }
}

TEST_F(ControlTest, ASocketThatADeadServiceLeftIsRemoved) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    { const Descriptor dead = ListenAt(SocketPath()); }
    ASSERT_TRUE(LumPalIo::File_t(SocketPath()).Exists());
    EXPECT_NO_THROW(service.Start());
}

TEST_F(ControlTest, ASocketThatIsServedIsRefusedEvenWithoutALock) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    const Descriptor other = ListenAt(SocketPath());
    EXPECT_THROW(service.Start(), LumPalIo::IOException_t);
}

TEST_F(ControlTest, AServiceIsThereFromItsStartToItsEndAndIsNotDisturbedByTheQuestion) {
    EXPECT_EQ(IsServiceThere(), false);
    service.Start();
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(IsServiceThere(), true);
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "v", "", synchronous));
    consumer.Join();
    service.Stop();
    EXPECT_EQ(IsServiceThere(), false);
}

TEST_F(ControlTest, WhatAServiceLeftIsNoService) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    { const Descriptor dead = ListenAt(SocketPath()); }
    EXPECT_EQ(IsServiceThere(), false);
    LumPalIo::File_t(SocketPath()).Delete();
    LumPalIo::FileOutputStream_t(SocketPath()).Close();
    EXPECT_EQ(IsServiceThere(), false);
    LumPalRuntime::Dir_t::SetRoot(root.Path() + "/" + std::string(200, 'x').c_str());
    EXPECT_EQ(IsServiceThere(), false);
}

TEST_F(ControlTest, AFileInTheWayIsNotRemoved) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    LumPalIo::FileOutputStream_t(SocketPath()).Close();
    EXPECT_THROW(service.Start(), LumPalIo::IOException_t);
    EXPECT_TRUE(LumPalIo::File_t(SocketPath()).Exists());
}

TEST_F(ControlTest, TheSocketIsForItsOwnerAlone) {
    service.Start();
    struct stat info {};
    ASSERT_EQ(lstat(SocketPath().ToUtf8().c_str(), &info), 0);
    EXPECT_TRUE(S_ISSOCK(info.st_mode));
    EXPECT_EQ(info.st_mode & 07777, 0600u);
}

TEST_F(ControlTest, ARootWhosePathIsLongerThanASocketAddressWorksAllTheSame) {
    String_t deep = root.Path();
    for (int i = 0; i < 10; ++i) deep += "/a-folder-with-quite-a-long-name";
    LumPalRuntime::Dir_t::SetRoot(deep);
    ASSERT_GT(SocketPath().GetLength(), 300u);
    service.Start();
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "v", "", synchronous));
    consumer.Join();
    EXPECT_EQ(consumer.seen, std::vector<std::string>{"E=v"});
    service.Stop();
    EXPECT_FALSE(LumPalIo::File_t(SocketPath()).Exists());
}

TEST_F(ControlTest, AnyNumberOfProgramsThatSayNothingKeepNobodyOut) {
    service.Start();
    std::vector<Descriptor> silent;
    for (int i = 0; i < 1100; ++i) {
        try {
            silent.push_back(ConnectTo(SocketPath()));
        } catch (const LumPalIo::IOException_t&) {
            silent.erase(silent.begin());  // this process has no more descriptors
        }
        if (i % 100 != 99) continue;
        Consumer consumer("c", all, 1);
        EXPECT_NO_THROW(NotifyWithin("E", "", "", synchronous, kLongMs)) << i;
    }
}

TEST_F(ControlTest, WithoutDescriptorsAProgramWaitsUntilThereAreSomeAgain) {
    service.Start();
    static std::atomic<int> left;
    left = 3;
    LumPalIo::SetFaultHookForTest([](const char* operation, const char* path) {
        return std::string_view(operation) == "accept" && std::string_view(path) == "control.sock" && --left >= 0;
    });
    {
        Consumer consumer("c", all, 1);
        EXPECT_LT(left, 0);
        EXPECT_NO_THROW(NotifyWithin("E", "", "", synchronous, kLongMs));
    }
    LumPalIo::SetFaultHookForTest(nullptr);
}

TEST_F(ControlTest, AProgramThatSendsNonsenseIsDroppedAndHarmsNobody) {
    service.Start();
    Consumer consumer("c", all, 1);
    for (const std::string& nonsense :
         {std::string("GET / HTTP/1.1\r\n\r\n"), std::string("\0\0\0\1X", 5), std::string(100000, '\xFF'),
          Frame{FrameKind::Reply, 0, {""}}.Encode(), Frame{FrameKind::Acknowledge, 1, {}}.Encode()}) {
        const Descriptor socket = ConnectTo(SocketPath());
        EXPECT_EQ(send(socket.Get(), nonsense.data(), nonsense.size(), MSG_NOSIGNAL) > 0, true);
        FrameBuffer buffer;
        Frame frame;
        EXPECT_EQ(WaitForFrame(socket, buffer, kLongMs, frame), WaitResult::Ended);
    }
    EXPECT_NO_THROW(Control::Notify("E", "", "", synchronous));
}

TEST_F(ControlTest, ManyHalfFramesAndSilentConnectionsHinderNobody) {
    service.Start();
    std::vector<Descriptor> silent;
    for (int i = 0; i < 200; ++i) {
        silent.push_back(ConnectTo(SocketPath()));
        if (i % 2 != 0) SendAll(silent.back(), std::string("\0\xFF\0\0T", 5));
    }
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "", "", synchronous));
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
