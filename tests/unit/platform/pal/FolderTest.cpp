#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Faults.h"
#include "Files.h"
#include "LumPalIo.h"
#include "TempRoot.h"

namespace {

namespace fs = std::filesystem;
using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalIo::IOException_t;
using LumPalIo::NoSpaceException_t;
using LumPalStr::String_t;
using Entry = Folder_t::Entry;

class Folder : public testing::Test {
protected:
    fs::path At(const std::string& name) const { return fs::path(root.Native()) / name; }
    Folder_t Open(const std::string& name = "") const { return Folder_t(File_t(ToString(At(name)))); }

    const TempRoot root;
};

TEST_F(Folder, SaysWhatStandsUnderAName) {
    WriteText(At("file"));
    WriteText(At("linked"));
    fs::create_hard_link(At("linked"), At("second"));
    fs::create_directory(At("directory"));
    fs::create_symlink(At("nowhere"), At("link"));
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    const Folder_t folder = Open();
    const std::pair<const char*, Entry> rows[] = {{"file", Entry::File},
                                                  {"linked", Entry::Linked},
                                                  {"second", Entry::Linked},
                                                  {"directory", Entry::Directory},
                                                  {"link", Entry::SymbolicLink},
                                                  {"pipe", Entry::Other},
                                                  {"nothing", Entry::None},
                                                  {"", Entry::None},
                                                  {".", Entry::None},
                                                  {"..", Entry::None},
                                                  {"directory/x", Entry::None},
                                                  {"/etc/passwd", Entry::None}};
    for (const auto& [name, entry] : rows) EXPECT_EQ(folder.Look(name), entry) << name;
}

TEST_F(Folder, WhatIsNoFolderIsNotOpened) {
    WriteText(At("file"));
    fs::create_directory(At("real"));
    fs::create_directory_symlink(At("real"), At("link"));
    EXPECT_THROW(Open("file"), IOException_t);
    EXPECT_THROW(Open("nothing"), LumPalIo::FileNotFoundException_t);
    EXPECT_THROW(Folder_t{File_t()}, IOException_t);
    try {
        Open("link");
        FAIL() << "a link was followed";
    } catch (const IOException_t& e) {
        EXPECT_EQ(e.GetMessageList().GetMessage(0).GetMessageText(),
                  "'" + ToString(At("link")) + "' is a symbolic link.");
    }
}

TEST_F(Folder, WorksInTheFolderThatItOpenedWhateverBecomesOfItsPath) {
    WriteText(At("d/file"), "mine");
    WriteText(At("outside/file"), "not mine");
    const Folder_t folder = Open("d");
    fs::rename(At("d"), At("moved"));
    fs::create_directory_symlink(At("outside"), At("d"));
    EXPECT_TRUE(folder.SetMode("file", 0400));
    EXPECT_TRUE(folder.Delete("file"));
    folder.Create("new").Close();
    folder.Sync();
    EXPECT_FALSE(fs::exists(At("moved/file")));
    EXPECT_TRUE(fs::exists(At("moved/new")));
    EXPECT_EQ(ReadText(At("outside/file")), "not mine");
    EXPECT_FALSE(fs::exists(At("outside/new")));
}

TEST_F(Folder, ANewFileTakesThePlaceOfNothing) {
    WriteText(At("file"), "old");
    WriteText(At("elsewhere"), "old");
    fs::create_symlink(At("elsewhere"), At("link"));
    fs::create_symlink(At("nowhere"), At("dangling"));
    const Folder_t folder = Open();
    for (const char* name : {"file", "link", "dangling", "", ".", "..", "sub/file"}) {
        EXPECT_THROW(folder.Create(name), IOException_t) << name;
    }
    EXPECT_EQ(ReadText(At("file")), "old");
    EXPECT_EQ(ReadText(At("elsewhere")), "old");
    EXPECT_FALSE(fs::exists(At("nowhere")));
}

TEST_F(Folder, ReadsPlainFilesAndFollowsNoLink) {
    WriteText(At("file"), "text");
    fs::create_symlink(At("file"), At("link"));
    LumPalArray::CharArray_t bytes(4);
    EXPECT_EQ(Open().Open("file").Read(bytes), 4);
    EXPECT_EQ(bytes.View(), "text");
    EXPECT_THROW(Open().Open("link"), IOException_t);
    EXPECT_THROW(Open().Open("nothing"), LumPalIo::FileNotFoundException_t);
}

TEST_F(Folder, UnusedNamesBeginWithThePrefixAndDiffer) {
    String_t first, second;
    Open().CreateUnused(".x-", first).Close();
    Open().CreateUnused(".x-", second).Close();
    EXPECT_NE(first, second);
    EXPECT_EQ(first.Left(3), ".x-");
    EXPECT_EQ(Open().Look(first), Entry::File);
}

TEST_F(Folder, TheModeOfAFileWithASecondNameOrBehindALinkStays) {
    WriteText(At("file"));
    WriteText(At("linked"));
    fs::create_hard_link(At("linked"), At("second"));
    WriteText(At("target"));
    fs::create_symlink(At("target"), At("link"));
    const Folder_t folder = Open();
    for (const char* name : {"file", "linked", "target"}) fs::permissions(At(name), fs::perms(0600));
    EXPECT_TRUE(folder.SetMode("file", 0440));
    EXPECT_EQ(ModeOf(At("file")), 0440u);
    EXPECT_FALSE(folder.SetMode("linked", 0440));
    EXPECT_EQ(ModeOf(At("linked")), 0600u);
    EXPECT_FALSE(folder.SetMode("link", 0440));
    EXPECT_EQ(ModeOf(At("target")), 0600u);
    EXPECT_FALSE(folder.SetMode("nothing", 0440));
}

TEST_F(Folder, DeletesFilesLinksAndEmptyDirectoriesOnly) {
    WriteText(At("file"));
    WriteText(At("full/inside"));
    fs::create_directory(At("empty"));
    fs::create_directory_symlink(At("full"), At("link"));
    const Folder_t folder = Open();
    EXPECT_TRUE(folder.Delete("file"));
    EXPECT_TRUE(folder.Delete("link"));
    EXPECT_TRUE(folder.Delete("empty"));
    EXPECT_FALSE(folder.Delete("full"));
    EXPECT_FALSE(folder.Delete("full/inside"));
    EXPECT_FALSE(folder.Delete("nothing"));
    EXPECT_TRUE(fs::exists(At("full/inside")));
}

TEST_F(Folder, AFileMovesToAnotherFolderOverWhatStandsThere) {
    WriteText(At("a/file"), "new");
    WriteText(At("b/other"), "old");
    EXPECT_TRUE(Open("a").Move("file", Open("b"), "other"));
    EXPECT_EQ(ReadText(At("b/other")), "new");
    EXPECT_FALSE(fs::exists(At("a/file")));
    EXPECT_FALSE(Open("a").Move("file", Open("b"), "other"));
    EXPECT_FALSE(Open("b").Move("other", Open("a"), "../x"));
}

TEST_F(Folder, AFlushThatFailsIsRaisedWithItsReason) {
    WriteText(At("file"));
    const Folder_t folder = Open();
    EXPECT_NO_THROW(folder.SyncFile("file"));
    EXPECT_NO_THROW(folder.SyncAll());
    EXPECT_THROW(folder.SyncFile("nothing"), LumPalIo::FileNotFoundException_t);
    {
        const Faults faults(1, FaultMode::DiskFull);
        EXPECT_THROW(folder.Sync(), NoSpaceException_t);
        EXPECT_THROW(folder.SyncAll(), NoSpaceException_t);
        EXPECT_THROW(folder.SyncFile("file"), NoSpaceException_t);
    }
    const FailingFile failing("fsync", root.Native());
    EXPECT_THROW(folder.Sync(), IOException_t);
}

TEST_F(Folder, EachFolderThatIsMadeIsFlushedIntoTheOneAboveIt) {
    static std::vector<std::string> flushed;
    flushed.clear();
    LumPalIo::SetFileObserverForTest([](const char* operation, const char* path, const char*) {
        if (operation == std::string("fsync")) flushed.emplace_back(path);
    });
    EXPECT_TRUE(File_t(ToString(At("a/b/c"))).Mkdirs());
    LumPalIo::SetFileObserverForTest(nullptr);
    EXPECT_EQ(flushed, (std::vector<std::string>{root.Native(), At("a").native(), At("a/b").native()}));
    const Faults faults(1, FaultMode::DiskFull);
    EXPECT_THROW(File_t(ToString(At("full"))).MakeFolders(), NoSpaceException_t);
}

}  // namespace
