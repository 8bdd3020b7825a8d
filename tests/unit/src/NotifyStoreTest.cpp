#include "NotifyStore.h"

#include <gtest/gtest.h>

#include <sstream>

#include "Configure.h"
#include "Consumer.h"
#include "Files.h"
#include "LumCtrl.h"
#include "PolicyWorker.h"
#include "Raised.h"
#include "RecordingSink.h"
#include "TempRoot.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using LumCtrl::ControlException;
using LumPalStr::String_t;

/// A node with its control service, and a store with a worker of its own.
class NotifyStoreTest : public testing::Test {
protected:
    NotifyStoreTest() { service.Start(); }
    ~NotifyStoreTest() override { service.Stop(); }

    /// "install t a" and its like, separated by commas.
    static void Do(NotifyStore& store, const std::string& steps) {
        std::istringstream in(steps);
        for (std::string step; std::getline(in, step, ',');) {
            std::istringstream words(step);
            std::string verb, type, id;
            words >> verb >> type >> id;
            DoOne(store, verb, type.c_str(), id.c_str());
        }
    }
    static void DoOne(NotifyStore& store, const std::string& verb, const char* type, const char* id) {
        if (verb == "install") return store.AddInstall(type, id);
        if (verb == "enable") return store.AddEnable(type, id);
        if (verb == "disable") return store.AddDisable(type, id);
        if (verb == "remove") return store.AddRemove(type, id);
        if (verb == "first") return store.AddFirstPolicy(type);
        if (verb == "last") return store.AddLastPolicy(type);
        if (verb == "send") return store.Send();
        if (verb == "send-status") return store.SendEnableDisable();
        FAIL() << "no such step: " << verb;
    }

    TempRoot root;
    LumCtrl::Service service;
    SinkRecord record;
    LumConfPar::PolicyWorker worker{record.Factory()};
    const JobSink jobs = [this](JobKind kind, const String_t& ids) { worker.InsertJob(kind, ids); };
    NotifyStore store{jobs};
};

const std::initializer_list<const char*> kEveryEvent = {"CHECK_POLICY:*",  "ENABLE_POLICY:*", "DISABLE_POLICY:*",
                                                        "REMOVE_POLICY:*", "FIRST_POLICY:*",  "LAST_POLICY:*"};

struct StepRow {
    const char* what;
    const char* steps;
    const char* heard;
};

class NotifyStoreSteps : public NotifyStoreTest, public testing::WithParamInterface<StepRow> {};

TEST_P(NotifyStoreSteps, ConsumersHearWhatIsLeftOfTheChanges) {
    Consumer consumer("consumer", kEveryEvent);
    Do(store, GetParam().steps);
    EXPECT_EQ(consumer.Heard(), GetParam().heard) << GetParam().what;
}

