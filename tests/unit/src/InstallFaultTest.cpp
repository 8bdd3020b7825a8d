// Each file operation of an install fails in turn: what the store, the cache and the next install are then.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "Faults.h"
#include "Files.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

/// The content of each file of the store.
using Store = std::map<std::string, std::string>;

Store StoreOf(const PolicyNode& node) {
    Store store;
    for (const std::string& file : node.Installed()) store[file] = node.InstalledContent(file);
    return store;
}

struct Policies {
    TestPolicy old, fresh, sameType, otherType;
};

/// The new version keeps one data file, drops one and brings one.
Policies MakePolicies(bool newId) {
    Policies policies;
    for (TestPolicy* policy : {&policies.old, &policies.fresh}) policy->id = "a";
    policies.old.data = {{"a.same", "old same"}, {"a.gone", "old gone"}};
    policies.fresh.version = "2";
    policies.fresh.data = {{"a.same", "new same"}, {"a.new", "new new"}};
    if (newId) policies.fresh.id = "b";
    policies.sameType.id = "s";
    policies.sameType.name = "beside";
    policies.sameType.data = {{"s.data", "of the same type"}};
    policies.otherType.id = "o";
    policies.otherType.type = "other";
    policies.otherType.data = {{"o.data", "of another type"}};
    return policies;
}

struct Way {
    const char* what;
    FaultMode mode;
    bool apart;  ///< the store is another file system than the folders for work
    bool newId;  ///< the new version comes under another id
    bool forceAll;
    bool newType = false;  ///< the new version comes as a policy of another type, which is new
};

const Way kWays[] = {
    {"one operation fails", FaultMode::Once, false, false, false},
    {"the disk goes away", FaultMode::FromThenOn, false, false, false},
    {"the disk is full", FaultMode::DiskFull, false, false, false},
    {"one operation fails, another file system", FaultMode::Once, true, false, false},
    {"the disk is full, another file system", FaultMode::DiskFull, true, false, false},
    {"one operation fails, another id", FaultMode::Once, false, true, false},
    {"the disk is full, another id", FaultMode::DiskFull, false, true, false},
    {"one operation fails, by force", FaultMode::Once, false, false, true},
    {"the disk is full, by force", FaultMode::DiskFull, false, false, true},
    {"one operation fails, by force under another id", FaultMode::Once, false, true, true},
    {"one operation fails, by force as another type", FaultMode::Once, false, false, true, true},
    {"the disk is full, by force as another type", FaultMode::DiskFull, false, false, true, true},
};

class InstallFault : public testing::TestWithParam<Way> {
protected:
    InstallFault() : policies(MakePolicies(GetParam().newId)) {
        if (GetParam().newType) policies.fresh.type = "moved";
    }

    /// The store that stands before, and the one that a good install makes of it.
    void Prepare(PolicyNode& node) const {
        node.Install(policies.old);
        node.Install(policies.sameType);
        node.Install(policies.otherType);
    }
    void InstallNew(PolicyNode& node) const {
        InstallOptions options;
        options.SetForceAll(GetParam().forceAll);
        node.Install(policies.fresh, options);
    }
    Store Complete() const {
        PolicyNode node(kFastFolder);
        Prepare(node);
        InstallNew(node);
        return StoreOf(node);
    }
    Faults Arm(int nth) const { return Faults(nth, GetParam().mode, GetParam().apart); }

    Policies policies;
};

/// What no failure may touch.
void ExpectOthersWhole(const Store& before, const Store& after) {
    for (const auto& [file, content] : before) {
        if (!file.starts_with("files/a")) {
            ASSERT_EQ(after.count(file), 1u) << file;
            EXPECT_EQ(after.at(file), content) << file;
        }
    }
}

TEST_P(InstallFault, LeavesTheOldOrTheNewPolicyAndAnErrorAndTheNextInstallIsComplete) {
    const Store complete = Complete();
    for (const bool restart : {false, true}) {
        ForEachFault([&](int nth) {
            PolicyNode node(kFastFolder);
            Prepare(node);
            const Store before = StoreOf(node);
            const std::string idsBefore = node.Ids();
            std::string error, failed;
            bool fired = false, changed = false;
            {
                Faults faults = Arm(nth);
                try {
                    InstallNew(node);
                } catch (const LumPalMsg::Exception_t& e) {
                    error = e.GetMessageList().Format(36).ToUtf8();
                }
                fired = faults.Fired();
                failed = faults.Failed();
                changed = faults.HadChanged(node.InstallFolder());
            }
            SCOPED_TRACE("operation " + std::to_string(nth) + ": " + failed + " -> " + error);
            const Store after = StoreOf(node);
            ExpectOthersWhole(before, after);
            const std::string oldHeader = "files/a_header.xml";
            const std::string newHeader = policies.fresh.type + "/" + policies.fresh.HeaderName();
            if (error.empty()) {
                EXPECT_EQ(node.List().GetPolicyHeader(LumPalStr::String_t::FromUtf8(policies.fresh.id)).GetVersion(),
                          "2");
                for (const auto& [file, content] : complete) {
                    EXPECT_EQ(after.count(file) ? after.at(file) : "missing", content) << file;
                }
            } else {
                EXPECT_EQ(node.Ids(), idsBefore);
                EXPECT_EQ(node.Get("a").GetVersion(), "1");
                const bool oldStands = after.count(oldHeader) && after.at(oldHeader) == before.at(oldHeader);
                const bool newStands = after.count(newHeader) && after.at(newHeader) == complete.at(newHeader);
                EXPECT_TRUE(oldStands || newStands) << "the policy is lost";
                // Behind the record only flushes could fail for want of room, and they come last.
                const bool flush = failed.starts_with("fsync") || failed.starts_with("syncfs");
                if (GetParam().mode == FaultMode::DiskFull && !GetParam().apart && !flush) {
                    EXPECT_EQ(after, before) << "a full disk costs nothing";
                }
                if (!changed) {
                    EXPECT_EQ(after, before) << "a failure before the store changes costs nothing";
                }
            }
            if (restart) {
                node.Restart();
                EXPECT_THAT(node.Incoming(), IsEmpty());
                EXPECT_THAT(node.Temporary(), IsEmpty());
                std::set<std::string> headers;
                for (const auto& [file, content] : after) {
                    if (file.ends_with("_header.xml")) headers.insert(file);
                }
                EXPECT_EQ(node.List().GetCount(), static_cast<int>(headers.size())) << "every header can be read";
            }
            InstallNew(node);
            EXPECT_EQ(StoreOf(node), complete);
            EXPECT_EQ(node.Get(policies.fresh.id.c_str()).GetVersion(), "2");
            EXPECT_THAT(node.Incoming(), IsEmpty());
            return fired && !HasFailure();
        });
    }
}

INSTANTIATE_TEST_SUITE_P(EveryWay, InstallFault, testing::ValuesIn(kWays), [](const auto& info) {
    std::string name = info.param.what;
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
});

}  // namespace
}  // namespace LumConf
