#include "PolicyWorker.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <thread>

#include "ConfParHandler.h"
#include "Configure.h"
#include "Files.h"
#include "LumPalLog.h"
#include "Raised.h"
#include "RecordingSink.h"
#include "TempRoot.h"
#include "TraceLines.h"

namespace {

using namespace LumConfPar;
using LumPalMsg::IllegalStateError_t;

/// A worker that notes what it does; it is stopped at the end when a test has started it.
class PolicyWorkerTest : public testing::Test {
protected:
    ~PolicyWorkerTest() override {
        if (started) worker.Stop();
    }
    void Start(bool cacheOn) {
        Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", cacheOn ? "true" : "false");
        worker.Start();
        started = true;
        record.WaitFor("start;");
    }
    /// Switches the cache and waits until another handler of the same change has seen it.
    void SwitchCache(bool on) {
        ConfParHandler handler;
        Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", on ? "true" : "false");
        EXPECT_TRUE(Eventually([&] { return handler.IsCacheOn() == on; }));
    }

    TempRoot root;
    SinkRecord record;
    PolicyWorker worker{record.Factory()};
    bool started = false;
};

TEST_F(PolicyWorkerTest, JobsAreDoneInTheOrderOfTheirInsertion) {
    Start(true);
    worker.InsertJob(JobKind::Install, "a b");
    worker.InsertJob(JobKind::Disable, "c");
    worker.InsertJob(JobKind::Enable, "c");
    worker.InsertJob(JobKind::Remove, "a");
    EXPECT_EQ(record.WaitFor("remove a;"), "make;start;install a b;disable c;enable c;remove a;");
}

TEST_F(PolicyWorkerTest, TheSameJobTwiceIsDoneTwice) {
    Start(true);
    worker.InsertJob(JobKind::Install, "a");
    worker.InsertJob(JobKind::Install, "a");
    EXPECT_EQ(record.WaitFor("install a;install a;"), "make;start;install a;install a;");
}

TEST_F(PolicyWorkerTest, WithoutTheCacheEachJobRebuildsEverything) {
    Start(false);
    worker.InsertJob(JobKind::Install, "bad ids");
    worker.InsertJob(JobKind::Remove, "x");
    EXPECT_EQ(record.WaitFor("start;make;start;make;start;"), "make;start;make;start;make;start;");
}

TEST_F(PolicyWorkerTest, AnAbsentKeyMeansNoCache) {
    worker.Start();
    started = true;
    record.WaitFor("start;");
    worker.InsertJob(JobKind::Enable, "a");
    EXPECT_EQ(record.WaitFor("make;start;make;start;"), "make;start;make;start;");
}

TEST_F(PolicyWorkerTest, SwitchedOnTheCacheIsReloadedOnceByTheNextJobThatIsNoRemoval) {
    Start(false);
    worker.InsertJob(JobKind::Install, "a");
    EXPECT_EQ(record.WaitFor("make;start;make;start;"), "make;start;make;start;");
    SwitchCache(true);
    // Both handlers are told by one thread, the worker's first; so it knows by now.
    worker.InsertJob(JobKind::Remove, "b");
    worker.InsertJob(JobKind::Install, "c");
    worker.InsertJob(JobKind::Enable, "d");
    EXPECT_EQ(record.WaitFor("enable d;"), "make;start;make;start;remove b;make;start;install c;enable d;");
}

TEST_F(PolicyWorkerTest, ReloadsBeforeADisableToo) {
    Start(false);
    worker.InsertJob(JobKind::Install, "a");
    record.WaitFor("make;start;make;start;");
    SwitchCache(true);
    worker.InsertJob(JobKind::Disable, "b");
    worker.InsertJob(JobKind::None, "");
    worker.InsertJob(JobKind::Disable, "c");
    EXPECT_EQ(record.WaitFor("disable c;"), "make;start;make;start;make;start;disable b;disable c;");
}

TEST_F(PolicyWorkerTest, AJobWithoutAKindReloadsWhenThatIsNeeded) {
    Start(false);
    worker.InsertJob(JobKind::Install, "a");
    record.WaitFor("make;start;make;start;");
    SwitchCache(true);
    worker.InsertJob(JobKind::None, "");
    worker.InsertJob(JobKind::Install, "b");
    EXPECT_EQ(record.WaitFor("install b;"), "make;start;make;start;make;start;install b;");
}

TEST_F(PolicyWorkerTest, SwitchedOffAndOnAgainEachJobRebuildsAndThenTheMemoryIsReloadedOnce) {
    Start(true);
    worker.InsertJob(JobKind::Install, "a");
    EXPECT_EQ(record.WaitFor("install a;"), "make;start;install a;");
    SwitchCache(false);
    worker.InsertJob(JobKind::Enable, "b");
    worker.InsertJob(static_cast<JobKind>(9), "c");
    worker.InsertJob(JobKind::None, "");
    EXPECT_EQ(record.WaitFor("make;start;make;start;make;start;"),
              "make;start;install a;make;start;make;start;make;start;");
    SwitchCache(true);
    worker.InsertJob(JobKind::Enable, "d");
    worker.InsertJob(JobKind::Install, "e");
    EXPECT_EQ(record.WaitFor("install e;"),
              "make;start;install a;make;start;make;start;make;start;make;start;enable d;install e;");
}

TEST_F(PolicyWorkerTest, JobsThatWaitAreDoneOneAfterAnotherWithoutAnotherCall) {
    std::atomic<bool> entered{false}, release{false};
    record.onCall = [&](const std::string& call) {
        if (call != "install 1") return;
        entered = true;
        while (!release) std::this_thread::yield();
    };
    Start(true);
    worker.InsertJob(JobKind::Install, "1");
    EXPECT_TRUE(Eventually([&] { return entered.load(); }));
    worker.InsertJob(JobKind::Remove, "2");
    worker.InsertJob(JobKind::Enable, "3");
    worker.InsertJob(JobKind::Disable, "4");
    EXPECT_EQ(record.Calls(), "make;start;") << "nobody waits for a job in work";
    release = true;
    EXPECT_EQ(record.WaitFor("disable 4;"), "make;start;install 1;remove 2;enable 3;disable 4;");
}

TEST_F(PolicyWorkerTest, AJobOfUnknownKindIsPassedOver) {
    Start(true);
    TraceLines traced;
    worker.InsertJob(static_cast<JobKind>(9), "a");
    worker.InsertJob(JobKind::Remove, "b");
    EXPECT_EQ(record.WaitFor("remove b;"), "make;start;remove b;");
    EXPECT_TRUE(traced.Contains("unknown kind"));
}

TEST_F(PolicyWorkerTest, AJobBeforeTheStartIsDropped) {
    TraceLines traced;
    worker.InsertJob(JobKind::Install, "early");
    EXPECT_TRUE(traced.Contains("a job is dropped for early"));
    Start(true);
    worker.InsertJob(JobKind::Install, "late");
    EXPECT_EQ(record.WaitFor("install late;"), "make;start;install late;");
}

TEST_F(PolicyWorkerTest, AFailedJobIsLoggedAndTheNextOneDone) {
    LumPalLog::SetApplicationLogFile(root.Path("app.log"));
    record.onCall = [](const std::string& call) {
        if (call == "install bad") throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("merge went wrong"));
    };
    Start(true);
    worker.InsertJob(JobKind::Install, "bad");
    worker.InsertJob(JobKind::Install, "good");
    EXPECT_EQ(record.WaitFor("install good;"), "make;start;install good;");
    std::string log = ReadText(root.Native() + "/app.log");
    EXPECT_NE(log.find("Policy thread for 'configsettings' policy type generated errors."), std::string::npos) << log;
    EXPECT_NE(log.find("merge went wrong"), std::string::npos) << log;
}

