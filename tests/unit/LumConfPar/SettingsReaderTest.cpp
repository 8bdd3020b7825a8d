#include "SettingsReader.h"

#include <gtest/gtest.h>

#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "Raised.h"
#include "SettingsFiles.h"

namespace {

using LumConfPar::SettingsReader;
using LumPalConfig::ConfigGroup_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;

TEST(SettingsReader, ReadsAllOfTheDatabaseWithLocalSettingsOverThoseOfPolicies) {
    const SettingsFiles files;
    WriteText(files.Policy(), "[a]\nboth=policy\npolicy=1\n[p]\nk=1\n");
    WriteText(files.Local(), "[a]\nboth=local\n[l]\nk=2\n");
    const ConfigGroup_t group = SettingsReader("").Read();
    ASSERT_EQ(group.GetConfigCount(), 3);
    EXPECT_EQ(group.GetConfig("a").GetValue("both"), "local");
    EXPECT_EQ(group.GetConfig("a").GetValue("policy"), "1");
    EXPECT_EQ(group.GetConfig("l").GetValue("k"), "2");
    EXPECT_EQ(group.GetConfig("p").GetValue("k"), "1");
}

TEST(SettingsReader, TheNullNameAndTheEmptyOneMeanTheNodesDatabase) {
    const SettingsFiles files;
    WriteText(files.Local(), "[a]\nk=1\n");
    EXPECT_EQ(SettingsReader(String_t::Null()).Read().GetConfig("a").GetValue("k"), "1");
    EXPECT_EQ(SettingsReader("").Read().GetConfig("a").GetValue("k"), "1");
}

TEST(SettingsReader, APackageHasADatabaseOfItsOwn) {
    const SettingsFiles files("/tmp", "group 1");
    WriteText(files.Local(), "[a]\nk=group\n");
    EXPECT_EQ(SettingsReader("group 1").Read().GetConfig("a").GetValue("k"), "group");
    EXPECT_EQ(SettingsReader("").Read().GetConfigCount(), 0);
}

TEST(SettingsReader, WhatIsReadBelongsToTheCaller) {
    const SettingsFiles files;
    WriteText(files.Local(), "[a]\nk=1\n");
    SettingsReader("").Read().GetConfig("a").SetAttrValue("k", "2");
    EXPECT_EQ(SettingsReader("").Read().GetConfig("a").GetValue("k"), "1");
}

TEST(SettingsReader, ReadingAnAbsentDatabaseMakesNothing) {
    const SettingsFiles files;
    EXPECT_EQ(SettingsReader("").Read().GetConfigCount(), 0);
    EXPECT_FALSE(std::filesystem::exists(files.Root() + "/etc"));
}

TEST(SettingsReader, ASecondReadIsRefused) {
    const SettingsFiles files;
    SettingsReader reader("");
    reader.Read();
    EXPECT_RAISES(reader.Read(), IllegalStateError_t, 181);
    EXPECT_RAISES(reader.Read(), IllegalStateError_t, 181);
}

TEST(SettingsReader, AReadThatFailedMayBeRepeated) {
    const SettingsFiles files;
    WriteText(files.Local(), "broken\n");
    SettingsReader reader("");
    EXPECT_THROW(reader.Read(), LumPalCfgFile::SyntaxException_t);
    std::filesystem::remove(files.Local());
    std::filesystem::create_directory(files.Local());
    EXPECT_THROW(reader.Read(), LumPalIo::IOException_t);
    std::filesystem::remove(files.Local());
    WriteText(files.Local(), "[a]\nk=1\n");
    EXPECT_EQ(reader.Read().GetConfig("a").GetValue("k"), "1");
}

TEST(SettingsReader, APackageThatIsNoPlainFileNameIsRefused) {
    const SettingsFiles files;
    for (const char* package : {".", "..", "../x", "/etc", "a/b", "a\\b", "a\nb", ".lock", "policy_settings.ini"}) {
        EXPECT_THROW(SettingsReader(package).Read(), IllegalArgumentError_t) << package;
    }
}

}  // namespace
