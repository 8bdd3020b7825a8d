// Making, moving and deleting files of the store.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "DirectoryImpl.h"
#include "Files.h"
#include "LumPalFault.h"
#include "Raised.h"
#include "StorePaths.h"
#include "TempRoot.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using LumPalIo::File_t;
using LumPalIo::IOException_t;
namespace fs = std::filesystem;

/// Lets a file behave as one that another process holds open on a system where such a file keeps its name: it can be
/// renamed away, but until then it can neither be deleted nor replaced.
class NameHeldOpen {
public:
    explicit NameHeldOpen(const std::string& path) {
        Path() = path;
        LumPalIo::SetFaultHookForTest(&Refuses);
    }
    NameHeldOpen(const NameHeldOpen&) = delete;
    NameHeldOpen& operator=(const NameHeldOpen&) = delete;
    ~NameHeldOpen() { LumPalIo::SetFaultHookForTest(nullptr); }

private:
    static std::string& Path() {
        static std::string path;
        return path;
    }
    static bool Refuses(const char* operation, const char* path) {
        const std::string what = operation;
        if (what == "unlink") return path == Path();
        return what == "rename" && path != Path() && fs::exists(Path());
    }
};

/// Lets every write and flush fail for as long as it lives, as on a full disk.
class FullDisk {
public:
    FullDisk() { LumPalIo::SetFaultHookForTest(&Refuses); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() { LumPalIo::SetFaultHookForTest(nullptr); }

private:
    static bool Refuses(const char* operation, const char*) { return std::string(operation) == "write"; }
};

class StoreFiles : public testing::Test {
protected:
    fs::path At(const std::string& name) const { return fs::path(root.Native()) / name; }
    File_t FileAt(const std::string& name) const { return File_t(ToString(At(name))); }
    void Move(const std::string& from, const std::string& to) const {
        DirectoryImpl::MoveOrCopyFile(FileAt(from), FileAt(to));
    }
    /// Nothing but these names is in a folder.
    void ExpectOnly(const std::string& folder, std::size_t count) const {
        EXPECT_EQ(std::distance(fs::directory_iterator(At(folder)), fs::directory_iterator()),
                  static_cast<std::ptrdiff_t>(count));
    }