TEST_F(PolicyWorkerTest, AFailedReloadIsTriedAgainByTheNextJob) {
    Start(false);
    worker.InsertJob(JobKind::Install, "a");
    record.WaitFor("make;start;make;start;");
    SwitchCache(true);
    std::atomic<int> starts{0};
    record.onCall = [&starts](const std::string& call) {
        if (call == "start" && starts++ == 0) throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("no"));
    };
    worker.InsertJob(JobKind::Install, "b");
    worker.InsertJob(JobKind::Install, "c");
    EXPECT_EQ(record.WaitFor("install c;"), "make;start;make;start;make;make;start;install c;");
}

TEST_F(PolicyWorkerTest, AStartThatFailsIsTracedAndJobsAreStillDone) {
    TraceLines traced;
    record.onCall = [](const std::string& call) {
        if (call == "start") throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("no settings"));
    };
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "true");
    worker.Start();
    started = true;
    worker.InsertJob(JobKind::Remove, "a");
    EXPECT_EQ(record.WaitFor("remove a;"), "make;remove a;");
    EXPECT_TRUE(traced.Contains("no settings"));
}

TEST_F(PolicyWorkerTest, AFailureOfAnyClassIsLoggedAndTheMemoryRebuiltBeforeTheNextJob) {
    LumPalLog::SetApplicationLogFile(root.Path("app.log"));
    record.onCall = [](const std::string& call) {
        if (call == "enable huge") throw std::bad_alloc();
    };
    Start(true);
    worker.InsertJob(JobKind::Enable, "huge");
    worker.InsertJob(JobKind::Install, "good");
    EXPECT_EQ(record.WaitFor("install good;"), "make;start;make;start;install good;");
    const std::string log = ReadText(root.Native() + "/app.log");
    EXPECT_NE(log.find("Policy thread for 'configsettings' policy type generated errors.\n  std::bad_alloc"),
              std::string::npos)
        << log;
}

