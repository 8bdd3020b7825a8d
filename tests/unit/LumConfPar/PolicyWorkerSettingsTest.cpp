// The worker with the settings of the node: what its jobs make of the store, with and without memory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "CapturedLog.h"
#include "Configure.h"
#include "PolicySettings.h"
#include "PolicyWorker.h"
#include "SettingsPolicies.h"
#include "TraceLines.h"

namespace {

using namespace LumConfPar;
using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumPalArray::CharArray_t;
namespace fs = std::filesystem;

/// Holds the settings of a node against every other writer, as a process does that changes them.
class SettingsLock {
public:
    explicit SettingsLock(const std::string& folder) : file(open((folder + ".lock").c_str(), O_RDWR)) {
        EXPECT_EQ(flock(file, LOCK_EX), 0);
    }
    SettingsLock(const SettingsLock&) = delete;
    SettingsLock& operator=(const SettingsLock&) = delete;
    ~SettingsLock() { close(file); }

private:
    const int file;
};

class WorkerOfSettings : public testing::Test {
protected:
    ~WorkerOfSettings() override {
        if (started) worker.Stop();
    }
    void Start(bool cacheOn) {
        Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", cacheOn ? "true" : "false");
        worker.Start();
        started = true;
    }
    void Stop() {
        worker.Stop();
        started = false;
    }
    void Put(const std::string& id, const std::string& status = "enabled") const {
        TestPolicy policy = SettingsPolicy(id, id, "[" + id + "]\non=1\n");
        policy.status = status;
        store.Put(policy);
    }
    static std::string Marks(const std::string& ids) {
        std::string text;
        for (const char id : ids) text += std::string(text.empty() ? "" : "\n") + "[" + id + "]\non=1\n";
        return text;
    }
    /// Waits until the settings on disk are those of these policies.
    bool Become(const std::string& ids) const {
        const bool done =
            Eventually([&] { return fs::exists(store.Files().Policy()) && store.Settings() == Marks(ids); });
        if (!done) ADD_FAILURE() << "the settings are " << store.Settings();
        return done;
    }

    void FailOnceAndGoOn(bool cacheOn) {
        Put("a");
        Start(cacheOn);
        Become("a");
        store.Put("bad", "bad", "no settings\n");
        worker.InsertJob(JobKind::Install, "bad");
        EXPECT_TRUE(Eventually([&] {
            return log.Holds(
                "Policy thread for 'configsettings' policy type generated errors.\n"
                "  Internal error during creating policy settings in memory.\n"
                "    Line 1 of 'bad.ini of policy bad (bad)'");
        })) << log.Text();
        EXPECT_EQ(store.Settings(), Marks("a"));
        fs::remove(store.Folder() + "/bad_header.xml");
        worker.InsertJob(JobKind::Remove, "bad");
        Put("b");
        worker.InsertJob(JobKind::Install, "b");
        Become("ab");
    }

