// Each change of the store is cut short by the end of the process, at every operation that changes a file; and what is
// answered is on the disk.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "Faults.h"
#include "FlushFollower.h"
#include "ForkedProcess.h"
#include "StoreChanges.h"

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

/// A folder in memory for the nodes of a test, which ends with it.
class Folder {
public:
    Folder() : path(std::string(kFastFolder) + "/lumcrash-XXXXXX") {
        if (!mkdtemp(path.data())) throw std::runtime_error("cannot make a folder");
    }
    ~Folder() { fs::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::string& Path() const { return path; }

private:
    std::string path;
};

/// Runs in a process of its own, as a daemon would: threads of a node do not live on in a process that is forked.
void InProcess(const std::function<void()>& action) {
    ForkedProcess process(action);
    ASSERT_EQ(process.Wait(), 0);
}

class StoreCrash : public testing::TestWithParam<StoreChangeCase> {
protected:
    std::string Node() const { return folder.Path() + "/node"; }

    const Folder folder;
};

/// Compares, in a process of its own, what a restart finds with what the change may end in.
/// @return the number of the tree found; -1 for none, with the reason on standard error
int FoundTree(const std::string& base, const std::string& root, const StoreChangeCase& change) {
    ForkedProcess process([&] {
        const std::vector<NodeTree> allowed = AllowedTrees(base, change);
        const NodeTree found = TreeAfterRestart(root);
        for (std::size_t i = 0; i < allowed.size(); ++i) {
            if (allowed[i] == found) _exit(static_cast<int>(100 + i));
        }
        throw std::runtime_error("neither old nor new; to the old one:\n" + Difference(allowed.front(), found) +
                                 "to the new one:\n" + Difference(allowed.back(), found));
    });
    const int code = process.Wait();
    return code >= 100 ? code - 100 : -1;
}

/// @param apart  whether the store is another file system than the folders that policies come from
void KillAtEachOperation(const Folder& folder, const StoreChangeCase& change, bool apart) {
    const std::string node = folder.Path() + "/node";
    bool newSeen = false;
    int kills = 0;
    ForEachFault([&](int nth) {
        fs::remove_all(node);
        InProcess([&] { PrepareNode(node, change); });
        ForkedProcess killed([&] {
            NodeAt running(node);
            CrashingOperations::Start(nth, false, apart);
            change.action(running);
            LumPalIo::SetFaultHookForTest(nullptr);
        });
        const int code = killed.Wait();
        EXPECT_TRUE(code == 0 || code == CrashingOperations::kCode) << code;
        SCOPED_TRACE("killed before operation " + std::to_string(nth));
        const int tree = FoundTree(folder.Path(), node, change);
        EXPECT_GE(tree, 0);
        const int last = static_cast<int>(change.steps.empty() ? 1 : change.steps.size());
        if (code == 0) {
            EXPECT_EQ(tree, last) << "what was answered is there";
        }
        newSeen = newSeen || tree == last;
        kills += code == CrashingOperations::kCode;
        return code == CrashingOperations::kCode && !testing::Test::HasFailure();
    });
    EXPECT_TRUE(newSeen);
    EXPECT_GT(kills, 0);
}

TEST_P(StoreCrash, AKillAtAnyOperationLeavesTheOldPolicyOrTheNewOneAndNothingElse) {
    KillAtEachOperation(folder, GetParam(), false);
}

TEST(StoreCrash, AKillBetweenTwoFileSystemsLeavesTheOldPolicyOrTheNewOneAndNothingElse) {
    const Folder folder;
    const std::set<std::string> tried{"an update", "a disable", "a forced change of the type",
                                      "a removal of one of two", "an owner of many"};
    for (const StoreChangeCase& change : AllStoreChanges()) {
        if (tried.count(change.what) == 0) continue;
        SCOPED_TRACE(change.what);
        KillAtEachOperation(folder, change, true);
    }
}

/// Starts the node in a process that ends before its n-th file operation. @return false when there were fewer
bool StartIsKilledAt(int nth, const std::string& node) {
    ForkedProcess starting([&] {
        CrashingOperations::Start(nth, false);
        const NodeAt started(node);
        LumPalIo::SetFaultHookForTest(nullptr);
    });
    return starting.Wait() == CrashingOperations::kCode;
}

/// Prepares the node and kills the change before its n-th operation. @return whether it left a record
bool KillChangeAt(int nth, const std::string& node, const StoreChangeCase& change, bool& over) {
    fs::remove_all(node);
    InProcess([&] { PrepareNode(node, change); });
    ForkedProcess killed([&] {
        NodeAt running(node);
        CrashingOperations::Start(nth, false);
        change.action(running);
        LumPalIo::SetFaultHookForTest(nullptr);
    });
    over = killed.Wait() != CrashingOperations::kCode;
    return fs::exists(node + "/spool/store.change");
}

/// The operations before which a kill leaves the record of the change: the first, one in the middle and the last.
std::vector<int> RecordedPoints(const std::string& node, const StoreChangeCase& change) {
    std::vector<int> points;
    bool over = false;
    for (int nth = 1; !over && nth < 1000; ++nth) {
        if (KillChangeAt(nth, node, change, over) && !over) points.push_back(nth);
    }
    if (points.size() < 3) return points;
    return {points.front(), points[points.size() / 2], points.back()};
}

TEST(StoreCrash, AStartThatIsKilledWhileItFinishesAChangeIsFollowedByOneThatFinishesIt) {
    const std::set<std::string> tried{"an update", "a forced change of the type", "a removal of a type's last policy"};
    for (const StoreChangeCase& change : AllStoreChanges()) {
        if (tried.count(change.what) == 0) continue;
        const Folder folder;
        const std::string node = folder.Path() + "/node";
        const std::vector<int> points = RecordedPoints(node, change);
        ASSERT_EQ(points.size(), 3u) << change.what;
        for (const int point : points) {
            ForEachFault([&](int nth) {
                SCOPED_TRACE(std::string(change.what) + " killed before operation " + std::to_string(point) +
                             ", the start before operation " + std::to_string(nth));
                bool over = false;
                EXPECT_TRUE(KillChangeAt(point, node, change, over));
                const bool killed = StartIsKilledAt(nth, node);
                EXPECT_EQ(FoundTree(folder.Path(), node, change), 1);
                return killed && !testing::Test::HasFailure();
            });
        }
    }
}

/// Starts the node and compares: a change that can be finished is, and of one that cannot nothing is touched any more.
void ExpectNewOrUntouched(const Folder& folder, const std::string& node, const StoreChangeCase& change) {
    InProcess([&] {
        const std::vector<NodeTree> allowed = AllowedTrees(folder.Path(), change);
        const NodeTree before = TreeOf(node + "/policies");
        const NodeTree found = TreeAfterRestart(node);
        const bool aside = fs::exists(node + "/spool/store.change.unreadable");
        const std::string difference =
            aside ? Difference(before, TreeOf(node + "/policies")) : Difference(allowed.back(), found);
        if (!difference.empty()) throw std::runtime_error((aside ? "touched:\n" : "not the new one:\n") + difference);
    });
}

TEST(StoreCrash, AChangeWhoseFilesAreGoneIsPutAsideAndNothingIsMixed) {
    const std::set<std::string> tried{"an update", "a forced update", "a forced change of the type"};
    const std::vector<std::vector<std::string>> cleared{
        {"/tmp/conf_tmp"}, {"/spool/incoming"}, {"/tmp/conf_tmp", "/spool/incoming"}};
    for (const StoreChangeCase& change : AllStoreChanges()) {
        if (tried.count(change.what) == 0) continue;
        const Folder folder;
        const std::string node = folder.Path() + "/node";
        for (const std::vector<std::string>& folders : cleared) {
            bool over = false;
            for (int nth = 1; !over && nth < 1000; ++nth) {
                if (!KillChangeAt(nth, node, change, over)) continue;
                for (const std::string& work : folders) ASSERT_GT(fs::remove_all(node + work), 0u) << work;
                SCOPED_TRACE(std::string(change.what) + " killed before operation " + std::to_string(nth) +
                             ", gone: " + folders.front() + " and " + std::to_string(folders.size() - 1) + " more");
                ExpectNewOrUntouched(folder, node, change);
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}

TEST_P(StoreCrash, BeforeTheAnswerAllThatItPromisesIsFlushed) {
    const StoreChangeCase& change = GetParam();
    InProcess([&] {
        PrepareNode(Node(), change);
        NodeAt node(Node());
        const FlushFollower follower(Node(), {"spool/incoming", "tmp"});
        change.action(node);
        std::string faults;
        for (const std::string& fault : follower.Faults()) faults += fault + "\n";
        if (follower.Flushes() == 0) faults += "nothing was flushed\n";
        if (!faults.empty()) throw std::runtime_error(faults);
    });
}

INSTANTIATE_TEST_SUITE_P(Every, StoreCrash, testing::ValuesIn(AllStoreChanges()), NameOfChange);

}  // namespace