TEST_F(PolicyWorkerTest, AStartThatFailsWithAnyClassEndsNoWorker) {
    TraceLines traced;
    std::atomic<int> starts{0};
    record.onCall = [&starts](const std::string& call) {
        if (call == "start" && starts++ == 0) throw std::length_error("too long");
    };
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "true");
    worker.Start();
    started = true;
    worker.InsertJob(JobKind::Enable, "a");
    EXPECT_EQ(record.WaitFor("enable a;"), "make;make;start;enable a;");
    EXPECT_TRUE(traced.Contains("too long"));
}

TEST_F(PolicyWorkerTest, IsBusyFromItsStartUntilTheLastJobIsDone) {
    std::atomic<bool> release{false};
    record.onCall = [&](const std::string& call) {
        while (call != "make" && !release) std::this_thread::yield();
    };
    EXPECT_FALSE(worker.IsBusyForTest());
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "true");
    worker.Start();
    started = true;
    EXPECT_TRUE(worker.IsBusyForTest());
    worker.InsertJob(JobKind::Enable, "a");
    worker.InsertJob(JobKind::Enable, "b");
    release = true;
    EXPECT_TRUE(Eventually([&] { return !worker.IsBusyForTest(); }));
    EXPECT_EQ(record.Calls(), "make;start;enable a;enable b;");
    worker.InsertJob(JobKind::Enable, "c");
    EXPECT_TRUE(Eventually([&] { return !worker.IsBusyForTest(); }));
    EXPECT_EQ(record.Calls(), "make;start;enable a;enable b;enable c;");
    worker.Stop();
    started = false;
    EXPECT_FALSE(worker.IsBusyForTest());
}

TEST_F(PolicyWorkerTest, ItsThreadBearsItsName) {
    char name[16] = "";
    record.onCall = [&name](const std::string& call) {
        if (call == "start") pthread_getname_np(pthread_self(), name, sizeof name);
    };
    Start(true);
    EXPECT_STREQ(name, "LumConf:PolicyW") << "the system shows 15 bytes";
}

TEST_F(PolicyWorkerTest, ARunningWorkerIsNotStartedAgain) {
    Start(true);
    EXPECT_RAISES(worker.Start(), IllegalStateError_t, 195);
}

TEST_F(PolicyWorkerTest, AWorkerThatNeverRanCannotBeStopped) {
    EXPECT_RAISES(worker.Stop(), IllegalStateError_t, 196);
}

TEST_F(PolicyWorkerTest, AStoppedWorkerIsNotStartedAgainAndDropsJobs) {
    Start(true);
    worker.Stop();
    EXPECT_RAISES(worker.Start(), IllegalStateError_t, 195);
    worker.InsertJob(JobKind::Install, "a");
    EXPECT_NO_THROW(worker.Stop());
    EXPECT_EQ(record.Calls(), "make;start;");
}

TEST_F(PolicyWorkerTest, AStopEndsTheJobInWorkAndLeavesTheRestUndone) {
    std::atomic<bool> entered{false}, release{false};
    record.onCall = [&](const std::string& call) {
        if (call != "install first") return;
        entered = true;
        while (!release) std::this_thread::yield();
    };
    Start(true);
    worker.InsertJob(JobKind::Install, "first");
    worker.InsertJob(JobKind::Install, "second");
    EXPECT_TRUE(Eventually([&] { return entered.load(); }));
    TraceLines traced;
    std::thread stopper([this] { worker.Stop(); });
    EXPECT_TRUE(Eventually([&] {
        worker.InsertJob(JobKind::Install, "probe");
        return traced.Contains("a job is dropped for probe");
    }));
    release = true;
    stopper.join();
    EXPECT_EQ(record.Calls(), "make;start;install first;");
}

TEST_F(PolicyWorkerTest, ABrokenConfigurationMeansNoCacheAndEndsNoWorker) {
    WriteText(root.Native() + "/etc/pal/config/local_settings.ini", "no namespace, no value\n");
    worker.Start();
    started = true;
    record.WaitFor("start;");
    worker.InsertJob(JobKind::Install, "a");
    EXPECT_EQ(record.WaitFor("make;start;make;start;"), "make;start;make;start;");
}

TEST_F(PolicyWorkerTest, TheProcessHasOneWorker) {
    EXPECT_EQ(&PolicyWorker::GetInstance(), &PolicyWorker::GetInstance());
}

TEST(ConfParHandler, HoldsTheLiveValue) {
    TempRoot root;
    ConfParHandler handler;
    EXPECT_FALSE(handler.IsCacheOn());
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "yes");
    EXPECT_TRUE(Eventually([&] { return handler.IsCacheOn(); }));
    EXPECT_TRUE(ConfParHandler().IsCacheOn());
    Configure("conf.core", "ASYNC_CONTROL_NOTIFY", "yes");
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "no");
    EXPECT_TRUE(Eventually([&] { return !handler.IsCacheOn(); }));
}

}  // namespace
