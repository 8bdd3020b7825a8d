#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <filesystem>

#include "Faults.h"
#include "ForkedProcess.h"
#include "LumPalConfig.h"
#include "SettingsFiles.h"

using LumPalConfig::ConfigNamespace_t;
using LumPalConfig::ConfigUpdate_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

void Set(const char* nameSpace, const char* name, const char* value) {
    Configuration_t config{String_t(nameSpace)};
    config.SetAttrValue(name, value);
    ConfigUpdate_t update("");
    update.SetConfig(config);
    update.Apply();
}

void ClearNamespace(const char* nameSpace) {
    ConfigUpdate_t update("");
    update.ClearNamespace(nameSpace);
    update.Apply();
}

void TakeOver() {
    ConfigUpdate_t("").Apply();
}

/// What the system leaves in the folder when no process crashes on the way.
bool HasLeftOver(const SettingsFiles& files) {
    return std::filesystem::exists(files.Local() + ".tmp");
}

/// Tries each crash, with torn writes and without. @param check  looks at what the crash left
void ForEachCrash(int least, const std::function<void(const SettingsFiles&)>& prepare,
                  const std::function<void()>& action, const std::function<void(const SettingsFiles&)>& check) {
    for (const bool torn : {false, true}) {
        int crashes = 0;
        ForEachFault([&](int nth) {
            const SettingsFiles files(kFastFolder);
            prepare(files);
            const bool crashed = CrashesAt(nth, torn, action);
            SCOPED_TRACE("before operation " + std::to_string(nth) + (torn ? ", torn" : ""));
            check(files);
            crashes += crashed;
            return crashed;
        });
        EXPECT_GE(crashes, least);
    }
}

}  // namespace

TEST(ConfigCrash, ACrashWhileSettingLeavesTheOldFileOrTheNewOneAndTheNextChangeIsMade) {
    int leftOver = 0;
    ForEachCrash(
        6, [](const SettingsFiles& files) { WriteText(files.Local(), "[a]\nk=old\n\n[b]\nk=1\n"); },
        [] { Set("a", "k", "new"); },
        [&](const SettingsFiles& files) {
            const std::string text = ReadText(files.Local());
            const bool changed = text == "[a]\nk=new\n\n[b]\nk=1\n";
            EXPECT_TRUE(changed || text == "[a]\nk=old\n\n[b]\nk=1\n") << text;
            EXPECT_EQ(ConfigNamespace_t("a").Open().GetValue("k"), changed ? "new" : "old");
            leftOver += HasLeftOver(files);
            Set("b", "k", "2");
            EXPECT_EQ(ReadText(files.Local()), changed ? "[a]\nk=new\n\n[b]\nk=2\n" : "[a]\nk=old\n\n[b]\nk=2\n");
            EXPECT_FALSE(HasLeftOver(files));
        });
    EXPECT_GE(leftOver, 5) << "the file aside stood in the way of the next change";
}

TEST(ConfigCrash, ACrashWhileMakingTheFirstFileLeavesNoneOrTheWholeOne) {
    ForEachCrash(
        8, [](const SettingsFiles&) {}, [] { Set("a", "k", "new"); },
        [](const SettingsFiles& files) {
            const std::string text = ReadText(files.Local());
            EXPECT_TRUE(text == "[a]\nk=new\n" || !std::filesystem::exists(files.Local())) << text;
            Set("a", "k", "next");
            EXPECT_EQ(ReadText(files.Local()), "[a]\nk=next\n");
        });
}

TEST(ConfigCrash, ACrashWhileClearingLeavesTheOldFileOrTheNewOne) {
    ForEachCrash(
        6, [](const SettingsFiles& files) { WriteText(files.Local(), "[a]\nk=1\n\n[b]\nk=1\n"); },
        [] { ClearNamespace("a"); },
        [](const SettingsFiles& files) {
            const std::string text = ReadText(files.Local());
            EXPECT_TRUE(text == "[b]\nk=1\n" || text == "[a]\nk=1\n\n[b]\nk=1\n") << text;
            ClearNamespace("a");
            EXPECT_EQ(ReadText(files.Local()), "[b]\nk=1\n");
        });
}

