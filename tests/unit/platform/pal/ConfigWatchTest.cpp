#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalMsg.h"
#include "TempRoot.h"

using LumPalConfig::ChangedConfiguration_t;
using LumPalConfig::ConfigChangeHandler_i;
using LumPalConfig::ConfigNamespace_t;
using LumPalConfig::ConfigUpdate_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

// Only a broken watcher needs so long.
constexpr std::chrono::seconds LongEnough{30};

class Handler : public ConfigChangeHandler_i {
public:
    void Update(const ChangedConfiguration_t& changes, const Configuration_t& configuration) override {
        if (during) during();
        const std::lock_guard<std::mutex> lock(mutex);
        std::string text = configuration.GetNamespace().ToUtf8() + ":";
        for (const char* name : {"k", "m", "n"}) {
            if (changes.HasChanged(name)) text += std::string(name) + "=" + configuration.GetValue(name).ToUtf8() + ";";
        }
        text += std::to_string(changes.GetCount());
        calls.push_back(text);
        called.notify_all();
    }

    /// The calls so far, once there are that many.
    std::vector<std::string> WaitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex);
        called.wait_for(lock, LongEnough, [&] { return calls.size() >= count; });
        return calls;
    }

    std::function<void()> during;

private:
    std::mutex mutex;
    std::condition_variable called;
    std::vector<std::string> calls;
};

/// Registered as long as it lives.
class Registered {
public:
    Registered(const char* nameSpace, ConfigChangeHandler_i& handler) : nameSpace(nameSpace), handler(handler) {
        this->nameSpace.Register(handler);
    }
    ~Registered() { nameSpace.Unregister(handler); }

private:
    ConfigNamespace_t nameSpace;
    ConfigChangeHandler_i& handler;
};

std::string FolderOf(const TempRoot& root) {
    return root.Native() + "/etc/pal/config/";
}

void Put(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

/// As another program would do it that knows nothing of this process.
void Replace(const TempRoot& root, const std::string& text, const char* name = "local_settings.ini") {
    Put(FolderOf(root) + "other", text);
    std::filesystem::rename(FolderOf(root) + "other", FolderOf(root) + name);
}

void Set(const char* nameSpace, const char* name, const String_t& value) {
    Configuration_t config(nameSpace);
    config.SetAttrValue(name, value);
    ConfigUpdate_t update("");
    update.SetConfig(config);
    update.Apply();
}

int RunProgram(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const auto& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) return -1;
    return waitpid(child, &status, 0) == child ? status : -1;
}

using Calls = std::vector<std::string>;

}  // namespace

TEST(ConfigWatch, AHandlerIsToldWhatChangedAndGetsTheNewValues) {
    const TempRoot root;
    Set("a", "k", "1");
    Set("a", "m", "1");
    Handler handler;
    const Registered registered("a", handler);
    Set("a", "k", "2");
    EXPECT_EQ(handler.WaitFor(1), (Calls{"a:k=2;1"}));
    ConfigUpdate_t update("");
    Configuration_t config("a");
    config.SetAttrValue("n", "3");
    update.SetConfig(config);
    update.ClearAttr("a", "m");
    update.Apply();
    EXPECT_EQ(handler.WaitFor(2).back(), "a:m=;n=3;2");
    ConfigUpdate_t clear("");
    clear.ClearNamespace("a");
    clear.Apply();
    EXPECT_EQ(handler.WaitFor(3).back(), "a:k=;n=;2");
}

TEST(ConfigWatch, TheFirstRegistrationMakesTheFolder) {
    const TempRoot root;
    Handler handler;
    const Registered registered("a", handler);
    EXPECT_TRUE(std::filesystem::is_directory(FolderOf(root)));
    Set("a", "k", "1");
    EXPECT_EQ(handler.WaitFor(1), (Calls{"a:k=1;1"}));
}

TEST(ConfigWatch, AChangeByAnotherProgramIsSeen) {
    const TempRoot root;
    Handler handler;
    const Registered registered("a", handler);
    Replace(root, "[a]\nk=renamed\n");
    EXPECT_EQ(handler.WaitFor(1).back(), "a:k=renamed;1");
    Put(FolderOf(root) + "aside", "[a]\nk=moved\n");
    ASSERT_EQ(RunProgram({"mv", FolderOf(root) + "aside", FolderOf(root) + "local_settings.ini"}), 0);
    EXPECT_EQ(handler.WaitFor(2).back(), "a:k=moved;1");
    ASSERT_EQ(RunProgram({"rm", FolderOf(root) + "local_settings.ini"}), 0);
    EXPECT_EQ(handler.WaitFor(3).back(), "a:k=;1");
}