const StepRow kSteps[] = {
    {"an empty store says nothing", "send,send-status", ""},
    {"each kind has its event", "install a 1,enable b 2,disable c 3,remove d 4,send",
     "CHECK_POLICY:a=1; ENABLE_POLICY:b=2; DISABLE_POLICY:c=3; REMOVE_POLICY:d=4"},
    {"two installs of a type are one trigger", "install t b,install t a,send", "CHECK_POLICY:t=b a"},
    {"two installs of a pair are one entry", "install t a,install t a,send", "CHECK_POLICY:t=a"},
    {"types go out in their order", "install u 1,install t 2,install u 3,send", "CHECK_POLICY:t=2; CHECK_POLICY:u=1 3"},
    {"a remove wins over an install", "install t a,remove t a,send", "REMOVE_POLICY:t=a"},
    {"an install wins over a remove", "remove t a,install t a,send", "CHECK_POLICY:t=a"},
    {"an install wins over an enable", "enable t a,install t a,send", "CHECK_POLICY:t=a"},
    {"an install wins over a disable", "disable t a,install t a,send", "CHECK_POLICY:t=a"},
    {"a remove wins over an enable", "enable t a,remove t a,send", "REMOVE_POLICY:t=a"},
    {"a remove wins over a disable", "disable t a,remove t a,send", "REMOVE_POLICY:t=a"},
    {"an enable beside an install is dropped", "install t a,enable t a,send", "CHECK_POLICY:t=a"},
    {"a disable beside an install is dropped", "install t a,disable t a,send", "CHECK_POLICY:t=a"},
    {"an enable beside a remove is dropped", "remove t a,enable t a,send", "REMOVE_POLICY:t=a"},
    {"a disable beside a remove is dropped", "remove t a,disable t a,send", "REMOVE_POLICY:t=a"},
    {"a disable wins over an enable", "enable t a,disable t a,send", "DISABLE_POLICY:t=a"},
    {"an enable wins over a disable", "disable t a,enable t a,send", "ENABLE_POLICY:t=a"},
    {"another id is another matter", "install t a,enable t b,send", "CHECK_POLICY:t=a; ENABLE_POLICY:t=b"},
    {"another type is another matter", "install t a,remove u a,send", "CHECK_POLICY:t=a; REMOVE_POLICY:u=a"},
    {"a first policy is told before the install", "first t,install t a,send", "FIRST_POLICY:t=; CHECK_POLICY:t=a"},
    {"a last policy is told behind the remove", "last t,remove t a,send", "REMOVE_POLICY:t=a; LAST_POLICY:t="},
    {"a first policy twice is told once", "first t,first t,install t a,send,install t b,send",
     "FIRST_POLICY:t=; CHECK_POLICY:t=a; CHECK_POLICY:t=b"},
    {"a last policy twice is told once", "last t,last t,remove t a,send,remove t b,send",
     "REMOVE_POLICY:t=a; LAST_POLICY:t=; REMOVE_POLICY:t=b"},
    {"a type that lost its last policy and got a new one has neither", "last t,remove t a,first t,install t b,send",
     "CHECK_POLICY:t=b; REMOVE_POLICY:t=a"},
    {"a type that got its first policy and lost it has neither", "first t,install t a,last t,remove t a,send",
     "REMOVE_POLICY:t=a"},
    {"a last policy that was taken back is not told later", "last t,first t,send,remove t a,install t b,send",
     "CHECK_POLICY:t=b; REMOVE_POLICY:t=a"},
    {"a first policy that was taken back is not told later", "first t,last t,send,remove t a,install t b,send",
     "CHECK_POLICY:t=b; REMOVE_POLICY:t=a"},
    {"a first policy takes back a last one that was told twice", "last t,last t,first t,remove t a,install t b,send",
     "CHECK_POLICY:t=b; REMOVE_POLICY:t=a"},
    {"behind both a last policy counts anew", "last t,first t,last t,remove t a,send",
     "REMOVE_POLICY:t=a; LAST_POLICY:t="},
    {"behind both a first policy counts anew", "first t,last t,first t,install t a,send",
     "FIRST_POLICY:t=; CHECK_POLICY:t=a"},
    {"a last policy that was sent is not taken back", "last t,remove t a,send,first t,install t b,send",
     "REMOVE_POLICY:t=a; LAST_POLICY:t=; FIRST_POLICY:t=; CHECK_POLICY:t=b"},
    {"the first policy of another type takes nothing back", "last t,remove t a,first u,install u b,send",
     "FIRST_POLICY:u=; CHECK_POLICY:u=b; REMOVE_POLICY:t=a; LAST_POLICY:t="},
    {"a first policy waits for an install of its type", "first t,install u a,remove t b,send,install t c,send",
     "CHECK_POLICY:u=a; REMOVE_POLICY:t=b; FIRST_POLICY:t=; CHECK_POLICY:t=c"},
    {"a last policy waits for a remove of its type", "last t,install t a,send,remove t a,send",
     "CHECK_POLICY:t=a; REMOVE_POLICY:t=a; LAST_POLICY:t="},
    {"what was sent is not sent again", "install t a,enable u b,send,send", "CHECK_POLICY:t=a; ENABLE_POLICY:u=b"},
    {"a send of the status leaves installs and removes in place",
     "install a 1,enable b 2,disable c 3,remove d 4,send-status,send",
     "ENABLE_POLICY:b=2; DISABLE_POLICY:c=3; CHECK_POLICY:a=1; REMOVE_POLICY:d=4"},
};
INSTANTIATE_TEST_SUITE_P(Rows, NotifyStoreSteps, testing::ValuesIn(kSteps));