TEST(ConfigCrash, ACrashWhileTakingPolicySettingsOverLeavesOneOfBothFilesAndTheNextTakeOverEndsIt) {
    ForEachCrash(
        4,
        [](const SettingsFiles& files) {
            WriteText(files.Policy(), "[a]\nk=old\n");
            WriteText(files.NewPolicy(), "[a]\nk=new\n");
        },
        TakeOver,
        [](const SettingsFiles& files) {
            const bool changed = ReadText(files.Policy()) == "[a]\nk=new\n";
            EXPECT_EQ(ReadText(files.Policy()), changed ? "[a]\nk=new\n" : "[a]\nk=old\n");
            EXPECT_EQ(files.HasNewPolicy(), !changed) << "what is not in force yet is not lost";
            Set("b", "k", "1");
            EXPECT_EQ(files.HasNewPolicy(), !changed) << "a local change takes nothing over";
            TakeOver();
            EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=new\n");
            EXPECT_FALSE(files.HasNewPolicy());
            EXPECT_EQ(ConfigNamespace_t("a").Open().GetValue("k"), "new");
        });
}

TEST(ConfigCrash, WhatACrashLeavesAsideGoesWithTheNextUpdateOrStartWhateverItDoes) {
    const std::function<void()> nexts[] = {[] { Set("a", "k", "old"); }, [] { Set("a", "k", "new"); },
                                           [] { ClearNamespace("absent"); }, [] { TakeOver(); },
                                           [] { ConfigUpdate_t::RemoveLeftAside(); }};
    for (const auto& next : nexts) {
        int leftOver = 0;
        ForEachCrash(
            6, [](const SettingsFiles& files) { WriteText(files.Local(), "[a]\nk=old\n"); },
            [] { Set("a", "k", "new"); },
            [&](const SettingsFiles& files) {
                leftOver += HasLeftOver(files);
                next();
                EXPECT_FALSE(HasLeftOver(files));
            });
        EXPECT_GE(leftOver, 5);
    }
}

TEST(ConfigCrash, AStartTidiesUpEachDatabaseAndLeavesWhatIsSomebodyElses) {
    const SettingsFiles files;
    const std::string packages[] = {files.Folder(), files.Folder() + "one/", files.Folder() + "two/"};
    const std::string foreign[] = {"policy_settings.ini.tmp", "local_settings.ini.tmp.tmp", "my.ini.tmp",
                                   "local_settings.ini.temp"};
    for (const std::string& folder : packages) {
        WriteText(folder + "local_settings.ini.tmp", "left");
        for (const std::string& name : foreign) WriteText(folder + name, "kept");
    }
    const std::string others[] = {files.Folder() + ".hidden/local_settings.ini.tmp",
                                  files.Folder() + "three/local_settings.ini.tmp/kept",
                                  files.Folder() + "one/below/local_settings.ini.tmp"};
    for (const std::string& path : others) WriteText(path, "kept");
    std::filesystem::create_directory(files.Folder() + "four");
    std::filesystem::create_symlink(files.Folder() + "one/my.ini.tmp", files.Folder() + "four/local_settings.ini.tmp");
    ConfigUpdate_t::RemoveLeftAside();
    for (const std::string& folder : packages) {
        EXPECT_FALSE(std::filesystem::exists(folder + "local_settings.ini.tmp")) << folder;
        for (const std::string& name : foreign) EXPECT_EQ(ReadText(folder + name), "kept") << folder << name;
    }
    for (const std::string& path : others) EXPECT_EQ(ReadText(path), "kept") << path;
    EXPECT_TRUE(std::filesystem::is_symlink(files.Folder() + "four/local_settings.ini.tmp"));
    EXPECT_FALSE(std::filesystem::exists(files.Folder() + "three/.lock")) << "nothing is made where nothing is left";
}

TEST(ConfigCrash, AStartOfANodeWithoutSettingsMakesNothing) {
    const SettingsFiles files;
    ConfigUpdate_t::RemoveLeftAside();
    EXPECT_FALSE(std::filesystem::exists(files.Folder()));
}

TEST(ConfigCrash, WhatALivingProcessIsWritingStaysAndIsNotWaitedFor) {
    const SettingsFiles files;
    WriteText(files.Folder() + ".lock", "");
    WriteText(files.Local() + ".tmp", "being written");
    const int lock = open((files.Folder() + ".lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    ConfigUpdate_t::RemoveLeftAside();
    EXPECT_EQ(ReadText(files.Local() + ".tmp"), "being written");
    close(lock);
    ConfigUpdate_t::RemoveLeftAside();
    EXPECT_FALSE(HasLeftOver(files));
}

TEST(ConfigCrash, WhatACrashLeftAsideIsNeverRead) {
    const SettingsFiles files;
    WriteText(files.Local(), "[a]\nk=1\n");
    WriteText(files.Local() + ".tmp", "[a]\nk=left over\n[b]\nk=left over, and much longer than the next\n");
    EXPECT_EQ(ConfigNamespace_t("a").Open().GetValue("k"), "1");
    Set("c", "k", "2");
    EXPECT_EQ(ReadText(files.Local()), "[a]\nk=1\n\n[c]\nk=2\n");
    EXPECT_FALSE(HasLeftOver(files));
}