    const SettingsStore store;
    const CapturedLog log{store.Files().Root()};
    std::atomic<bool> blocked{false}, entered{false};
    /// Reading a data file waits as long as "blocked" says.
    PolicyWorker worker{[this] {
        return std::make_unique<PolicySettings>(PolicyContainer(),
                                                [this](const PolicyHeader& header, int index, CharArray_t& data) {
                                                    entered = true;
                                                    while (blocked) std::this_thread::yield();
                                                    header.GetData(index, data);
                                                });
    }};
    bool started = false;
};

TEST_F(WorkerOfSettings, TheStartTakesInWhatIsInstalledAndAJobBeforeItIsDropped) {
    Put("a");
    Put("b", "disabled");
    worker.InsertJob(JobKind::Enable, "b");
    Start(true);
    Become("a");
    worker.InsertJob(JobKind::Enable, "b");
    Become("ab");
}

TEST_F(WorkerOfSettings, WithoutTheCacheAJobOfBadIdsIsARebuildAndDoesNoHarmOfItsOwn) {
    Put("a");
    Start(false);
    Become("a");
    Put("b");
    worker.InsertJob(JobKind::Install, "no such policy");
    Become("ab");
    Put("c");
    worker.InsertJob(JobKind::Remove, "a");
    Become("abc");
    EXPECT_EQ(log.Text(), "");
}

TEST_F(WorkerOfSettings, WithTheCacheAJobWorksOnMemory) {
    Put("a");
    Put("b", "disabled");
    Start(true);
    Become("a");
    store.Clear();
    worker.InsertJob(JobKind::Enable, "b");
    Become("ab");
    Put("c");
    worker.InsertJob(JobKind::Install, "c");
    Become("abc");
    worker.InsertJob(JobKind::Disable, "a");
    Become("bc");
    worker.InsertJob(JobKind::Remove, "b");
    Become("c");
}

TEST_F(WorkerOfSettings, JobsAreDoneInOrder) {
    Put("a");
    Start(true);
    Become("a");
    Put("b");
    worker.InsertJob(JobKind::Install, "b");
    worker.InsertJob(JobKind::Disable, "a b");
    worker.InsertJob(JobKind::Enable, "b");
    worker.InsertJob(JobKind::Remove, "a");
    worker.InsertJob(JobKind::Enable, "a");
    Become("b");
    Stop();
    EXPECT_EQ(store.Settings(), Marks("b"));
}

TEST_F(WorkerOfSettings, AStopEndsTheJobInWorkAndDropsTheRest) {
    Put("a");
    Start(true);
    Become("a");
    Put("b");
    entered = false;
    blocked = true;
    worker.InsertJob(JobKind::Install, "b");
    worker.InsertJob(JobKind::Remove, "a");
    EXPECT_TRUE(Eventually([&] { return entered.load(); }));
    TraceLines traced;
    std::thread stopper([this] { Stop(); });
    EXPECT_TRUE(Eventually([&] {
        worker.InsertJob(JobKind::None, "probe");
        return traced.Contains("a job is dropped for probe");
    }));
    blocked = false;
    stopper.join();
    EXPECT_EQ(store.Settings(), Marks("ab"));
}

TEST_F(WorkerOfSettings, AStopDuringAMergeThatWaitsForTheLockOfTheSettingsEndsWithThatMerge) {
    Put("a");
    Start(true);
    Become("a");
    Put("b");
    TraceLines traced;
    std::thread stopper;
    {
        const SettingsLock held(store.Files().Folder());
        worker.InsertJob(JobKind::Install, "b");
        worker.InsertJob(JobKind::Remove, "a");
        EXPECT_TRUE(Eventually([&] { return traced.Contains("the merged settings are written to"); }));
        stopper = std::thread([this] { Stop(); });
        EXPECT_TRUE(Eventually([&] {
            worker.InsertJob(JobKind::None, "probe");
            return traced.Contains("a job is dropped for probe");
        }));
        EXPECT_EQ(store.Settings(), Marks("a"));
    }
    stopper.join();
    EXPECT_EQ(store.Settings(), Marks("ab"));
    EXPECT_FALSE(store.Files().HasNewPolicy());
}

TEST_F(WorkerOfSettings, AJobThatFailsIsToldAndTheNextOneIsDone) {
    FailOnceAndGoOn(true);
}

TEST_F(WorkerOfSettings, ARebuildThatFailsIsToldAndTheNextOneIsDone) {
    FailOnceAndGoOn(false);
}

TEST_F(WorkerOfSettings, AStartThatFailsIsTracedAndTheNextChangeTriesAgain) {
    for (const bool cacheOn : {false, true}) {
        SCOPED_TRACE(cacheOn);
        Put("a");
        WriteText(store.Folder() + "/b_header.xml", "<header>");
        const TraceLines traced;
        PolicyWorker fresh(MakePolicySettings());
        Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", cacheOn ? "true" : "false");
        fresh.Start();
        EXPECT_TRUE(Eventually([&] { return traced.Contains("Could not initialize policy settings"); }));
        EXPECT_FALSE(fs::exists(store.Files().Policy()));
        EXPECT_EQ(log.Text(), "") << "the trace alone";
        // A removal too: with memory it is the one job that never reloads.
        fs::remove(store.Folder() + "/b_header.xml");
        Put("c");
        fresh.InsertJob(JobKind::Remove, "b");
        Become("ac");
        fresh.Stop();
        store.Clear();
        fs::remove(store.Files().Policy());
    }
}

}  // namespace
