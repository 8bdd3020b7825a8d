// What settings policies come to, and whose value is whose, told without a change.
#include "SettingsMerge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "Chain.h"
#include "Configure.h"
#include "Exceptions.h"
#include "LumPalCfgFile.h"
#include "PolicySettings.h"
#include "Raised.h"
#include "SettingsPolicies.h"

namespace {

using LumConf::PolicyNotFoundError;
using LumConfPar::MergedSettings;
using LumConfPar::PolicySettings;
using LumConfPar::SettingsMerge;
using LumPalConfig::ConfigGroup_t;
using LumPalIo::File_t;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class SettingsMergeTest : public testing::Test {
protected:
    static std::string Text(const MergedSettings& merged) {
        const LumPalIo::CharArrayOutputStream_t bytes;
        LumPalCfgFile::ConfigWriter_t::Write(bytes, merged.GetGroup());
        const auto text = bytes.ToCharArray();
        return {text.GetData(), text.GetLength()};
    }
    static std::string Text(const SettingsMerge& merge) { return Text(merge.Merge()); }
    /// Who gives a value to "k" of "app", each as "name/id/file=value".
    static std::vector<std::string> Origins(const SettingsMerge& merge, const char* name = "k") {
        std::vector<std::string> all;
        for (const auto& origin : merge.Merge().GetOrigins("app", name)) {
            all.push_back(
                (origin.policyName + "/" + origin.policyId + "/" + origin.dataFile + "=" + origin.value).ToUtf8());
        }
        return all;
    }
    /// Every file below the root with its content and identity.
    std::map<std::string, std::string> Everything() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(store.Files().Root())) {
            if (entry.is_regular_file()) {
                files[entry.path()] = ReadText(entry.path()) + SettingsFiles::IdentityOf(entry.path());
            }
        }
        return files;
    }
    /// A policy outside the store. @return its header
    File_t Beside(const TestPolicy& policy) const { return policy.WriteFiles(store.Files().Root() + "/beside"); }

    const SettingsStore store;
};

TEST_F(SettingsMergeTest, TellsAllWhoSetAnAttributeInTheOrderOfTheMerge) {
    TestPolicy policy = SettingsPolicy("1", "b", "");
    policy.data = {{"one.ini", "[app]\nk=2\n"}, {"two.ini", "[app]\nk=not this\nk=3\nother=x\n"}};
    store.Put(policy);
    store.Put("2", "a", "[app]\nk=1\n[else]\nk=0\n");
    store.Put("3", "c", "[app]\nk= a\\=\\s\n");
    const SettingsMerge merge;
    EXPECT_THAT(Origins(merge), ElementsAre("a/2/2.ini=1", "b/1/one.ini=2", "b/1/two.ini=3", "c/3/3.ini=a= "));
    EXPECT_THAT(Origins(merge, "other"), ElementsAre("b/1/two.ini=x"));
    EXPECT_THAT(Origins(merge, "K"), IsEmpty());
    EXPECT_THAT(Origins(merge, "nobody sets it"), IsEmpty());
}

TEST_F(SettingsMergeTest, ComesToWhatTheNodeWrites) {
    store.Put("1", "b", "[app]\nk=1\n[empty]\n");
    store.Put("2", "a", "[app]\nk=2\n\n[z]\n\\#x=\xc3\xa4\n");
    PolicySettings settings;
    settings.Start();
    EXPECT_EQ(Text(SettingsMerge()), store.Settings());
    EXPECT_NE(store.Settings(), "");
}

TEST_F(SettingsMergeTest, WithoutPoliciesItIsEmptyAlsoWhereThereIsNoStore) {
    const SettingsMerge merge;
    EXPECT_EQ(Text(merge), "");
    EXPECT_EQ(merge.GetPolicies().GetCount(), 0);
    EXPECT_EQ(merge.GetProblems().GetMessageCount(), 0);
    EXPECT_THAT(Origins(merge), IsEmpty());
}

TEST_F(SettingsMergeTest, ChangesAreMadeToItsMemoryAlone) {
    Configure("app", "k", "local");
    store.Put("1", "a", "[app]\nk=1\n");
    store.Put("2", "b", "[app]\nk=2\n");
    PolicySettings settings;
    settings.Start();
    const File_t header = Beside(SettingsPolicy("3", "c", "[app]\nk=3\n"));
    const auto before = Everything();
    SettingsMerge merge;
    merge.Disable("2");
    EXPECT_THAT(Origins(merge), ElementsAre("a/1/1.ini=1"));
    merge.Install(header);
    EXPECT_THAT(Origins(merge), ElementsAre("a/1/1.ini=1", "c/3/3.ini=3"));
    merge.Enable("2");
    merge.Remove("1");
    EXPECT_THAT(Origins(merge), ElementsAre("b/2/2.ini=2", "c/3/3.ini=3"));
    EXPECT_EQ(Text(merge), "[app]\nk=3\n");
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(Text(SettingsMerge()), "[app]\nk=2\n");
}

TEST_F(SettingsMergeTest, AMergeStaysAsItWasWhenPoliciesChangeAfterIt) {
    store.Put("1", "a", "[app]\nk=1\n");
    SettingsMerge merge;
    const MergedSettings before = merge.Merge();
    merge.Disable("1");
    EXPECT_EQ(Text(before), "[app]\nk=1\n");
    EXPECT_EQ(Text(merge), "");
}

