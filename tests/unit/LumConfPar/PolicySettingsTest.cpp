// What the merge of settings policies comes to, and in which order.
#include "PolicySettings.h"

#include <gtest/gtest.h>

#include <atomic>

#include "CapturedLog.h"
#include "Configure.h"
#include "LumPalDaemon.h"
#include "SettingsPolicies.h"
#include "TraceLines.h"

namespace {

using LumConfPar::PolicySettings;
using LumPalConfig::ConfigNamespace_t;
namespace fs = std::filesystem;

class PolicySettingsTest : public testing::Test {
protected:
    /// A policy that only says that it was merged: "[id]", "on=1".
    void PutMark(const std::string& id, const std::string& status = "enabled") const {
        TestPolicy policy = SettingsPolicy(id, "name of " + id, "[" + id + "]\non=1\n");
        policy.status = status;
        store.Put(policy);
    }
    static std::string Marks(const std::string& ids) {
        std::string text;
        for (const char id : ids) text += std::string(text.empty() ? "" : "\n") + "[" + id + "]\non=1\n";
        return text;
    }
    std::string Settings() const { return store.Settings(); }

    const SettingsStore store;
    const CapturedLog log{store.Files().Root()};
    const TraceLines trace;
    PolicySettings settings;
};

TEST_F(PolicySettingsTest, WithoutSettingsPoliciesEmptySettingsAreComparedAndWritten) {
    settings.Start();
    ASSERT_TRUE(fs::exists(store.Files().Policy()));
    EXPECT_EQ(Settings(), "");
    const std::string before = SettingsFiles::IdentityOf(store.Files().Policy());
    settings = PolicySettings();
    settings.Start();
    EXPECT_TRUE(trace.Contains("Both policy files are equal."));
    EXPECT_EQ(SettingsFiles::IdentityOf(store.Files().Policy()), before);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(PolicySettingsTest, ANodeThatEndsReadsNotOnAndLeavesTheSettingsAsTheyWere) {
    PutMark("a");
    settings.Start();
    PutMark("b");
    LumPalRuntime::SetStopping(true);
    settings = PolicySettings();
    EXPECT_THROW(settings.Start(), LumPalMsg::RuntimeException_t);
    LumPalRuntime::SetStopping(false);
    EXPECT_EQ(Settings(), Marks("a"));
    settings = PolicySettings();
    settings.Start();
    EXPECT_EQ(Settings(), Marks("ab"));
}

TEST_F(PolicySettingsTest, AJobForManyPoliciesIsGivenUpByANodeThatEndsAndOneForASinglePolicyIsDone) {
    PutMark("a");
    settings.Start();
    for (const char* id : {"b", "c", "d"}) PutMark(id);
    LumPalRuntime::SetStopping(true);
    settings.Install("b");
    EXPECT_EQ(Settings(), Marks("ab"));
    EXPECT_THROW(settings.Install("c d"), LumPalMsg::RuntimeException_t);
    LumPalRuntime::SetStopping(false);
    EXPECT_EQ(Settings(), Marks("ab"));
    settings.Enable("a");
    EXPECT_EQ(Settings(), Marks("abcd")) << "what lacks policies is read anew";
}

TEST_F(PolicySettingsTest, PoliciesOfOtherTypesAreNoSettings) {
    TestPolicy other = SettingsPolicy("a", "a", "[app]\nk=other\n");
    other.type = "files";
    store.Put(other);
    settings.Start();
    EXPECT_EQ(Settings(), "");
}

TEST_F(PolicySettingsTest, ThePolicyWithTheGreaterNameWinsWhateverItsId) {
    store.Put("2", "a", "[app]\nk=of a\nonly a=1\n");
    store.Put("1", "b", "[app]\nk=of b\n[more]\nonly b=1\n");
    settings.Start();
    EXPECT_EQ(Settings(), "[app]\nk=of b\nonly a=1\n\n[more]\nonly b=1\n");
}

TEST_F(PolicySettingsTest, ARenamedPolicyTakesTheOrderOfItsNewName) {
    store.Put("1", "a", "[app]\nk=first\n");
    store.Put("2", "b", "[app]\nk=second\n");
    settings.Start();
    EXPECT_EQ(Settings(), "[app]\nk=second\n");
    store.Put("1", "c", "[app]\nk=first\n");
    settings.Install("1");
    EXPECT_EQ(Settings(), "[app]\nk=first\n");
    settings = PolicySettings();
    settings.Start();
    EXPECT_EQ(Settings(), "[app]\nk=first\n");
}

TEST_F(PolicySettingsTest, NamesAreComparedUnitByUnit) {
    // As numbers, as words or without case these would come in another order.
    const char* const ascending[] = {"10", "9", "B", "a", "aa", "\u00e4", "\uffee"};
    for (const char* name : ascending) {
        store.Clear();
        store.Put("1", name, "[app]\nk=greater\n");
        for (const char* lesser : ascending) {
            if (lesser == name) break;
            store.Put("2", lesser, "[app]\nk=lesser\n");
            settings = PolicySettings();
            settings.Start();
            EXPECT_EQ(Settings(), "[app]\nk=greater\n") << lesser << " before " << name;
        }
    }
}

TEST_F(PolicySettingsTest, WithinAPolicyTheLastDataFileWins) {
    TestPolicy policy = SettingsPolicy("1", "a", "");
    policy.data = {{"z.ini", "[app]\nk=first file\n"}, {"m.ini", "[app]\nk=2\n"}, {"a.ini", "[app]\nk=last file\n"}};
    store.Put(policy);
    settings.Start();
    EXPECT_EQ(Settings(), "[app]\nk=last file\n");
}

TEST_F(PolicySettingsTest, OnlyAnEnabledPolicyContributes) {
    PutMark("a");
    PutMark("b", "disabled");
    PutMark("c", "something else");
    settings.Start();
    EXPECT_EQ(Settings(), Marks("a"));
}

TEST_F(PolicySettingsTest, EnableAndDisableMergeAnewAndTakeSeveralIdsInAnyCase) {
    for (const char* id : {"a", "b", "c"}) PutMark(id);
    settings.Start();
    settings.Disable("A  c");
    EXPECT_EQ(Settings(), Marks("b"));
    settings.Enable("C");
    EXPECT_EQ(Settings(), Marks("bc"));
}

TEST_F(PolicySettingsTest, TheDataOfADisabledPolicyStaysInMemorySoThatEnableReadsNoFile) {
    PutMark("a", "disabled");
    PutMark("b");
    settings.Start();
    EXPECT_EQ(Settings(), Marks("b"));
    store.Clear();
    settings.Enable("a");
    EXPECT_EQ(Settings(), Marks("ab"));
    settings.Disable("b");
    EXPECT_EQ(Settings(), Marks("a"));
}

TEST_F(PolicySettingsTest, AnInstallReadsOnlyThePoliciesThatItNames) {
    PutMark("a");
    settings.Start();
    PutMark("b");
    PutMark("c");
    fs::remove(store.Folder() + "/a_header.xml");
    fs::remove(store.Folder() + "/a.ini");
    settings.Install("b");
    EXPECT_EQ(Settings(), Marks("ab"));
}

TEST_F(PolicySettingsTest, AnInstallOfAPresentPolicyReplacesItsDataFiles) {
    TestPolicy policy = SettingsPolicy("a", "a", "");
    policy.data = {{"one.ini", "[one]\nk=1\n"}, {"two.ini", "[two]\nk=1\n"}};
    store.Put(policy);
    settings.Start();
    policy.data = {{"two.ini", "[two]\nk=2\n"}};
    store.Put(policy);
    settings.Install("a");
    EXPECT_EQ(Settings(), "[two]\nk=2\n");
}

TEST_F(PolicySettingsTest, AnIdThatIsNamedTwiceOrInCapitalsIsThatPolicyOnce) {
    PutMark("a");
    settings.Start();
    settings.Install("A a");
    EXPECT_EQ(Settings(), Marks("a"));
    settings.Remove("A");
    EXPECT_EQ(Settings(), "");
}

TEST_F(PolicySettingsTest, ARemovedPolicyIsOutAndNeedsNoStore) {
    for (const char* id : {"a", "b", "c"}) PutMark(id);
    settings.Start();
    store.Clear();
    settings.Remove("a c");
    EXPECT_EQ(Settings(), Marks("b"));
    settings.Enable("a");
    EXPECT_EQ(Settings(), Marks("b"));
}

TEST_F(PolicySettingsTest, ARemovedIdThatWasNeverThereGivesOnlyATraceAndTheOthersGo) {
    PutMark("a");
    PutMark("b");
    settings.Start();
    settings.Remove("never b");
    EXPECT_TRUE(trace.Contains("Policy with id 'never b' not found during removing of policy settings."));
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(Settings(), Marks("a"));
}

TEST_F(PolicySettingsTest, AnUnknownIdIsTracedAndTheMergeFollowsAllTheSame) {
    PutMark("a", "disabled");
    settings.Start();
    settings.Enable("unknown a");
    EXPECT_TRUE(trace.Contains("Policy with id 'unknown a' not found during enable of policy settings."));
    EXPECT_EQ(Settings(), Marks("a"));
    settings.Disable("a nobody");
    EXPECT_TRUE(trace.Contains("Policy with id 'a nobody' not found during enable of policy settings."));
    EXPECT_EQ(Settings(), "");
    EXPECT_EQ(log.Text(), "");
}

TEST_F(PolicySettingsTest, ANewPolicyWithTheNameOfAnotherReplacesItAndTheOtherIdIsPassedOver) {
    store.Put("1", "a", "[app]\nk=old\nold=1\n");
    settings.Start();
    EXPECT_EQ(Settings(), "[app]\nk=old\nold=1\n");
    store.Clear();
    store.Put("2", "a", "[app]\nk=new\n");
    settings.Install("2");
    EXPECT_EQ(Settings(), "[app]\nk=new\n");
    EXPECT_TRUE(trace.Contains("Policy id not found in memory during creation of new policy settings."));
    EXPECT_EQ(log.Text(), "");
    const TraceLines later;
    settings.Enable("2");
    EXPECT_FALSE(later.Contains("Policy id not found in memory")) << "the other one is forgotten by now";
    store.Put("1", "b", "[app]\nk=back\n");
    settings.Install("1");
    EXPECT_EQ(Settings(), "[app]\nk=back\n");
}

TEST_F(PolicySettingsTest, OfTwoPoliciesWithOneNameInTheStoreTheLaterOneIsTaken) {
    store.Put("1", "a", "[app]\nk=1\n");
    store.Put("2", "a", "[app]\nk=2\n");
    settings.Start();
    EXPECT_EQ(Settings(), "[app]\nk=2\n");
}

TEST_F(PolicySettingsTest, LocalSettingsGoOverThoseOfPolicies) {
    Configure("app", "k", "local");
    store.Put("1", "a", "[app]\nk=policy\nm=policy\n");
    settings.Start();
    EXPECT_EQ(ConfigNamespace_t("app").Open().GetValue("k"), "local");
    EXPECT_EQ(ConfigNamespace_t("app").Open().GetValue("m"), "policy");
    settings.Remove("1");
    EXPECT_EQ(ConfigNamespace_t("app").Open().GetValue("k"), "local");
    EXPECT_FALSE(ConfigNamespace_t("app").Open().HasAttr("m"));
}

TEST_F(PolicySettingsTest, ANewObjectBeginsAfresh) {
    PutMark("a");
    settings.Start();
    store.Clear();
    PutMark("b");
    settings = PolicySettings();
    settings.Start();
    EXPECT_EQ(Settings(), Marks("b"));
}

/// Counts the changes that it is told of.
class Listener : public LumPalConfig::ConfigChangeHandler_i {
public:
    Listener() { nameSpace.Register(*this); }
    ~Listener() override { nameSpace.Unregister(*this); }
    void Update(const LumPalConfig::ChangedConfiguration_t&, const LumPalConfig::Configuration_t& now) override {
        value = now.GetInt("k");
        ++count;
    }

    std::atomic<int> value{0}, count{0};

private:
    const ConfigNamespace_t nameSpace{"app"};
};

TEST_F(PolicySettingsTest, WhoRegisteredIsToldOfAChangeAndNotOfAMergeThatChangesNothing) {
    settings.Start();
    Listener listener;
    store.Put("1", "a", "[app]\nk=1\n");
    settings.Install("1");
    EXPECT_TRUE(Eventually([&] { return listener.value == 1; }));
    settings.Install("1");
    store.Put("2", "b", "# says nothing\n[app]\nk=1\n");
    settings.Install("2");
    settings.Disable("2");
    store.Put("2", "b", "[app]\nk=2\n");
    settings.Install("2");
    EXPECT_TRUE(Eventually([&] { return listener.value == 2; }));
    EXPECT_EQ(listener.count, 2);
}

}  // namespace
