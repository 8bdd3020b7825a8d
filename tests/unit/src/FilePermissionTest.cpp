#include "FilePermission.h"

#include <gtest/gtest.h>

#include "Files.h"
#include "Raised.h"
#include "TempRoot.h"

namespace {

using namespace LumConf;
using LumPalIo::File_t;
using LumPalMsg::IllegalStateError_t;
namespace fs = std::filesystem;

TEST(FilePermissionSet, EachOperationAddsItsOwnBit) {
    EXPECT_EQ(FilePermissionSet().OwnerRead().GetMode(), 0400u);
    EXPECT_EQ(FilePermissionSet().OwnerWrite().GetMode(), 0200u);
    EXPECT_EQ(FilePermissionSet().OwnerExecute().GetMode(), 0100u);
    EXPECT_EQ(FilePermissionSet().GroupRead().GetMode(), 0040u);
    EXPECT_EQ(FilePermissionSet().GroupWrite().GetMode(), 0020u);
    EXPECT_EQ(FilePermissionSet().GroupExecute().GetMode(), 0010u);
    EXPECT_EQ(FilePermissionSet().OtherRead().GetMode(), 0004u);
    EXPECT_EQ(FilePermissionSet().OtherWrite().GetMode(), 0002u);
    EXPECT_EQ(FilePermissionSet().OtherExecute().GetMode(), 0001u);
}

TEST(FilePermissionSet, TheSetsInUseNeverOpenAFileToOthers) {
    EXPECT_EQ(FilePermissionSet::Writable().GetMode(), 0660u);
    EXPECT_EQ(FilePermissionSet::Protected().GetMode(), 0440u);
    EXPECT_EQ(FilePermissionSet::OwnerReadOnly().GetMode(), 0400u);
}

TEST(FilePermissionSet, AnEmptySetHasNoMask) {
    FilePermissionSet set;
    EXPECT_FALSE(set.IsSet());
    EXPECT_RAISES(set.GetMode(), IllegalStateError_t, 5);
    EXPECT_TRUE(set.OwnerRead().IsSet());
}

TEST(FilePermission, ANullFileIsRefused) {
    FilePermission permission;
    EXPECT_RAISES(permission.SetFile(File_t()), IllegalStateError_t, 6);
    EXPECT_FALSE(permission.Apply(FilePermissionSet::Writable()));
}

TEST(FilePermission, EachApplyNeedsAFileOfItsOwn) {
    TempRoot root;
    fs::path path = root.Native() + "/file";
    WriteText(path);
    FilePermission permission;
    EXPECT_FALSE(permission.Apply(FilePermissionSet::Protected()));
    permission.SetFile(File_t(ToString(path)));
    EXPECT_TRUE(permission.Apply(FilePermissionSet::Protected()));
    EXPECT_EQ(ModeOf(path), 0440u);
    EXPECT_FALSE(permission.Apply(FilePermissionSet::Writable()));
    EXPECT_EQ(ModeOf(path), 0440u);
}

TEST(FilePermission, AnEmptySetChangesNothingAndForgetsTheFile) {
    TempRoot root;
    fs::path path = root.Native() + "/file";
    WriteText(path);
    unsigned before = ModeOf(path);
    FilePermission permission;
    permission.SetFile(File_t(ToString(path)));
    EXPECT_FALSE(permission.Apply(FilePermissionSet()));
    EXPECT_FALSE(permission.Apply(FilePermissionSet::Protected()));
    EXPECT_EQ(ModeOf(path), before);
}

TEST(FilePermission, AFileThatIsNotThereIsNotTold) {
    TempRoot root;
    FilePermission permission;
    permission.SetFile(File_t(root.Path("nothing")));
    EXPECT_TRUE(permission.Apply(FilePermissionSet::Protected()));
}

TEST(FilePermission, ASymbolicLinkDoesNotOpenUpWhatItPointsTo) {
    TempRoot root;
    fs::path secret = root.Native() + "/secret", link = root.Native() + "/link";
    WriteText(secret);
    fs::permissions(secret, fs::perms::owner_read);
    fs::create_symlink(secret, link);
    FilePermission::Apply(File_t(ToString(link)), FilePermissionSet::Writable());
    EXPECT_EQ(ModeOf(secret), 0400u);
}

}  // namespace
