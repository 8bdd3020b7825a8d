#include "SettingsClear.h"

#include <gtest/gtest.h>

#include <atomic>

#include "Faults.h"
#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "Raised.h"
#include "SettingsFiles.h"

namespace {

using LumConfPar::SettingsClear;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;

class SettingsClearTest : public testing::Test {
protected:
    SettingsClearTest() { WriteText(files.Local(), "[a]\nk=1\nm=1\n\n[b]\nk=1\n"); }
    std::string Text() const { return ReadText(files.Local()); }

    const SettingsFiles files;
};

TEST_F(SettingsClearTest, RemovesOneAttribute) {
    SettingsClear("", "a").ClearAttr("k");
    EXPECT_EQ(Text(), "[a]\nm=1\n\n[b]\nk=1\n");
}

TEST_F(SettingsClearTest, RemovesTheNamespace) {
    SettingsClear("", "a").ClearNamespace();
    EXPECT_EQ(Text(), "[b]\nk=1\n");
}

TEST_F(SettingsClearTest, TheNullPackageIsTheNodesDatabase) {
    SettingsClear(String_t::Null(), "a").ClearAttr("k");
    SettingsClear(String_t::Null(), "b").ClearNamespace();
    EXPECT_EQ(Text(), "[a]\nm=1\n");
}

TEST_F(SettingsClearTest, APackagesDatabaseIsClearedAlone) {
    const std::string package = files.Folder() + "group 1/local_settings.ini";
    WriteText(package, "[a]\nk=1\nm=1\n[b]\nk=1\n");
    SettingsClear("group 1", "a").ClearAttr("k");
    SettingsClear("group 1", "b").ClearNamespace();
    EXPECT_EQ(ReadText(package), "[a]\nm=1\n");
    EXPECT_EQ(Text(), "[a]\nk=1\nm=1\n\n[b]\nk=1\n");
}

TEST_F(SettingsClearTest, WhatIsNotThereIsNoFailureAndWritesNothing) {
    const std::string before = SettingsFiles::IdentityOf(files.Local());
    SettingsClear("", "a").ClearAttr("absent");
    SettingsClear("", "absent").ClearAttr("k");
    SettingsClear("", "absent").ClearNamespace();
    EXPECT_EQ(SettingsFiles::IdentityOf(files.Local()), before);
}

TEST_F(SettingsClearTest, WhatPoliciesSayStandsAgain) {
    WriteText(files.Policy(), "[a]\nk=policy\n");
    SettingsClear("", "a").ClearAttr("k");
    EXPECT_EQ(LumPalConfig::ConfigNamespace_t("a").Open().GetValue("k"), "policy");
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=policy\n");
}

TEST_F(SettingsClearTest, NewPolicySettingsAreLeftAlone) {
    WriteText(files.NewPolicy(), "[a]\nk=ha");
    SettingsClear("", "a").ClearAttr("absent");
    SettingsClear("", "absent").ClearNamespace();
    EXPECT_EQ(ReadText(files.NewPolicy()), "[a]\nk=ha");
    EXPECT_FALSE(std::filesystem::exists(files.Policy()));
}

TEST_F(SettingsClearTest, TheWordForARemovalIsNoValueHere) {
    WriteText(files.Local(), "[a]\nk=DELETE_THIS_ATTRIBUTE\nm=1\n");
    SettingsClear("", "a").ClearAttr("DELETE_THIS_ATTRIBUTE");
    EXPECT_EQ(Text(), "[a]\nk=DELETE_THIS_ATTRIBUTE\nm=1\n");
}

TEST_F(SettingsClearTest, ASecondOperationIsRefusedWhicheverItIs) {
    for (const bool attributeFirst : {true, false}) {
        SettingsClear clear("", "a");
        attributeFirst ? clear.ClearAttr("k") : clear.ClearNamespace();
        WriteText(files.Local(), "[a]\nk=1\n");
        EXPECT_RAISES(clear.ClearAttr("k"), IllegalStateError_t, 187);
        EXPECT_RAISES(clear.ClearNamespace(), IllegalStateError_t, 187);
        EXPECT_RAISES(clear.ClearAttributes(), IllegalStateError_t, 187);
        EXPECT_EQ(Text(), "[a]\nk=1\n");
    }
}

TEST_F(SettingsClearTest, AnOperationThatFailedMayBeRepeated) {
    WriteText(files.Local(), "broken\n");
    SettingsClear clear("", "a");
    EXPECT_THROW(clear.ClearAttr("k"), LumPalCfgFile::SyntaxException_t);
    EXPECT_THROW(clear.ClearNamespace(), LumPalCfgFile::SyntaxException_t);
    EXPECT_EQ(Text(), "broken\n");
    WriteText(files.Local(), "[a]\nk=1\n[b]\nk=1\n");
    Faults faults(1, FaultMode::FromThenOn);
    EXPECT_THROW(clear.ClearNamespace(), LumPalIo::IOException_t);
    faults.Stop();
    EXPECT_EQ(Text(), "[a]\nk=1\n[b]\nk=1\n");
    clear.ClearNamespace();
    EXPECT_EQ(Text(), "[b]\nk=1\n");
}

TEST_F(SettingsClearTest, NamesThatCannotBeAreRefused) {
    const std::string before = Text();
    for (const char* name : {"", "a\nb", "\r", "\x07"}) {
        EXPECT_THROW(SettingsClear("", "a").ClearAttr(name), IllegalArgumentError_t);
        EXPECT_THROW(SettingsClear("", name).ClearAttr("k"), IllegalArgumentError_t);
        EXPECT_THROW(SettingsClear("", name).ClearNamespace(), IllegalArgumentError_t);
    }
    EXPECT_THROW(SettingsClear("", String_t::Null()).ClearNamespace(), IllegalArgumentError_t);
    for (const char* package : {"..", "../x", "/etc", "a/b", ".lock", "local_settings.ini"}) {
        EXPECT_THROW(SettingsClear(package, "a").ClearAttr("k"), IllegalArgumentError_t) << package;
        EXPECT_THROW(SettingsClear(package, "a").ClearNamespace(), IllegalArgumentError_t) << package;
    }
    EXPECT_EQ(Text(), before);
}

TEST_F(SettingsClearTest, TheNamespacesOfAGroupGoWhateverAttributesItNames) {
    SettingsClear("", GroupOf({{"a"}, {"b", "other"}, {"absent"}})).ClearNamespace();
    EXPECT_EQ(Text(), "");
}

TEST_F(SettingsClearTest, TheAttributesThatAGroupNamesGoEachFromItsNamespaceWhateverTheirValues) {
    SettingsClear("", GroupOf({{"a", "m", "other"}, {"b", "k", "1"}, {"b", "m"}, {"absent", "k"}, {"bare"}}))
        .ClearAttributes();
    EXPECT_EQ(Text(), "[a]\nk=1\n\n[b]\n");
}

TEST_F(SettingsClearTest, AnAttributeGoesFromEveryNamespaceOfAGroup) {
    SettingsClear("", GroupOf({{"a", "m"}, {"b"}})).ClearAttr("k");
    EXPECT_EQ(Text(), "[a]\nm=1\n\n[b]\n");
}

TEST_F(SettingsClearTest, OneNamespaceNamesNoAttributes) {
    SettingsClear("", "a").ClearAttributes();
    EXPECT_EQ(Text(), "[a]\nk=1\nm=1\n\n[b]\nk=1\n");
}

std::atomic<int> replaced{0};

bool CountReplaced(const char* operation, const char*) {
    replaced += std::string(operation) == "rename";
    return false;
}

TEST_F(SettingsClearTest, AGroupIsClearedInOneUpdate) {
    const auto replacedBy = [&](void (SettingsClear::*clear)()) {
        WriteText(files.Local(), "[a]\nk=1\nm=1\n\n[b]\nk=1\n");
        SettingsClear object("", GroupOf({{"a", "k"}, {"a", "m"}, {"b", "k"}}));
        replaced = 0;
        LumPalIo::SetFaultHookForTest(CountReplaced);
        (object.*clear)();
        LumPalIo::SetFaultHookForTest(nullptr);
        return replaced.load();
    };
    EXPECT_EQ(replacedBy(&SettingsClear::ClearAttributes), 1);
    EXPECT_EQ(replacedBy(&SettingsClear::ClearNamespace), 1);
}

TEST_F(SettingsClearTest, AGroupWithOneNameThatCannotBeLeavesAllAsItWas) {
    const std::string before = Text();
    EXPECT_THROW(SettingsClear("", GroupOf({{"a", "k"}, {"b", "x\ny"}})).ClearAttributes(), IllegalArgumentError_t);
    EXPECT_THROW(SettingsClear("", GroupOf({{"a", "k"}, {"b\n", "k"}})).ClearAttributes(), IllegalArgumentError_t);
    EXPECT_THROW(SettingsClear("", GroupOf({{"a"}, {"b\n"}})).ClearNamespace(), IllegalArgumentError_t);
    EXPECT_THROW(SettingsClear("", GroupOf({{"a"}, {""}})).ClearAttr("k"), IllegalArgumentError_t);
    EXPECT_EQ(Text(), before);
}

TEST_F(SettingsClearTest, AGroupThatNamesNothingChangesNothingAndNeedsNoUpdate) {
    WriteText(files.NewPolicy(), "[a]\nk=ha");
    const std::string before = Text();
    SettingsClear none("", GroupOf({})), bare("", GroupOf({{"a"}}));
    none.ClearNamespace();
    bare.ClearAttributes();
    SettingsClear("", GroupOf({})).ClearAttributes();
    SettingsClear("", GroupOf({})).ClearAttr("k");
    EXPECT_EQ(Text(), before);
    EXPECT_EQ(ReadText(files.NewPolicy()), "[a]\nk=ha");
    EXPECT_FALSE(files.WasApplied());
    EXPECT_RAISES(none.ClearNamespace(), IllegalStateError_t, 187);
    EXPECT_RAISES(bare.ClearAttributes(), IllegalStateError_t, 187);
    EXPECT_THROW(SettingsClear("..", GroupOf({})).ClearNamespace(), IllegalArgumentError_t);
}

}  // namespace
