// A configuration database that several threads and processes change, and one whose disk fails.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "ConfigStoreForTest.h"
#include "LumPalConfig.h"
#include "LumPalFault.h"
#include "LumPalIo.h"

using LumPalConfig::ConfigNamespace_t;
using LumPalConfig::ConfigUpdate_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

using ConfigStoreShared = ConfigStore;

}  // namespace

TEST_F(ConfigStoreShared, UpdatesAtTheSameTimeLoseNothing) {
    constexpr int Threads = 4, Each = 10;
    std::vector<std::thread> threads;
    for (int t = 0; t < Threads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < Each; ++i) {
                const std::string name = "k" + std::to_string(t) + "_" + std::to_string(i);
                Set("", "a", name.c_str(), "1");
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(ConfigNamespace_t("a").Open().GetAttrCount(), Threads * Each);
}

TEST_F(ConfigStoreShared, UpdatesOfSeveralProcessesLoseNothing) {
    constexpr int Processes = 3, Each = 20;
    std::vector<pid_t> children;
    for (int p = 0; p < Processes; ++p) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            int code = 0;
            try {
                for (int i = 0; i < Each; ++i) {
                    const std::string name = "k" + std::to_string(p) + "_" + std::to_string(i);
                    Set("", "a", name.c_str(), "1");
                }
            } catch (...) {
                code = 1;
            }
            _exit(code);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(ConfigNamespace_t("a").Open().GetAttrCount(), Processes * Each);
}

TEST_F(ConfigStoreShared, AReaderSeesTheOldFileOrTheNewOne) {
    const auto writeBoth = [](const String_t& value) {
        Configuration_t config("a");
        for (const char* name : {"first", "last"}) config.SetAttrValue(name, value);
        ConfigUpdate_t update("");
        update.SetConfig(config);
        update.Apply();
    };
    writeBoth("0");
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 1; i < 40; ++i) writeBoth(LumPalStr::NumToStr(i));
        done = true;
    });
    while (!done) {
        const Configuration_t config = ConfigNamespace_t("a").Open();
        ASSERT_EQ(config.GetAttrCount(), 2);
        ASSERT_EQ(config.GetValue("first"), config.GetValue("last"));
    }
    writer.join();
}

namespace {

std::atomic<int> operationsLeft{0};

bool FailLast(const char*, const char*) {
    return --operationsLeft == 0;
}

}  // namespace

TEST_F(ConfigStoreShared, AfterAnyFailureTheOldFileStandsOrTheNewOneDoes) {
    Set("", "a", "k", "old");
    int failures = 0;
    for (int n = 1;; ++n) {
        Set("", "a", "k", "old");
        operationsLeft = n;
        LumPalIo::SetFaultHookForTest(FailLast);
        bool failed = false;
        try {
            Set("", "a", "k", "new");
        } catch (const LumPalIo::IOException_t&) {
            failed = true;
        }
        LumPalIo::SetFaultHookForTest(nullptr);
        const std::string text = Text(Local());
        EXPECT_TRUE(text == "[a]\nk=old\n" || text == "[a]\nk=new\n") << "operation " << n << ": " << text;
        EXPECT_EQ(Value("a", "k"), text == "[a]\nk=old\n" ? "old" : "new") << "operation " << n;
        if (operationsLeft > 0) break;
        failures += failed;
    }
    EXPECT_GE(failures, 5);
    EXPECT_EQ(Text(Local()), "[a]\nk=new\n");
}

TEST_F(ConfigStoreShared, AfterAnyFailureOfATakeOverOneOfBothFilesStands) {
    for (int n = 1;; ++n) {
        Put(Policy(), "[a]\nk=old\n");
        Put(NewPolicy(), "[a]\nk=new\n");
        operationsLeft = n;
        LumPalIo::SetFaultHookForTest(FailLast);
        bool failed = false;
        try {
            ConfigUpdate_t("").Apply();
        } catch (const LumPalIo::IOException_t&) {
            failed = true;
        }
        LumPalIo::SetFaultHookForTest(nullptr);
        const std::string text = Text(Policy());
        EXPECT_TRUE(text == "[a]\nk=new\n" || (failed && text == "[a]\nk=old\n")) << "operation " << n << ": " << text;
        if (operationsLeft > 0) break;
        EXPECT_TRUE(failed) << "operation " << n;
    }
}