TEST(ConfigWatch, APolicyChangeIsSeenUnlessALocalValueHidesIt) {
    const TempRoot root;
    Set("a", "k", "local");
    Handler handler;
    const Registered registered("a", handler);
    Put(FolderOf(root) + "new_policy_settings.ini", "[a]\nk=policy\nm=policy\n");
    ConfigUpdate_t("").Apply();
    EXPECT_EQ(handler.WaitFor(1), (Calls{"a:m=policy;1"}));
}

TEST(ConfigWatch, OnlyTheNamespaceThatChangedIsTold) {
    const TempRoot root;
    Handler a, b;
    const Registered first("a", a);
    const Registered second("b", b);
    Set("c", "k", "0");
    Set("a", "k", "1");
    EXPECT_EQ(a.WaitFor(1), (Calls{"a:k=1;1"}));
    Set("b", "k", "2");
    EXPECT_EQ(b.WaitFor(1), (Calls{"b:k=2;1"}));
    EXPECT_EQ(a.WaitFor(1).size(), 1u);
}

TEST(ConfigWatch, AFileThatSaysTheSameInOtherWordsWakesNobody) {
    const TempRoot root;
    Handler handler;
    const Registered registered("a", handler);
    Set("a", "k", "1");
    handler.WaitFor(1);
    Replace(root, "# the same\n[a]\nk = 1\n");
    Replace(root, "[a]\nk=2\n");
    EXPECT_EQ(handler.WaitFor(2), (Calls{"a:k=1;1", "a:k=2;1"}));
}

TEST(ConfigWatch, ABrokenFileLeavesWhatWasReadBefore) {
    const TempRoot root;
    Set("a", "k", "1");
    Set("a", "m", "1");
    Handler handler;
    const Registered registered("a", handler);
    Replace(root, "[a]\nbroken\n");
    Replace(root, "[a]\nk=1\nm=2\n");
    EXPECT_EQ(handler.WaitFor(1), (Calls{"a:m=2;1"}));
}

TEST(ConfigWatch, AHandlerThatThrowsIsCalledAgainAndHindersNoOther) {
    const TempRoot root;
    Handler bad, good;
    int calls = 0;
    bad.during = [&calls] {
        if (++calls == 1) throw std::runtime_error("not today");
        if (calls == 2) throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("nor tomorrow"));
        if (calls == 3) throw 4;
    };
    const Registered first("a", bad);
    const Registered second("a", good);
    for (int i = 1; i <= 4; ++i) {
        Set("a", "k", LumPalStr::NumToStr(i));
        good.WaitFor(static_cast<std::size_t>(i));
    }
    EXPECT_EQ(bad.WaitFor(1), (Calls{"a:k=4;1"}));
    EXPECT_EQ(good.WaitFor(4).size(), 4u);
}

TEST(ConfigWatch, AnUnregisteredHandlerIsNotCalledAnyMore) {
    const TempRoot root;
    Handler gone, there;
    const Registered registered("a", there);
    ConfigNamespace_t("a").Register(gone);
    Set("a", "k", "1");
    gone.WaitFor(1);
    ConfigNamespace_t("a").Unregister(gone);
    ConfigNamespace_t("a").Unregister(gone);
    Set("a", "k", "2");
    EXPECT_EQ(there.WaitFor(2).size(), 2u);
    EXPECT_EQ(gone.WaitFor(1).size(), 1u);
}

TEST(ConfigWatch, AHandlerMayListenToTwoNamespacesAndLeaveOne) {
    const TempRoot root;
    Handler handler;
    const Registered registered("a", handler);
    ConfigNamespace_t("b").Register(handler);
    Set("b", "k", "1");
    handler.WaitFor(1);
    ConfigNamespace_t("b").Unregister(handler);
    Set("b", "k", "2");
    Set("a", "k", "3");
    EXPECT_EQ(handler.WaitFor(2), (Calls{"b:k=1;1", "a:k=3;1"}));
}

