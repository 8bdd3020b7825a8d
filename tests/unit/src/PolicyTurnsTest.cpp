// What comes in between two policies of a change of many: other callers, and the end of the node.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string_view>
#include <thread>
#include <utility>

#include "Asleep.h"
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

TEST_F(PolicyTurns, WhoeverWaitsIsServedBetweenTwoPoliciesOfARemoval) {
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
            WaitUntilAsleep(waiting);
        });
        node.Remove(Selection());
    }
    lister.join();
    EXPECT_EQ(seen, "b c d");
    EXPECT_EQ(node.Ids(), "");
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
            WaitUntilAsleep(waiting);
        });
        InstallPackage("abcd");
    }
    lister.join();
    EXPECT_EQ(seen, "a x");
}

/// A removal during which another caller does something, in between two of its policies.
void RemoveAllBeside(PolicyNode& node, const std::function<void()>& other) {
    std::atomic<pid_t> waiting{0};
    std::thread caller;
    {
        const AtFile first("/policies/files/a", [&] {
            caller = std::thread([&] {
                waiting = gettid();
                try {
                    other();
                } catch (const LumPalMsg::Exception_t& e) {
                    ADD_FAILURE() << e.what();
                }
            });
            WaitUntilAsleep(waiting);
        });
        node.Remove(Selection());
    }
    caller.join();
}

TEST_F(PolicyTurns, APolicyThatSomebodyElseRemovesMeanwhileIsPassedOver) {
    Put("abc");
    RemoveAllBeside(node, [&] { node.Remove(Selection().SetPolicyId("b")); });
    EXPECT_EQ(node.Ids(), "");
    EXPECT_EQ(node.Audited("(name: 'name of b', id: 'b') was successfully removed"), 1);
    EXPECT_EQ(node.Audited("(name: 'name of c', id: 'c') was successfully removed"), 1);
}

TEST_F(PolicyTurns, APolicyOfAnotherOwnerThatTookThePlaceMeanwhileStays) {
    Put("abc");
    TestPolicy other = Policy("b");
    other.owner = "somebody else";
    RemoveAllBeside(node, [&] { node.Install(other, InstallOptions().SetForceAll(true)); });
    EXPECT_EQ(node.Ids(), "b");
    EXPECT_EQ(node.Installed().count("files/b.data"), 1u);
}

TEST_F(PolicyTurns, ACacheThatIsReadAnewMeanwhileChangesNothing) {
    Put("abc");
    RemoveAllBeside(node, [&] { node->ReinitCache("tester"); });
    EXPECT_EQ(node.Ids(), "");
    EXPECT_EQ(node.Installed().size(), 0u);
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

int flushes = 0;

void CountFlushes(const char* operation, const char*, const char*) {
    const std::string_view what = operation;
    flushes += what == "fsync" || what == "syncfs";
}

TEST_F(PolicyTurns, EachPolicyOfARemovalIsFlushedFiveTimes) {
    constexpr int kPolicies = 20, kMostFlushesEach = 5;
    for (int i = 0; i < kPolicies; ++i) node.Install(Policy("p" + std::to_string(i)));
    flushes = 0;
    LumPalIo::SetFileObserverForTest(CountFlushes);
    node.Remove(Selection());
    LumPalIo::SetFileObserverForTest(nullptr);
    EXPECT_GT(flushes, kPolicies);
    EXPECT_LE(flushes, kPolicies * kMostFlushesEach);
}

}  // namespace
}  // namespace LumConf