TEST_F(SettingsMergeTest, AnIdThatIsNotThereIsToldAndTheOthersChange) {
    store.Put("1", "a", "[app]\nk=1\n");
    SettingsMerge merge;
    EXPECT_RAISES(merge.Disable("none 1"), PolicyNotFoundError, 60);
    EXPECT_EQ(Text(merge), "");
    EXPECT_RAISES(merge.Enable("1 none"), PolicyNotFoundError, 60);
    EXPECT_EQ(Text(merge), "[app]\nk=1\n");
    EXPECT_RAISES(merge.Remove("none 1"), PolicyNotFoundError, 61);
    EXPECT_EQ(Text(merge), "");
}

TEST_F(SettingsMergeTest, ANewPolicyHasTheStatusOfItsDocument) {
    TestPolicy policy = SettingsPolicy("1", "a", "[app]\nk=1\n");
    policy.status = "disabled";
    SettingsMerge merge;
    merge.Install(Beside(policy));
    EXPECT_EQ(Text(merge), "");
    merge.Enable("1");
    EXPECT_EQ(Text(merge), "[app]\nk=1\n");
}

TEST_F(SettingsMergeTest, AnInstalledPolicyIsReplacedByOneWithItsIdOrItsNameAndKeepsItsStatus) {
    for (const char* id : {"1", "2"}) {
        for (const char* status : {"enabled", "disabled"}) {
            store.Clear();
            TestPolicy installed = SettingsPolicy("1", "a", "[app]\nk=old\nold=1\n");
            installed.status = status;
            store.Put(installed);
            SettingsMerge merge;
            merge.Install(Beside(SettingsPolicy(id, "a", "[app]\nk=new\n")));
            EXPECT_EQ(Text(merge), installed.status == "enabled" ? "[app]\nk=new\n" : "") << id;
            EXPECT_EQ(merge.GetPolicies().GetCount(), 1) << id;
            merge.Enable(id);
            EXPECT_EQ(Text(merge), "[app]\nk=new\n") << id;
        }
    }
}

TEST_F(SettingsMergeTest, AnInstalledPolicyMayBeRenamed) {
    store.Put("1", "a", "[app]\nk=1\n");
    store.Put("2", "b", "[app]\nk=2\n");
    SettingsMerge merge;
    merge.Install(Beside(SettingsPolicy("1", "c", "[app]\nk=1\n")));
    EXPECT_THAT(Origins(merge), ElementsAre("b/2/2.ini=2", "c/1/1.ini=1"));
}

TEST_F(SettingsMergeTest, WhatCannotBeInstalledIsToldAndChangesNothing) {
    store.Put("1", "a", "[app]\nk=1\n");
    SettingsMerge merge;
    TestPolicy policy = SettingsPolicy("1", "a", "[app]\nk=2\n");
    policy.type = "files";
    EXPECT_THROW(merge.Install(Beside(policy)), LumPalMsg::IllegalArgumentError_t);
    policy.type = "configsettings";
    const File_t header = Beside(policy);
    fs::remove(store.Files().Root() + "/beside/1.ini");
    EXPECT_RAISES(merge.Install(header), LumPalIo::FileNotFoundException_t, 18);
    policy.data = {{"../policies/configsettings/1.ini", "[app]\nk=1\n"}};
    EXPECT_RAISES(merge.Install(Beside(policy)), LumPalIo::FileNotFoundException_t, 18);
    policy.document = "<header>";
    EXPECT_THROW(merge.Install(Beside(policy)), LumConf::PolicyHeaderException);
    EXPECT_RAISES(merge.Install(File_t(ToString(store.Files().Root() + "/none_header.xml"))),
                  LumPalIo::FileNotFoundException_t, 89);
    EXPECT_THAT(Origins(merge), ElementsAre("a/1/1.ini=1"));
}

TEST_F(SettingsMergeTest, ADataFileThatCannotBeReadIsSaidAndLeftOut) {
    TestPolicy policy = SettingsPolicy("1", "a", "");
    policy.data = {{"one.ini", "[app]\nk=1\n"}, {"two.ini", "[app]\nk=2\n"}};
    store.Put(policy);
    fs::remove(store.Folder() + "/two.ini");
    const SettingsMerge merge;
    EXPECT_EQ(Text(merge), "[app]\nk=1\n");
    EXPECT_THAT(Chain(merge.GetProblems()), ElementsAre(207, 18));
}

TEST_F(SettingsMergeTest, AHeaderThatCannotBeReadIsTold) {
    store.Put("1", "a", "[app]\nk=1\n");
    WriteText(store.Folder() + "/2_header.xml", "<header>");
    EXPECT_RAISES(SettingsMerge(), LumConf::PolicyFileException, 57);
}

TEST_F(SettingsMergeTest, ADataFileThatIsNoSettingsFileIsNamedWithItsPolicyAndLine) {
    store.Put("1", "logging", "[app]\nk=1\nnonsense\n");
    SettingsMerge merge;
    const auto messages = MessagesOf<LumPalMsg::RuntimeException_t>([&] { merge.Merge(); });
    EXPECT_EQ(Chain(messages).at(0), 208u);
    EXPECT_NE(messages.Format(36).ToUtf8().find("Line 3 of '1.ini of policy logging (1)'"), std::string::npos);
    merge.Disable("1");
    EXPECT_EQ(Text(merge), "");
}

}  // namespace
