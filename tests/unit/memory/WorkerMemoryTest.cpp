// What works in the background when its thread has no memory: it goes on as soon as there is some.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "ConfParHandler.h"
#include "Configure.h"
#include "FailingMemory.h"
#include "Files.h"
#include "LumPalLog.h"
#include "PolicyWorker.h"
#include "StrangersLog.h"
#include "TempRoot.h"

namespace {

using LumConf::StrangersLog;
using LumConfPar::JobKind;
using LumConfPar::PolicyWorker;
using namespace std::chrono_literals;

/// Takes every job and tells which it took; without memory of its own.
class CountingSink : public LumConfPar::SettingsSink {
public:
    explicit CountingSink(std::atomic<int>& enabled) : enabled(enabled) {}
    void Start() override {}
    void Install(const LumPalStr::String_t&) override {}
    void Remove(const LumPalStr::String_t&) override {}
    void Enable(const LumPalStr::String_t&) override { ++enabled; }
    void Disable(const LumPalStr::String_t&) override {}

private:
    std::atomic<int>& enabled;
};

TEST(WorkerMemory, ThatRunsOutAnywhereFromTheStartOnLeavesAWorkerThatDoesTheNextJobs) {
    const TempRoot root;
    LumPalLog::SetApplicationLogFile(root.Path("app.log"));
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "true");
    const LumConfPar::ConfParHandler first;  // what follows the configuration is there before
    std::atomic<int> enabled{0};
    std::optional<PolicyWorker> worker;
    ForEachAllocation(
        "LumConf:PolicyWorker",
        [&] {
            worker.emplace([&enabled] { return std::make_unique<CountingSink>(enabled); });
            worker->Start();
            worker->InsertJob(JobKind::Install, "a");
            EXPECT_TRUE(Eventually([&] { return !worker->IsBusyForTest(); })) << "its thread has ended";
        },
        [&] {
            enabled = 0;
            worker->InsertJob(JobKind::Enable, "b");
            EXPECT_TRUE(Eventually([&] { return enabled == 1; })) << "the choice to cache counts again";
            worker->Stop();
            worker.reset();
        });
}

class CountingHandler : public LumPalConfig::ConfigChangeHandler_i {
public:
    void Update(const LumPalConfig::ChangedConfiguration_t&, const LumPalConfig::Configuration_t&) override { ++calls; }

    std::atomic<int> calls{0};
};

TEST(ConfigMemory, AHandlerThatGoesWithoutMemoryIsToldNothingMore) {
    const TempRoot root;
    const LumPalConfig::ConfigNamespace_t nameSpace("conf.core");
    CountingHandler gone, stays;
    nameSpace.Register(stays);
    nameSpace.Register(gone);
    {
        const FailingMemory memory(FailingMemory::ThisThread(), 1, MemoryFault::FromThenOn);
        EXPECT_NO_THROW(nameSpace.Unregister(gone));
    }
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "true");
    EXPECT_TRUE(Eventually([&] { return stays.calls == 1; }));
    nameSpace.Unregister(stays);
    EXPECT_EQ(gone.calls, 0);
}

TEST(ConfigMemory, AHandlerThatCannotBeTakenForWantOfMemoryIsToldNothing) {
    const TempRoot root;
    const LumPalConfig::ConfigNamespace_t nameSpace("conf.core");
    CountingHandler stays;
    nameSpace.Register(stays);
    int changes = 0;
    for (int nth = 1; !testing::Test::HasFailure(); ++nth) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        CountingHandler handler;
        bool isTaken = true;
        {
            const FailingMemory memory(FailingMemory::ThisThread(), nth, MemoryFault::Once);
            try {
                nameSpace.Register(handler);
            } catch (const std::bad_alloc&) {
                isTaken = false;
            }
        }
        ++changes;
        Configure("conf.core", "CONTROL_ACK_TIMEOUT", std::to_string(changes).c_str());
        EXPECT_TRUE(Eventually([&] { return stays.calls == changes; }));
        if (isTaken) nameSpace.Unregister(handler);
        if (isTaken) break;
        EXPECT_EQ(handler.calls, 0);
    }
    nameSpace.Unregister(stays);
}

int LinesWith(const TempRoot& root, const std::string& words) {
    const std::string text = ReadText(root.Native() + "/log/conf.server.audit.strangers.log");
    int count = 0;
    for (auto at = text.find(words); at != text.npos; at = text.find(words, at + 1)) ++count;
    return count;
}

TEST(StrangersLogMemory, ThatRunsOutWhileTheCountIsWrittenDelaysItUntilThereIsSome) {
    const TempRoot root;
    std::filesystem::create_directories(root.Native() + "/log");
    int counts = 0;
    for (const MemoryFault fault : {MemoryFault::Once, MemoryFault::FromThenOn}) {
        bool fired = true;
        for (int nth = 1; fired && !testing::Test::HasFailure(); ++nth) {
            SCOPED_TRACE("allocation " + std::to_string(nth));
            StrangersLog log;
            {
                const FailingMemory memory("Conf:Strangers", nth, fault);
                const auto begin = StrangersLog::Clock::now() - 10s + 50ms;
                for (int i = 0; i < 105; ++i) log.Refuse("install", begin);
                const auto isOver = [&] { return memory.Fired() || LinesWith(root, ": 5 more calls") > counts; };
                EXPECT_TRUE(Eventually(isOver));
                fired = memory.Fired();
            }
            ++counts;
            EXPECT_TRUE(Eventually([&] { return LinesWith(root, ": 5 more calls") == counts; }))
                << "the count is lost, or waits for the next refusal";
        }
    }
}

}  // namespace