TEST_F(NotifyStoreTest, ANumberThatIsNoKindIsRefused) {
    for (int kind : {0, 5, -1})
        EXPECT_RAISES(store.Insert(static_cast<NotifyStore::Kind>(kind), "t", "a"), LumPalMsg::IllegalStateError_t, 92);
}

TEST_F(NotifyStoreTest, WithNobodyForTheCheckEventASendFailsWithTheReasonInside) {
    Do(store, "install t a");
    auto raised = MessagesOf<ControlException>([this] { store.Send(); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetId(), 91u);
    ASSERT_EQ(raised.GetMessage(0).GetDetails().GetMessageCount(), 1);
    LumPalMsg::Message_t inner = raised.GetMessage(0).GetDetails().GetMessage(0);
    EXPECT_EQ(inner.GetId(), 94u);
    EXPECT_EQ(inner.GetMessageText(),
              "No component is registered to control service for event 'CHECK_POLICY:t' with value 'a'.");
    EXPECT_GT(inner.GetDetails().GetMessageCount(), 0);
}

TEST_F(NotifyStoreTest, WithNobodyForAnyOtherEventASendReturnsAndIsTraced) {
    TraceLines traced;
    Do(store, "remove t a,last t,enable t b,disable t c");
    EXPECT_NO_THROW(store.Send());
    for (const char* event : {"REMOVE_POLICY:t", "LAST_POLICY:t", "ENABLE_POLICY:t", "DISABLE_POLICY:t"}) {
        EXPECT_TRUE(traced.Contains("control service for event '" + std::string(event) + "'")) << event;
    }
}

TEST_F(NotifyStoreTest, AFailedTriggerStopsNoOtherAndIsNotRepeated) {
    Consumer consumer("consumer", {"CHECK_POLICY:b", "REMOVE_POLICY:b", Consumer::EndMark()});
    Do(store, "install a 1,install b 2,install c 3,remove b 4");
    auto raised = MessagesOf<ControlException>([this] { store.Send(); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetDetails().GetMessageCount(), 2);
    EXPECT_EQ(consumer.Heard(), "CHECK_POLICY:b=2; REMOVE_POLICY:b=4");
    EXPECT_NO_THROW(store.Send());
    EXPECT_EQ(consumer.Heard(), "");
}

TEST_F(NotifyStoreTest, WithoutAServiceTheTriggerIsNamed) {
    service.Stop();
    Do(store, "install t a");
    auto raised = MessagesOf<ControlException>([this] { store.Send(); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    ASSERT_EQ(raised.GetMessage(0).GetDetails().GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetDetails().GetMessage(0).GetId(), 95u);
    EXPECT_EQ(raised.GetMessage(0).GetDetails().GetMessage(0).GetMessageText(),
              "The notify trigger (event 'CHECK_POLICY:t', value 'a', target '') could not be sent to control service "
              "on local host.");
}

TEST_F(NotifyStoreTest, ABrokenConfigurationFailsTheTriggerAndNothingElse) {
    WriteText(root.Native() + "/etc/pal/config/local_settings.ini", "no namespace, no value\n");
    Do(store, "install t a,remove t b");
    auto raised = MessagesOf<ControlException>([this] { store.Send(); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetDetails().GetMessage(0).GetId(), 95u);
}

TEST_F(NotifyStoreTest, ASecondSendForgetsTheFailuresOfTheFirst) {
    Do(store, "install t a");
    EXPECT_THROW(store.Send(), ControlException);
    Consumer consumer("consumer", kEveryEvent);
    Do(store, "install t b");
    EXPECT_NO_THROW(store.Send());
    EXPECT_EQ(consumer.Heard(), "CHECK_POLICY:t=b");
}

TEST_F(NotifyStoreTest, ANodeWithACoreIdStillReachesItself) {
    Configure("sec.core", "CORE_ID", "5d4a1a6c-node");
    Consumer consumer("consumer", kEveryEvent);
    Do(store, "install t a,send");
    EXPECT_EQ(consumer.Heard(), "CHECK_POLICY:t=a");
}

TEST_F(NotifyStoreTest, AnInstallWaitsForItsConsumers) {
    LumCtrl::Component* component = nullptr;
    String_t events[] = {"CHECK_POLICY:*"};
    LumCtrl::Component slow("slow", events, 1);
    component = &slow;
    std::atomic<bool> acknowledged{false};
    std::thread thread([&] {
        String_t event, value;
        while (!component->Next(event, value, 100)) continue;
        acknowledged = true;
        component->Acknowledge();
    });
    Do(store, "install t a,send");
    EXPECT_TRUE(acknowledged);
    EXPECT_FALSE(store.WasAsynchronous());
    thread.join();
}

TEST_F(NotifyStoreTest, AsynchronousAnInstallDoesNotWait) {
    Configure("conf.core", "ASYNC_CONTROL_NOTIFY", "true");
    NotifyStore asynchronous(jobs);
    EXPECT_TRUE(asynchronous.WasAsynchronous());
    String_t events[] = {"CHECK_POLICY:*"};
    LumCtrl::Component silent("silent", events, 1);
    Do(asynchronous, "install t a,send,install t b,send");
    String_t event, value;
    EXPECT_TRUE(silent.Next(event, value, 10000));
    EXPECT_EQ(value, "a");
}

TEST_F(NotifyStoreTest, OnlyTheTriggerOfAnInstallWaits) {
    // Whoever waited for a component that never acknowledges would give up after this time, and trace that.
    Configure("conf.core", "CONTROL_ACK_TIMEOUT", "1");
    const String_t events[] = {"REMOVE_POLICY:*", "FIRST_POLICY:*", "LAST_POLICY:*", "ENABLE_POLICY:*",
                               "DISABLE_POLICY:*"};
    LumCtrl::Component silent("silent", events, 5);
    Consumer consumer("consumer", {"CHECK_POLICY:*"});
    TraceLines traced;
    Do(store, "first t,install t d,last u,remove u a,enable u b,disable u c,send");
    EXPECT_FALSE(traced.Contains("could not be sent to control service"));
    EXPECT_EQ(consumer.Heard(), "CHECK_POLICY:t=d");
    String_t event, value;
    EXPECT_TRUE(silent.Next(event, value, 10000));
    EXPECT_EQ(event, "FIRST_POLICY:t");
}

TEST_F(NotifyStoreTest, AnInstallThatNobodyAcknowledgesFailsTheSend) {
    Configure("conf.core", "CONTROL_ACK_TIMEOUT", "1");
    const String_t events[] = {"CHECK_POLICY:*"};
    LumCtrl::Component silent("silent", events, 1);
    Do(store, "install t a");
    auto raised = MessagesOf<ControlException>([this] { store.Send(); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetId(), 91u);
    ASSERT_EQ(raised.GetMessage(0).GetDetails().GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetDetails().GetMessage(0).GetId(), 95u);
}

TEST_F(NotifyStoreTest, AChangeOfTheConfigurationIsTakenUpWithTheNextInstall) {
    NotifyStore::ConfigHandler handler{LumPalConfig::ConfigNamespace_t("conf.core")};
    EXPECT_FALSE(handler.IsAsynchronous());
    Configure("conf.core", "OTHER_KEY", "true");
    Configure("conf.core", "ASYNC_CONTROL_NOTIFY", "true");
    EXPECT_TRUE(Eventually([&handler] { return handler.IsAsynchronous(); }));
    Consumer consumer("consumer", kEveryEvent);
    EXPECT_TRUE(Eventually([this] {
        Do(store, "install t a,send");
        return store.WasAsynchronous();
    }));
    consumer.Heard();
}

TEST_F(NotifyStoreTest, OnlyAnInstallTakesUpAChangeOfTheConfiguration) {
    // Told of a change behind the store's own handler.
    NotifyStore::ConfigHandler handler{LumPalConfig::ConfigNamespace_t("conf.core")};
    Consumer consumer("consumer", kEveryEvent);
    Configure("conf.core", "ASYNC_CONTROL_NOTIFY", "true");
    ASSERT_TRUE(Eventually([&handler] { return handler.IsAsynchronous(); }));
    Do(store, "last t,remove t a,enable t b,disable t c,send");
    EXPECT_FALSE(store.WasAsynchronous());
    EXPECT_EQ(consumer.Heard(), "ENABLE_POLICY:t=b; DISABLE_POLICY:t=c; REMOVE_POLICY:t=a; LAST_POLICY:t=");
}

/// Policies of settings have a consumer inside.
class NotifyStoreSettings : public NotifyStoreTest {
protected:
    NotifyStoreSettings() { Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "true"); }
    ~NotifyStoreSettings() override { worker.Stop(); }
    void SetUp() override { worker.Start(); }
};

TEST_F(NotifyStoreSettings, EachKindIsAJobOfTheWorkerAndNoTrigger) {
    Consumer consumer("consumer", kEveryEvent);
    Do(store, "first configsettings,install configsettings 1,install configsettings 2,enable configsettings 3,");
    Do(store, "disable configsettings 4,last configsettings,remove configsettings 5,send");
    EXPECT_EQ(record.WaitFor("remove 5;"), "make;start;install 1 2;enable 3;disable 4;remove 5;");
    EXPECT_EQ(consumer.Heard(), "");
}

TEST_F(NotifyStoreSettings, NobodyHearsOfALastPolicyOfSettingsAndANewOneAndTheWorkerGetsBothJobs) {
    Consumer consumer("consumer", kEveryEvent);
    Do(store, "last configsettings,remove configsettings 1,first configsettings,install configsettings 2,send");
    EXPECT_EQ(record.WaitFor("remove 1;"), "make;start;install 2;remove 1;");
    Do(store, "first configsettings,install configsettings 3,last configsettings,remove configsettings 3,send");
    EXPECT_EQ(record.WaitFor("remove 3;"), "make;start;install 2;remove 1;remove 3;");
    EXPECT_EQ(consumer.Heard(), "");
}

TEST_F(NotifyStoreSettings, AnInstallOrARemovalHidesAChangeOfStatusAndTheLastOfTwoChangesCounts) {
    Do(store, "install configsettings 1,disable configsettings 1,remove configsettings 2,enable configsettings 2");
    Do(store, "enable configsettings 3,disable configsettings 3,disable configsettings 4,enable configsettings 4");
    Do(store, "remove configsettings 5,install configsettings 5,install files 6,remove configsettings 6");
    EXPECT_THROW(Do(store, "send"), LumCtrl::ControlException) << "nobody listens for files";
    EXPECT_EQ(record.WaitFor("remove 2 6;"), "make;start;install 1 5;enable 4;disable 3;remove 2 6;");
}

TEST_F(NotifyStoreSettings, AChangeOfStatusAloneLeavesInstallsAndRemovalsInTheQueue) {
    Do(store, "install configsettings 1,enable configsettings 2,disable configsettings 3,remove configsettings 4");
    Do(store, "send-status");
    EXPECT_EQ(record.WaitFor("disable 3;"), "make;start;enable 2;disable 3;");
    Do(store, "send");
    EXPECT_EQ(record.WaitFor("remove 4;"), "make;start;enable 2;disable 3;install 1;remove 4;");
}

TEST_F(NotifyStoreSettings, NoServiceIsNeeded) {
    service.Stop();
    Do(store, "first configsettings,install configsettings 1");
    EXPECT_NO_THROW(store.Send());
    EXPECT_EQ(record.WaitFor("install 1;"), "make;start;install 1;");
}

TEST_F(NotifyStoreSettings, TheNameInAnotherCaseIsAnotherType) {
    Consumer consumer("consumer", kEveryEvent);
    Do(store, "install ConfigSettings 1,send");
    EXPECT_EQ(consumer.Heard(), "CHECK_POLICY:ConfigSettings=1");
}

}  // namespace