TEST(ConfigWatch, ASecondRegistrationOfTheSameHandlerDoesNothing) {
    const TempRoot root;
    Handler handler;
    const Registered registered("a", handler);
    ConfigNamespace_t("a").Register(handler);
    Set("a", "k", "1");
    handler.WaitFor(1);
    Set("a", "k", "2");
    EXPECT_EQ(handler.WaitFor(2), (Calls{"a:k=1;1", "a:k=2;1"}));
}

TEST(ConfigWatch, UnregisterWaitsForTheCallInFlight) {
    const TempRoot root;
    std::mutex mutex;
    std::condition_variable changed;
    bool begun = false, mayEnd = false, unregistering = false;
    std::atomic<bool> ended{false};
    Handler handler;
    handler.during = [&] {
        std::unique_lock<std::mutex> lock(mutex);
        begun = true;
        changed.notify_all();
        changed.wait(lock, [&] { return mayEnd; });
        ended = true;
    };
    ConfigNamespace_t("a").Register(handler);
    Set("a", "k", "1");
    std::thread leaving([&] {
        {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait(lock, [&] { return begun; });
            unregistering = true;
            changed.notify_all();
        }
        ConfigNamespace_t("a").Unregister(handler);
        EXPECT_TRUE(ended);
    });
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return unregistering; });
        mayEnd = true;
        changed.notify_all();
    }
    leaving.join();
}

TEST(ConfigWatch, AHandlerMayUnregisterItselfAndOthersWithinItsCall) {
    const TempRoot root;
    Handler first, second, witness;
    first.during = [&] {
        ConfigNamespace_t("a").Unregister(first);
        ConfigNamespace_t("a").Unregister(second);
    };
    ConfigNamespace_t("a").Register(first);
    ConfigNamespace_t("a").Register(second);
    const Registered registered("a", witness);
    Set("a", "k", "1");
    EXPECT_EQ(first.WaitFor(1).size(), 1u);
    EXPECT_EQ(witness.WaitFor(1).size(), 1u);
    Set("a", "k", "2");
    EXPECT_EQ(witness.WaitFor(2).size(), 2u);
    EXPECT_EQ(first.WaitFor(1).size(), 1u);
    EXPECT_EQ(second.WaitFor(0).size(), 0u);
}

TEST(ConfigWatch, AHandlerMayChangeTheConfigurationWithinItsCall) {
    const TempRoot root;
    Handler handler;
    bool first = true;
    handler.during = [&first] {
        if (std::exchange(first, false)) Set("a", "m", "2");
    };
    const Registered registered("a", handler);
    Set("a", "k", "1");
    EXPECT_EQ(handler.WaitFor(2), (Calls{"a:k=1;1", "a:m=2;1"}));
}

TEST(ConfigWatch, EachRegistrationFollowsTheRootOfItsTime) {
    const TempRoot first;
    Handler ofFirst, ofSecond;
    const Registered one("a", ofFirst);
    const TempRoot second;
    const Registered two("a", ofSecond);
    Set("a", "k", "second");
    EXPECT_EQ(ofSecond.WaitFor(1), (Calls{"a:k=second;1"}));
    Replace(first, "[a]\nk=first\n");
    EXPECT_EQ(ofFirst.WaitFor(1), (Calls{"a:k=first;1"}));
    EXPECT_EQ(ofSecond.WaitFor(1).size(), 1u);
}

TEST(ConfigWatch, AFolderThatGoesAwayIsFoundAgain) {
    const TempRoot root;
    Set("a", "k", "1");
    Handler handler;
    const Registered registered("a", handler);
    std::filesystem::remove_all(root.Native() + "/etc");
    EXPECT_EQ(handler.WaitFor(1).back(), "a:k=;1");
    Set("a", "k", "2");
    EXPECT_EQ(handler.WaitFor(2).back(), "a:k=2;1");
    std::filesystem::rename(root.Native() + "/etc/pal/config", root.Native() + "/old");
    EXPECT_EQ(handler.WaitFor(3).back(), "a:k=;1");
    Set("a", "k", "3");
    EXPECT_EQ(handler.WaitFor(4).back(), "a:k=3;1");
}