    TempRoot root;
};

TEST_F(StoreFiles, AReadOnlyFileIsDeleted) {
    WriteText(At("a"));
    fs::permissions(At("a"), fs::perms::owner_read);
    EXPECT_TRUE(DirectoryImpl::DeleteFile(FileAt("a")));
    EXPECT_FALSE(fs::exists(At("a")));
}

TEST_F(StoreFiles, AFileThatCannotBeDeletedEndsReadableByItsOwnerAlone) {
    WriteText(At("d/inside"));
    EXPECT_FALSE(DirectoryImpl::DeleteFile(FileAt("d")));
    EXPECT_EQ(ModeOf(At("d")), 0400u);
    fs::permissions(At("d"), fs::perms::owner_all);
    EXPECT_TRUE(fs::exists(At("d/inside")));
}

TEST_F(StoreFiles, DeletingAMissingFileSaysFalse) {
    EXPECT_FALSE(DirectoryImpl::DeleteFile(FileAt("nothing")));
}

TEST_F(StoreFiles, DeletingALinkLeavesWhatItPointsTo) {
    WriteText(At("secret"));
    fs::permissions(At("secret"), fs::perms::owner_read);
    fs::create_symlink(At("secret"), At("link"));
    EXPECT_TRUE(DirectoryImpl::DeleteFile(FileAt("link")));
    EXPECT_EQ(ModeOf(At("secret")), 0400u);
}

TEST_F(StoreFiles, ADirectoryGoesWithItsFiles) {
    WriteText(At("d/a"));
    WriteText(At("d/b"));
    fs::permissions(At("d/b"), fs::perms::owner_read);
    DirectoryImpl::DeleteDirectory(FileAt("d"));
    EXPECT_FALSE(fs::exists(At("d")));
}

TEST_F(StoreFiles, ADirectoryWithADirectoryBelowKeepsThatOne) {
    WriteText(At("d/a"));
    WriteText(At("d/below/b"));
    TraceLines traced;
    DirectoryImpl::DeleteDirectory(FileAt("d"));
    EXPECT_FALSE(fs::exists(At("d/a")));
    EXPECT_TRUE(fs::exists(At("d/below/b")));
    EXPECT_TRUE(traced.Contains("could not delete " + At("d/below").native()));
    EXPECT_TRUE(traced.Contains("could not delete " + At("d").native() + "\n"));
}

TEST_F(StoreFiles, DeletingAMissingDirectoryRaisesNothing) {
    EXPECT_NO_THROW(DirectoryImpl::DeleteDirectory(FileAt("nothing")));
}

TEST_F(StoreFiles, ALinkInPlaceOfADirectoryGoesAlone) {
    WriteText(At("other/a"));
    fs::create_directory_symlink(At("other"), At("d"));
    DirectoryImpl::DeleteDirectory(FileAt("d"));
    EXPECT_FALSE(fs::is_symlink(At("d")));
    EXPECT_TRUE(fs::exists(At("other/a")));
}

TEST_F(StoreFiles, ADirectoryIsMadeWithItsParents) {
    EXPECT_TRUE(DirectoryImpl::MakeDirectory(FileAt("a/b/c")));
    EXPECT_TRUE(fs::is_directory(At("a/b/c")));
    EXPECT_TRUE(DirectoryImpl::MakeDirectory(FileAt("a/b/c")));
}

TEST_F(StoreFiles, ADirectoryThatCannotBeMadeIsTraced) {
    WriteText(At("file"));
    TraceLines traced;
    EXPECT_FALSE(DirectoryImpl::MakeDirectory(FileAt("file/below")));
    EXPECT_TRUE(traced.Contains("Could not create directory '" + At("file/below").native() + "'."));
}

TEST_F(StoreFiles, ATemporaryFileIsEmptyWritableAndInItsDirectory) {
    File_t first = DirectoryImpl::CreateTemporaryFile(), second = DirectoryImpl::CreateTemporaryFile();
    EXPECT_NE(first.ToString(), second.ToString());
    EXPECT_EQ(first.GetName().Left(3), "POL");
    EXPECT_EQ(first.GetParentFile().GetAbsolutePath(), paths::TemporaryDirectory().GetAbsolutePath());
    fs::path path = first.GetAbsolutePath().ToUtf8();
    EXPECT_EQ(ModeOf(path), 0660u);
    EXPECT_EQ(fs::file_size(path), 0u);
}

TEST_F(StoreFiles, AMovedFileLeavesItsPlaceAndEndsReadOnly) {
    WriteText(At("from"), "text");
    Move("from", "to");
    EXPECT_FALSE(fs::exists(At("from")));
    EXPECT_EQ(ReadText(At("to")), "text");
    EXPECT_EQ(ModeOf(At("to")), 0440u);
}

TEST_F(StoreFiles, AReadOnlySourceMovesToo) {
    WriteText(At("from"), "text");
    fs::permissions(At("from"), fs::perms::owner_read);
    Move("from", "to");
    EXPECT_EQ(ReadText(At("to")), "text");
}

TEST_F(StoreFiles, AReadOnlyDestinationIsReplacedAndStaysReadOnly) {
    WriteText(At("from"), "new");
    WriteText(At("to"), "old");
    fs::permissions(At("to"), fs::perms::owner_read);
    Move("from", "to");
    EXPECT_EQ(ReadText(At("to")), "new");
    EXPECT_EQ(ModeOf(At("to")), 0440u);
    ExpectOnly(".", 1);
}

TEST_F(StoreFiles, TheDirectoriesOfADestinationAreMade) {
    WriteText(At("from"), "text");
    Move("from", "a/b/to");
    EXPECT_EQ(ReadText(At("a/b/to")), "text");
}

TEST_F(StoreFiles, AnEmptyDirectoryInTheWayIsReplaced) {
    WriteText(At("from"), "text");
    fs::create_directory(At("to"));
    Move("from", "to");
    EXPECT_EQ(ReadText(At("to")), "text");
}

TEST_F(StoreFiles, WhatCannotBeMovedAwayIsNamedAndTheSourceStays) {
    WriteText(At("from"), "text");
    WriteText(At("to/inside"));
    auto raised = MessagesOf<IOException_t>([this] { Move("from", "to"); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetMessageText(), "Cannot delete destination file '" + ToString(At("to")) + "'.");
    EXPECT_EQ(raised.GetMessage(0).GetId(), 10u);
    EXPECT_EQ(ReadText(At("from")), "text");
    ExpectOnly("tmp/conf_tmp", 0);
}

TEST_F(StoreFiles, AMissingSourceIsRaisedWithBothPathsAndTheReason) {
    auto raised = MessagesOf<IOException_t>([this] { Move("nothing", "to"); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetId(), 11u);
    EXPECT_EQ(raised.GetMessage(0).GetMessageText(),
              "Could not copy file from '" + ToString(At("nothing")) + "' to '" + ToString(At("to")) + "'.");
    EXPECT_GT(raised.GetMessage(0).GetDetails().GetMessageCount(), 0);
    EXPECT_FALSE(fs::exists(At("to")));
    ExpectOnly(".", 0);
}

TEST_F(StoreFiles, AMissingSourceDoesNotCostTheFileThatStandsThere) {
    WriteText(At("to"), "old");
    fs::permissions(At("to"), fs::perms::owner_read);
    EXPECT_RAISES(Move("nothing", "to"), IOException_t, 11);
    EXPECT_EQ(ReadText(At("to")), "old");
    EXPECT_EQ(ModeOf(At("to")), 0440u) << "what stands in the store rests read-only";
    ExpectOnly(".", 1);
}

TEST_F(StoreFiles, WhatCannotBeDeletedIsMovedOutOfTheWay) {
    WriteText(At("from"), "new");
    WriteText(At("to"), "old");
    {
        // Every name is refused until the old file was asked to go, and it goes by a rename only.
        NameHeldOpen held(At("to").native());
        Move("from", "to");
    }
    EXPECT_EQ(ReadText(At("to")), "new");
    EXPECT_EQ(ModeOf(At("to")), 0440u);
    EXPECT_FALSE(fs::exists(At("from")));
    fs::path away = fs::directory_iterator(At("tmp/conf_tmp"))->path();
    EXPECT_EQ(ReadText(away), "old");
    ExpectOnly("tmp/conf_tmp", 1);
}

TEST_F(StoreFiles, ASourceThatIsALinkIsRefused) {
    WriteText(At("secret"), "secret");
    fs::create_symlink(At("secret"), At("from"));
    EXPECT_RAISES(Move("from", "to"), IOException_t, 11);
    EXPECT_FALSE(fs::exists(At("to")));
    EXPECT_EQ(ReadText(At("secret")), "secret");
}

TEST_F(StoreFiles, ADestinationThatIsALinkIsReplacedAndNotFollowed) {
    WriteText(At("from"), "text");
    WriteText(At("secret"), "secret");
    fs::permissions(At("secret"), fs::perms::owner_read);
    fs::create_symlink(At("secret"), At("to"));
    Move("from", "to");
    EXPECT_FALSE(fs::is_symlink(At("to")));
    EXPECT_EQ(ReadText(At("to")), "text");
    EXPECT_EQ(ReadText(At("secret")), "secret");
    EXPECT_EQ(ModeOf(At("secret")), 0400u);
}

TEST_F(StoreFiles, AFolderThatIsALinkReceivesNothing) {
    WriteText(At("from"), "text");
    fs::create_directory(At("outside"));
    fs::create_directory_symlink(At("outside"), At("type"));
    EXPECT_RAISES(Move("from", "type/to"), IOException_t, 11);
    EXPECT_EQ(ReadText(At("from")), "text");
    ExpectOnly("outside", 0);
}

TEST_F(StoreFiles, ANullFileIsRefused) {
    WriteText(At("from"));
    using LumPalMsg::IllegalStateError_t;
    EXPECT_RAISES(DirectoryImpl::MoveOrCopyFile(File_t(), FileAt("to")), IllegalStateError_t, 6);
    EXPECT_RAISES(DirectoryImpl::MoveOrCopyFile(FileAt("from"), File_t()), IllegalStateError_t, 6);
    EXPECT_RAISES(DirectoryImpl::DeleteFile(File_t()), IllegalStateError_t, 6);
    EXPECT_NO_THROW(DirectoryImpl::DeleteDirectory(File_t()));
    EXPECT_FALSE(DirectoryImpl::MakeDirectory(File_t()));
    EXPECT_TRUE(fs::exists(At("from")));
}

/// A folder on another file system, where a rename fails.
class AcrossFileSystems : public StoreFiles {
protected:
    AcrossFileSystems() {
        char name[] = "/dev/shm/lumtest-XXXXXX";
        if (!mkdtemp(name)) throw std::runtime_error("cannot make a folder in /dev/shm");
        other = name;
    }
    ~AcrossFileSystems() override { fs::remove_all(other); }
    void SetUp() override {
        struct stat here {
        }, there{};
        ASSERT_EQ(stat(root.Native().c_str(), &here), 0);
        ASSERT_EQ(stat(other.c_str(), &there), 0);
        ASSERT_NE(here.st_dev, there.st_dev) << "this trial needs two file systems";
    }
    void MoveIn(const std::string& to) const {
        DirectoryImpl::MoveOrCopyFile(File_t(ToString(other / "from")), FileAt(to));
    }

    fs::path other;
};

TEST_F(AcrossFileSystems, AFileIsCopiedAndItsSourceDeleted) {
    std::string text(3 * 8192 + 17, 'x');
    WriteText(other / "from", text);
    MoveIn("d/to");
    EXPECT_EQ(ReadText(At("d/to")), text);
    EXPECT_EQ(ModeOf(At("d/to")), 0440u);
    EXPECT_FALSE(fs::exists(other / "from"));
    ExpectOnly("d", 1);
}

std::vector<std::string> steps;

void KeepStep(const char* operation, const char* path, const char*) {
    if (std::string_view(operation) != "write") steps.push_back(std::string(operation) + " " + path);
}

TEST_F(AcrossFileSystems, ASourceGoesOnlyWhenItsNewNameIsOnTheDisk) {
    WriteText(other / "from", "text");
    fs::create_directory(At("d"));
    steps.clear();
    LumPalIo::SetFileObserverForTest(KeepStep);
    MoveIn("d/to");
    LumPalIo::SetFileObserverForTest(nullptr);
    ASSERT_GE(steps.size(), 3u);
    EXPECT_EQ(steps.rbegin()[0], "unlink " + (other / "from").string());
    EXPECT_EQ(steps.rbegin()[1], "fsync " + At("d").string());
    EXPECT_TRUE(steps.rbegin()[2].starts_with("rename " + At("d").string())) << steps.rbegin()[2];
}

bool FailFolderFlush(const char* operation, const char* path) {
    return std::string_view(operation) == "fsync" && std::string_view(path).ends_with("/d");
}

TEST_F(AcrossFileSystems, ASourceWhoseNewNameMayNotBeOnTheDiskStays) {
    WriteText(other / "from", "text");
    fs::create_directory(At("d"));
    LumPalIo::SetFaultHookForTest(FailFolderFlush);
    MoveIn("d/to");
    LumPalIo::SetFaultHookForTest(nullptr);
    EXPECT_EQ(ReadText(At("d/to")), "text");
    EXPECT_EQ(ReadText(other / "from"), "text");
}

TEST_F(AcrossFileSystems, AnEmptyFileIsCopied) {
    WriteText(other / "from", "");
    MoveIn("to");
    EXPECT_TRUE(fs::exists(At("to")));
    EXPECT_EQ(fs::file_size(At("to")), 0u);
}

TEST_F(AcrossFileSystems, WhatStandsThereIsReplaced) {
    WriteText(other / "from", "new");
    WriteText(At("d/to"), "a longer old text");
    fs::permissions(At("d/to"), fs::perms::owner_read);
    MoveIn("d/to");
    EXPECT_EQ(ReadText(At("d/to")), "new");
    ExpectOnly("d", 1);
}

TEST_F(AcrossFileSystems, AFullDiskDoesNotCostTheFileThatStandsThere) {
    WriteText(other / "from", "new");
    WriteText(At("d/to"), "old");
    fs::permissions(At("d/to"), fs::perms::owner_read);
    {
        FullDisk full;
        EXPECT_RAISES(MoveIn("d/to"), IOException_t, 11);
    }
    EXPECT_EQ(ReadText(At("d/to")), "old");
    EXPECT_EQ(ModeOf(At("d/to")), 0440u);
    EXPECT_EQ(ReadText(other / "from"), "new");
    ExpectOnly("d", 1);
}

TEST_F(AcrossFileSystems, ACopyThatFailsLeavesNothingHalfWritten) {
    fs::create_directory(other / "from");
    fs::create_directory(At("d"));
    EXPECT_RAISES(MoveIn("d/to"), IOException_t, 11);
    ExpectOnly("d", 0);
}

}  // namespace
