// What comes in between two policies of a change of many: other callers, and the end of the node.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string_view>
#include <thread>
#include <utility>

#include "Asleep.h"
#include "Configure.h"
#include "Exceptions.h"
#include "Faults.h"
#include "LumPalDaemon.h"
#include "LumPalFault.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

using testing::AllOf;
using testing::HasSubstr;

/// Does something once, at the first deletion or renaming of a file whose path holds a text.
class AtFile {
public:
    AtFile(const std::string& text, std::function<void()> step) {
        part = text;
        act = std::move(step);
        LumPalIo::SetFaultHookForTest(Hook);
    }
    ~AtFile() { LumPalIo::SetFaultHookForTest(nullptr); }
    AtFile(const AtFile&) = delete;
    AtFile& operator=(const AtFile&) = delete;

private:
    static bool Hook(const char* asked, const char* path) {
        const std::string_view operation = asked;
        const bool concerned = operation == "unlink" || operation == "rename";
        if (act && concerned && std::string_view(path).find(part) != std::string_view::npos) {
            std::exchange(act, nullptr)();
        }
        return false;
    }

    inline static std::string part;
    inline static std::function<void()> act;
};

TestPolicy Policy(const std::string& id) {
    TestPolicy policy;
    policy.id = id;
    policy.name = "name of " + id;
    policy.data = {{id + ".data", "data of " + id}};
    return policy;
}

std::vector<TestPolicy> Policies(const std::string& ids) {
    std::vector<TestPolicy> policies;
    for (const char id : ids) policies.push_back(Policy(std::string(1, id)));
    return policies;
}

class PolicyTurns : public testing::Test {
protected:
    ~PolicyTurns() override { LumPalRuntime::SetStopping(false); }
    void Put(const std::string& ids) {
        for (const TestPolicy& policy : Policies(ids)) node.Install(policy);
    }
    /// What a caller sees whose turn comes when the last policy may be gone.
    std::string IdsOrNone() {
        try {
            return node.Ids();
        } catch (const NoPoliciesInstalledError&) {
            return "none";
        }
    }
    void InstallPackage(const std::string& ids) {
        InstallOptions options;
        options.SetNotify(false);
        node->InstallPackage("tester", PackageOf(Policies(ids)), options);
    }
    std::string IdsAfterRestart() {
        LumPalRuntime::SetStopping(false);
        node.Restart();
        return node.Ids();
    }

    PolicyNode node{kFastFolder};
};

TEST_F(PolicyTurns, WhoeverWaitsSeesNothingOfARemovalOrAllOfIt) {
    Put("abcd");
    std::atomic<pid_t> waiting{0};
    std::string seen;
    std::thread lister;
    {
        const AtFile first("/policies/files/a", [&] {
            lister = std::thread([&] {
                waiting = gettid();
                seen = IdsOrNone();
            });
            EXPECT_TRUE(FallsAsleep(waiting));
        });
        node.Remove(Selection());
    }
    lister.join();
    EXPECT_EQ(seen, "none");
}

TEST_F(PolicyTurns, WhoeverWaitsIsServedBetweenTwoPoliciesOfAPackage) {
    Put("x");
    std::atomic<pid_t> waiting{0};
    std::string seen;
    std::thread lister;
    {
        const AtFile first("/conf_tmp/a.data", [&] {
            lister = std::thread([&] {
                waiting = gettid();
                seen = IdsOrNone();
            });
            EXPECT_TRUE(FallsAsleep(waiting));
        });
        InstallPackage("abcd");
    }
    lister.join();
    EXPECT_EQ(seen, "a x");
}

TEST_F(PolicyTurns, ARemovalThatIsUnderWayWhenTheNodeStopsEndsBehindThePolicyThatItHasBegun) {
    Put("abcd");
    CaughtFailure failure;
    {
        const AtFile first("/policies/files/b", [] { LumPalRuntime::SetStopping(true); });
        failure = FailureOf<PolicyException>([this] { node.Remove(Selection()); });
    }
    EXPECT_THAT(failure.text, AllOf(HasSubstr("The node is stopping."), HasSubstr("'2' of '4'"), HasSubstr("'c'")));
    EXPECT_EQ(node.Audited("could not be removed"), 0);
    EXPECT_EQ(IdsAfterRestart(), "c d");
    EXPECT_EQ(node.Installed().size(), 4u);
}

TEST_F(PolicyTurns, APackageThatIsUnderWayWhenTheNodeStopsEndsBehindThePolicyThatItHasBegun) {
    CaughtFailure failure;
    {
        const AtFile first("/conf_tmp/b.data", [] { LumPalRuntime::SetStopping(true); });
        failure = FailureOf<ConfException>([this] { InstallPackage("abcd"); });
    }
    EXPECT_THAT(failure.text, AllOf(HasSubstr("The node is stopping."), HasSubstr("'2' of '4'")));
    EXPECT_EQ(IdsAfterRestart(), "a b");
    EXPECT_EQ(node.Installed().size(), 4u);
}

TEST_F(PolicyTurns, ManyPoliciesAndLargeOnesAreNotBegunByANodeThatStopsAndSmallOnesAre) {
    Put("ab");
    LumPalRuntime::SetStopping(true);
    TestPolicy large = Policy("l");
    for (int i = 0; i < 4000; ++i) large.data.emplace_back("f" + std::to_string(i), "");
    EXPECT_THAT(FailureOf<ConfException>([&] { node.Install(large); }).text, HasSubstr("The node is stopping."));
    EXPECT_THAT(FailureOf<ConfException>([&] { InstallPackage("de"); }).text, HasSubstr("'0' of '2'"));
    EXPECT_THAT(FailureOf<ConfException>([&] { node.Remove(Selection()); }).text, HasSubstr("'0' of '2'"));
    EXPECT_EQ(node.Incoming().size(), 0u);
    EXPECT_EQ(node.Ids(), "a b");
    Put("c");
    InstallPackage("d");
    node.Remove(Selection().SetPolicyId("a"));
    EXPECT_EQ(IdsAfterRestart(), "b c d");
}

TEST_F(PolicyTurns, AForcedInstallThatHasBegunWhenTheNodeStopsTakesThePlaceOfAllOfALimitedType) {
    Put("ab");
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    {
        const AtFile first("/policies/files/a", [] { LumPalRuntime::SetStopping(true); });
        node.Install(Policy("n"), InstallOptions().SetForceAll(true));
    }
    EXPECT_EQ(IdsAfterRestart(), "n");
    EXPECT_EQ(node.Installed().size(), 2u);
}

int flushes = 0;

void CountFlushes(const char* operation, const char*, const char*) {
    const std::string_view what = operation;
    flushes += what == "fsync" || what == "syncfs";
}

TEST_F(PolicyTurns, EachPolicyOfARemovalIsFlushedFiveTimes) {
    constexpr int kPolicies = 20, kFlushesEach = 5;
    for (int i = 0; i < kPolicies; ++i) node.Install(Policy("p" + std::to_string(i)));
    flushes = 0;
    LumPalIo::SetFileObserverForTest(CountFlushes);
    node.Remove(Selection());
    LumPalIo::SetFileObserverForTest(nullptr);
    EXPECT_EQ(flushes, kPolicies * kFlushesEach - 1) << "with the last one its type's folder goes";
}

}  // namespace
}  // namespace LumConf
