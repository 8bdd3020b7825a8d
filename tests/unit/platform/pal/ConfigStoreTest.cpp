#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ConfigStoreForTest.h"
#include "LumPalCfgFile.h"
#include "LumPalConfig.h"
#include "LumPalIo.h"

using LumPalCfgFile::SyntaxException_t;
using LumPalConfig::ConfigBase_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigNamespace_t;
using LumPalConfig::ConfigSource;
using LumPalConfig::ConfigUpdate_t;
using LumPalConfig::Configuration_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

TEST_F(ConfigStore, AnAbsentDatabaseIsEmptyAndReadingMakesNothing) {
    EXPECT_EQ(ConfigNamespace_t("a").Open().GetAttrCount(), 0);
    EXPECT_EQ(ConfigNamespace_t("a").Open().GetNamespace(), "a");
    EXPECT_EQ(ConfigBase_t::Open("").GetConfigCount(), 0);
    EXPECT_EQ(ConfigBase_t::Open("package").GetConfigCount(), 0);
    EXPECT_FALSE(std::filesystem::exists(root.Native() + "/etc"));
}

TEST_F(ConfigStore, LocalSettingsStandOverPolicySettings) {
    Put(Policy(), "[a]\nboth=policy\npolicy=1\n[p]\nk=1\n");
    Put(Local(), "[a]\nboth=local\nlocal=1\n[l]\nk=1\n");
    EXPECT_EQ(Value("a", "both"), "local");
    EXPECT_EQ(Value("a", "policy"), "1");
    EXPECT_EQ(Value("a", "local"), "1");
    const ConfigGroup_t group = ConfigBase_t::Open(String_t::Null());
    ASSERT_EQ(group.GetConfigCount(), 3);
    EXPECT_EQ(group.GetConfig("a").GetAttrCount(), 3);
}

TEST_F(ConfigStore, EachSourceIsReadByItself) {
    Put(Policy(), "[a]\nboth=policy\npolicy=1\n");
    Put(Local(), "[a]\nboth=local\n");
    const ConfigGroup_t policy = ConfigBase_t::Open("", ConfigSource::Policy);
    EXPECT_EQ(policy.GetConfig("a").GetValue("both"), "policy");
    EXPECT_EQ(policy.GetConfig("a").GetAttrCount(), 2);
    const ConfigGroup_t local = ConfigBase_t::Open(String_t::Null(), ConfigSource::Local);
    EXPECT_EQ(local.GetConfig("a").GetValue("both"), "local");
    EXPECT_EQ(local.GetConfig("a").GetAttrCount(), 1);
    EXPECT_EQ(ConfigBase_t::Open("package", ConfigSource::Local).GetConfigCount(), 0);
    EXPECT_THROW(ConfigBase_t::Open("..", ConfigSource::Local), LumPalMsg::IllegalArgumentError_t);
    Put(Policy(), "[a]\nbroken\n");
    EXPECT_THROW(ConfigBase_t::Open("", ConfigSource::Policy), SyntaxException_t);
    EXPECT_EQ(ConfigBase_t::Open("", ConfigSource::Local).GetConfigCount(), 1) << "the broken source alone fails";
}

TEST_F(ConfigStore, WhatIsOpenedBelongsToTheCaller) {
    Put(Local(), "[a]\nk=1\n");
    ConfigNamespace_t("a").Open().SetAttrValue("k", "2");
    ConfigGroup_t group = ConfigBase_t::Open("");
    group.GetConfig("a").SetAttrValue("k", "3");
    group.Reset();
    EXPECT_EQ(Value("a", "k"), "1");
    EXPECT_EQ(ConfigBase_t::Open("").GetConfig("a").GetValue("k"), "1");
}

TEST_F(ConfigStore, EachChangeOfTheFilesIsSeenAtOnce) {
    for (int i = 0; i < 200; ++i) {
        const std::string value = std::to_string(100 + i);
        // Same size, hardly any time between: only the file's number differs, and that may come again.
        Put(Local() + ".new", "[a]\nk=" + value + "\n");
        std::filesystem::rename(Local() + ".new", Local());
        ASSERT_EQ(Value("a", "k"), String_t::FromUtf8(value));
    }
    std::filesystem::remove(Local());
    EXPECT_EQ(Value("a", "k"), "");
}

TEST_F(ConfigStore, ABrokenFileIsASyntaxErrorThatNamesIt) {
    Put(Policy(), "[a]\nk=1\n");
    Put(Local(), "[a]\nbroken\n");
    try {
        ConfigNamespace_t("a").Open();
        FAIL() << "nothing was thrown";
    } catch (const SyntaxException_t& e) {
        EXPECT_NE(std::string(e.what()).find("Line 2 of '" + Local() + "'"), std::string::npos) << e.what();
    }
    EXPECT_THROW(ConfigBase_t::Open(""), SyntaxException_t);
    Put(Local(), "[a]\nk=2\n");
    EXPECT_EQ(Value("a", "k"), "2");
}

