// Links and pipes in the place of settings files lead nowhere and hold nobody up.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "Files.h"
#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "Raised.h"
#include "SettingsFiles.h"

using namespace LumPalConfig;
using LumPalIo::IOException_t;

namespace {

namespace fs = std::filesystem;

void Set(const char* nameSpace, const char* name, const char* value) {
    ConfigUpdate_t update("");
    Configuration_t change(nameSpace);
    change.SetAttrValue(name, value);
    update.SetConfig(change);
    update.Apply();
}

struct ConfigLink : testing::Test {
    ConfigLink() {
        WriteText(foreign, "[a]\nk=foreign\n");
        fs::permissions(foreign, fs::perms::owner_all);
        fs::create_directories(files.Folder());
    }
    /// Nobody has written, emptied or changed the mode of what the link leads to.
    void ExpectForeignIsUntouched() const {
        EXPECT_EQ(ReadText(foreign), "[a]\nk=foreign\n");
        EXPECT_EQ(ModeOf(foreign), 0700u);
    }
    static void MakePipe(const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }

    const SettingsFiles files;
    const std::string foreign = files.Root() + "/foreign";
};

}  // namespace

TEST_F(ConfigLink, AChangeIsNotWrittenThroughALinkWhereItIsWrittenAside) {
    fs::create_symlink(foreign, files.Local() + ".tmp");
    Set("b", "k", "1");
    ExpectForeignIsUntouched();
    EXPECT_EQ(ReadText(files.Local()), "[b]\nk=1\n");
    EXPECT_FALSE(fs::is_symlink(files.Local()));
    EXPECT_FALSE(fs::exists(fs::symlink_status(files.Local() + ".tmp")));
}

TEST_F(ConfigLink, AChangeIsNotWrittenIntoAPipeWhereItIsWrittenAside) {
    MakePipe(files.Local() + ".tmp");
    EXPECT_THROW(Set("b", "k", "1"), IOException_t);
    EXPECT_TRUE(fs::is_fifo(files.Local() + ".tmp"));
    EXPECT_FALSE(fs::exists(files.Local()));
}

TEST_F(ConfigLink, SettingsAreNotReadThroughALinkNorFromAPipe) {
    for (const std::string& path : {files.Local(), files.Policy()}) {
        fs::create_symlink(foreign, path);
        EXPECT_THROW(ConfigBase_t::Open(""), IOException_t) << path;
        fs::remove(path);
        MakePipe(path);
        EXPECT_THROW(ConfigBase_t::Open(""), IOException_t) << path;
        fs::remove(path);
    }
    ExpectForeignIsUntouched();
}

TEST_F(ConfigLink, NewSettingsOfPoliciesThatAreALinkOrAPipeAreNotTakenOver) {
    WriteText(files.Policy(), "[a]\nk=before\n");
    fs::create_symlink(foreign, files.NewPolicy());
    EXPECT_THROW(ConfigUpdate_t("").Apply(), IOException_t);
    ExpectForeignIsUntouched();
    fs::remove(files.NewPolicy());
    MakePipe(files.NewPolicy());
    EXPECT_THROW(ConfigUpdate_t("").Apply(), IOException_t);
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=before\n");
}

TEST_F(ConfigLink, ALinkInThePlaceOfTheLockIsNotFollowed) {
    fs::create_symlink(files.Root() + "/made", files.Folder() + ".lock");
    EXPECT_THROW(Set("b", "k", "1"), IOException_t);
    EXPECT_FALSE(fs::exists(files.Root() + "/made"));
}