namespace {

/// The text of the failure. @return empty without one
std::string IoErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const LumPalIo::IOException_t& e) {
        return e.GetMessageList().Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
    }
    return {};
}

class Endless : public LumPalIo::InputStream_t::Impl {
    std::int64_t Read(char* target, std::size_t length) override {
        std::fill_n(target, length, '#');
        return static_cast<std::int64_t>(length);
    }
};

}  // namespace

TEST_F(ConfigStore, AFileThatIsTooLargeIsAnErrorThatNamesIt) {
    Put(Local(), "[a]\nk=1\n");
    std::filesystem::resize_file(Local(), (64u << 20) + 1);
    const std::string text = IoErrorOf([] { Value("a", "k"); });
    EXPECT_NE(text.find("local_settings.ini' is too large: settings have at most 64 MiB."), text.npos) << text;
}

TEST_F(ConfigStore, AStreamWithoutEndIsAnErrorThatNamesItsSource) {
    ConfigGroup_t group;
    const LumPalIo::InputStream_t stream(std::make_shared<Endless>());
    const std::string text = IoErrorOf([&] { LumPalCfgFile::ConfigReader_t::Load(stream, group, "the source"); });
    EXPECT_EQ(text, "'the source' is too large: settings have at most 64 MiB.");
}

TEST_F(ConfigStore, SettingsThatCouldNotBeReadBackAreNotWritten) {
    Set("", "a", "k", "old");
    const std::string large(64u << 20, 'x');
    const std::string text = IoErrorOf([&] { Set("", "a", "k", String_t::FromUtf8(large)); });
    EXPECT_NE(text.find("local_settings.ini' is too large"), text.npos) << text;
    EXPECT_EQ(Value("a", "k"), "old");
}

TEST_F(ConfigStore, AFolderInTheFilesPlaceIsAnIoError) {
    std::filesystem::create_directories(Local());
    EXPECT_THROW(ConfigNamespace_t("a").Open(), LumPalIo::IOException_t);
}

TEST_F(ConfigStore, AnUpdateKeepsWhatItDoesNotName) {
    Put(Local(), "# gone afterwards\n[a]\nk=1\nm=1\n[b]\nk=1\n");
    Set("", "a", "k", "2");
    EXPECT_EQ(Text(Local()), "[a]\nk=2\nm=1\n\n[b]\nk=1\n");
    ConfigUpdate_t update("");
    update.ClearAttr("a", "m");
    update.ClearAttr("a", "absent");
    update.ClearAttr("absent", "k");
    update.ClearNamespace("b");
    update.ClearNamespace("absent");
    EXPECT_EQ(Text(Local()), "[a]\nk=2\nm=1\n\n[b]\nk=1\n") << "nothing happens before Apply";
    update.Apply();
    EXPECT_EQ(Text(Local()), "[a]\nk=2\n");
}

TEST_F(ConfigStore, ChangesAreMadeInTheOrderOfTheCalls) {
    Configuration_t config("a");
    config.SetAttrValue("k", "1");
    ConfigUpdate_t update("");
    update.SetConfig(config);
    config.SetAttrValue("k", "2");
    config.SetAttrValue("m", "2");
    update.ClearNamespace("a");
    update.SetConfig(config);
    config.SetAttrValue("k", "too late");
    update.ClearAttr("a", "m");
    update.Apply();
    EXPECT_EQ(Text(Local()), "[a]\nk=2\n");
}

TEST_F(ConfigStore, ASecondApplyOfABatchDoesNothingMore) {
    Configuration_t config("a");
    config.SetAttrValue("k", "1");
    ConfigUpdate_t update("");
    update.SetConfig(config);
    update.Apply();
    Put(Local(), "[a]\nk=other\n");
    update.Apply();
    EXPECT_EQ(Text(Local()), "[a]\nk=other\n");
}

TEST_F(ConfigStore, ClearingALocalValueShowsThePolicysAgain) {
    Put(Policy(), "[a]\nk=policy\n");
    Set("", "a", "k", "local");
    EXPECT_EQ(Value("a", "k"), "local");
    ConfigUpdate_t update("");
    update.ClearAttr("a", "k");
    update.Apply();
    EXPECT_EQ(Value("a", "k"), "policy");
    EXPECT_EQ(Text(Policy()), "[a]\nk=policy\n");
}

TEST_F(ConfigStore, AnUpdateThatChangesNothingWritesNothing) {
    Set("", "a", "k", "1");
    struct stat before {
    }, after{};
    ASSERT_EQ(stat(Local().c_str(), &before), 0);
    Set("", "a", "k", "1");
    ASSERT_EQ(stat(Local().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(ConfigStore, TheFilesAreClosedToOthersAndNothingIsLeftAside) {
    Set("", "a", "k", "1");
    struct stat status {};
    ASSERT_EQ(stat(Local().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Folder())) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{".lock", "local_settings.ini"}));
}

TEST_F(ConfigStore, ABrokenLocalFileIsNotOverwritten) {
    Put(Local(), "broken\n");
    EXPECT_THROW(Set("", "a", "k", "1"), SyntaxException_t);
    EXPECT_EQ(Text(Local()), "broken\n");
}

TEST_F(ConfigStore, AnEmptyBatchTakesNewPolicySettingsOver) {
    Put(Policy(), "[a]\nk=old\n");
    Put(NewPolicy(), "[a]\nk=new\n");
    ConfigUpdate_t("").Apply();
    EXPECT_EQ(Text(Policy()), "[a]\nk=new\n");
    EXPECT_FALSE(std::filesystem::exists(NewPolicy()));
    EXPECT_FALSE(std::filesystem::exists(Local()));
    EXPECT_EQ(Value("a", "k"), "new");
    EXPECT_NO_THROW(ConfigUpdate_t("").Apply()) << "with no new settings there is nothing to do";
    EXPECT_EQ(Text(Policy()), "[a]\nk=new\n");
}

TEST_F(ConfigStore, BrokenNewPolicySettingsStayAside) {
    Put(Policy(), "[a]\nk=old\n");
    Put(NewPolicy(), "broken\n");
    EXPECT_THROW(ConfigUpdate_t("").Apply(), SyntaxException_t);
    EXPECT_EQ(Text(Policy()), "[a]\nk=old\n");
    EXPECT_EQ(Text(NewPolicy()), "broken\n");
}

TEST_F(ConfigStore, AChangeOfLocalSettingsLeavesNewPolicySettingsAlone) {
    Put(NewPolicy(), "[a]\nk=half wri");
    Set("", "a", "k", "1");
    EXPECT_TRUE(std::filesystem::exists(NewPolicy()));
    EXPECT_FALSE(std::filesystem::exists(Policy()));
}

TEST_F(ConfigStore, APackageHasADatabaseOfItsOwn) {
    Set("", "a", "k", "node");
    Set("group 1", "a", "k", "group");
    EXPECT_EQ(ConfigBase_t::Open("").GetConfig("a").GetValue("k"), "node");
    EXPECT_EQ(ConfigBase_t::Open("group 1").GetConfig("a").GetValue("k"), "group");
    EXPECT_EQ(ConfigBase_t::Open("group 2").GetConfigCount(), 0);
    EXPECT_EQ(Text(Folder() + "group 1/local_settings.ini"), "[a]\nk=group\n");
    Put(Folder() + "group 1/policy_settings.ini", "[p]\nk=1\n");
    EXPECT_EQ(ConfigBase_t::Open("group 1").GetConfig("p").GetValue("k"), "1");
}

TEST_F(ConfigStore, APackageIsAPlainFileName) {
    for (const char16_t* name : {u".", u"..", u"../x", u"a/b", u"/", u"/etc", u"a\\b", u"c:", u".lock", u".hidden",
                                 u"a\nb", u"\u0001", u"\u2028", u"local_settings.ini", u"policy_settings.ini",
                                 u"new_policy_settings.ini", u"local_settings.ini.tmp"}) {
        EXPECT_THROW(ConfigBase_t::Open(name), IllegalArgumentError_t) << String_t(name);
        EXPECT_THROW(ConfigUpdate_t{String_t(name)}, IllegalArgumentError_t) << String_t(name);
    }
    EXPECT_THROW(ConfigBase_t::Open(String_t(u"a\0b", 3)), IllegalArgumentError_t);
    EXPECT_NO_THROW(ConfigBase_t::Open(u"Gr\u00FCn 1.2-x_y"));
}

TEST_F(ConfigStore, NamesThatCouldForgeALineAreRefusedAndTheBatchStaysAsItWas) {
    for (const char16_t* name : {u"", u"a\nb", u"\r", u"\u0007"}) {
        ConfigUpdate_t update("");
        Configuration_t badName("a"), badSpace(name);
        badName.SetAttrValue("good", "1");
        badName.SetAttrValue(name, "1");
        badSpace.SetAttrValue("k", "1");
        EXPECT_THROW(update.SetConfig(badName), IllegalArgumentError_t);
        EXPECT_THROW(update.SetConfig(badSpace), IllegalArgumentError_t);
        EXPECT_THROW(update.ClearAttr(name, "k"), IllegalArgumentError_t);
        EXPECT_THROW(update.ClearAttr("a", name), IllegalArgumentError_t);
        EXPECT_THROW(update.ClearNamespace(name), IllegalArgumentError_t);
        update.Apply();
        EXPECT_FALSE(std::filesystem::exists(Local()));
    }
}

TEST_F(ConfigStore, EveryValueSurvivesAnUpdate) {
    const String_t value = String_t(u" a\\b=\n[c]\r# \U0001F600 ") + String_t(char16_t(0xD800));
    Set("", "[x] =", "#k=", value);
    EXPECT_EQ(Value("[x] =", "#k="), value);
}
