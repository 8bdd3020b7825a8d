#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "LumPalIo.h"
#include "TempRoot.h"

using LumPalIo::File_t;
using LumPalIo::FileOutputStream_t;
using LumPalStr::String_t;

namespace {

void Fill(const File_t& file, const char* text) {
    FileOutputStream_t stream(file);
    stream.Write(text, std::char_traits<char>::length(text));
    stream.Close();
}

unsigned ModeOf(const String_t& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.ToUtf8().c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

String_t WithNul(const String_t& path) {
    return path + String_t(u"\0", 1) + ".txt";
}

struct NameRow {
    const char* path;
    const char* name;
    const char* parent;
};

}  // namespace

TEST(File, ADefaultFileIsNull) {
    const File_t file;
    EXPECT_TRUE(file.IsNull());
    EXPECT_FALSE(file.IsNotNull());
    EXPECT_TRUE(file.ToString().IsNull());
    EXPECT_TRUE(file.GetParent().IsNull());
    EXPECT_TRUE(file.GetAbsolutePath().IsNull());
    EXPECT_EQ(file.GetName(), "");
}

TEST(File, ANullFileDoesNothingAndSaysSo) {
    for (const File_t& file : {File_t(), File_t("")}) {
        EXPECT_FALSE(file.Exists());
        EXPECT_FALSE(file.IsDirectory());
        EXPECT_FALSE(file.IsSymbolicLink());
        EXPECT_FALSE(file.Delete());
        EXPECT_FALSE(file.Mkdirs());
        EXPECT_FALSE(file.RenameTo(File_t("x")));
        EXPECT_FALSE(File_t("x").RenameTo(file));
        EXPECT_FALSE(file.SetMode(0600));
        EXPECT_FALSE(file.Sync());
        EXPECT_EQ(file.GetSize(), 0u);
    }
}

TEST(File, NamesAndParentsComeFromTheText) {
    const NameRow rows[] = {
        {"/a/b/c.xml", "c.xml", "/a/b"},
        {"/a", "a", "/"},
        {"a", "a", nullptr},
        {"a/b", "b", "a"},
        {"/", "", nullptr},
        {"/a/b/", "b", "/a"},
        {"a//b", "b", "a"},
        {"//a", "a", "/"},
        {"a/", "a", nullptr},
        {".", ".", nullptr},
        {"../x", "x", ".."},
        {"/a/..", "..", "/a"},
    };
    for (const auto& row : rows) {
        const File_t file(row.path);
        EXPECT_EQ(file.GetName(), row.name) << row.path;
        EXPECT_EQ(file.GetParent(), row.parent) << row.path;
        EXPECT_EQ(file.GetParent().IsNull(), row.parent == nullptr) << row.path;
        EXPECT_EQ(file.GetParentFile().IsNull(), row.parent == nullptr) << row.path;
        EXPECT_EQ(file.ToString(), row.path);
    }
}

struct JoinRow {
    const char* directory;
    const char* name;
    const char* path;
};

TEST(File, ADirectoryAndANameAreJoinedByOneSeparator) {
    const JoinRow rows[] = {
        {"/a", "b", "/a/b"}, {"/a/", "b", "/a/b"}, {"/a", "/b", "/a/b"}, {"/a/", "/b", "/a/b"}, {"/", "b", "/b"},
        {"", "b", "b"},      {nullptr, "b", "b"},  {"/a", "", "/a"},     {"/a", nullptr, "/a"}, {"a", "b/c", "a/b/c"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(File_t(String_t(row.directory), String_t(row.name)).ToString(), row.path);
        EXPECT_EQ(File_t(File_t(row.directory), String_t(row.name)).ToString(), row.path);
    }
    EXPECT_TRUE(File_t(String_t::Null(), String_t::Null()).IsNull());
}

TEST(File, TheSeparatorIsASlash) {
    EXPECT_EQ(File_t::Separator(), "/");
}

TEST(File, AnAbsolutePathStaysAndARelativeOneIsBelowTheCurrentDirectory) {
    EXPECT_EQ(File_t("/a/../b").GetAbsolutePath(), "/a/../b");
    const auto current = String_t::FromUtf8(std::filesystem::current_path().string());
    EXPECT_EQ(File_t("a/b").GetAbsolutePath(), current + "/a/b");
}

TEST(File, TellsFilesDirectoriesAndLinksApart) {
    const TempRoot root;
    Fill(root.Path("file"), "12345");
    std::filesystem::create_symlink("file", root.Native() + "/link");
    std::filesystem::create_symlink("nowhere", root.Native() + "/dangling");
    const File_t file(root.Path("file"));
    const File_t link(root.Path("link"));
    const File_t dangling(root.Path("dangling"));
    EXPECT_TRUE(file.Exists() && !file.IsDirectory() && !file.IsSymbolicLink());
    EXPECT_TRUE(link.Exists() && !link.IsDirectory() && link.IsSymbolicLink());
    EXPECT_TRUE(!dangling.Exists() && dangling.IsSymbolicLink());
    EXPECT_TRUE(File_t(root.Path()).IsDirectory());
    EXPECT_FALSE(File_t(root.Path("missing")).Exists());
    EXPECT_EQ(file.GetSize(), 5u);
    EXPECT_EQ(File_t(root.Path("missing")).GetSize(), 0u);
}

TEST(File, DeleteRemovesFilesLinksAndEmptyDirectories) {
    const TempRoot root;
    Fill(root.Path("file"), "x");
    std::filesystem::create_symlink("file", root.Native() + "/link");
    ASSERT_TRUE(File_t(root.Path("empty")).Mkdirs());
    EXPECT_TRUE(File_t(root.Path("link")).Delete());
    EXPECT_TRUE(File_t(root.Path("file")).Exists());
    EXPECT_TRUE(File_t(root.Path("file")).Delete());
    EXPECT_TRUE(File_t(root.Path("empty")).Delete());
    EXPECT_TRUE(std::filesystem::is_empty(root.Native()));
}

TEST(File, DeleteSaysFalseWhereNothingWasRemoved) {
    const TempRoot root;
    ASSERT_TRUE(File_t(root.Path("full/inside")).Mkdirs());
    EXPECT_FALSE(File_t(root.Path("missing")).Delete());
    EXPECT_FALSE(File_t(root.Path("full")).Delete());
    EXPECT_FALSE(File_t(root.Path("missing/below")).Delete());
    EXPECT_TRUE(File_t(root.Path("full/inside")).Exists());
}

TEST(File, MkdirsMakesAllParentsAndIsContentWithWhatStands) {
    const TempRoot root;
    EXPECT_TRUE(File_t(root.Path("a/b/c")).Mkdirs());
    EXPECT_TRUE(File_t(root.Path("a/b/c")).IsDirectory());
    EXPECT_TRUE(File_t(root.Path("a/b/c")).Mkdirs());
    EXPECT_TRUE(File_t(root.Path("d/e/")).Mkdirs());
    EXPECT_TRUE(File_t(root.Path("d/e")).IsDirectory());
}

TEST(File, MkdirsSaysFalseWhereAFileStandsInTheWay) {
    const TempRoot root;
    Fill(root.Path("file"), "x");
    EXPECT_FALSE(File_t(root.Path("file")).Mkdirs());
    EXPECT_FALSE(File_t(root.Path("file/below")).Mkdirs());
    EXPECT_TRUE(File_t(root.Path("file")).Exists());
}

TEST(File, WhatIsMadeIsClosedToOthers) {
    const TempRoot root;
    const mode_t before = umask(0);
    EXPECT_TRUE(File_t(root.Path("a/b")).Mkdirs());
    Fill(root.Path("file"), "x");
    umask(before);
    EXPECT_EQ(ModeOf(root.Path("a")), 0750u);
    EXPECT_EQ(ModeOf(root.Path("a/b")), 0750u);
    EXPECT_EQ(ModeOf(root.Path("file")), 0640u);
}

TEST(File, RenameToReplacesAFileThatStandsThere) {
    const TempRoot root;
    Fill(root.Path("from"), "12345");
    Fill(root.Path("to"), "x");
    EXPECT_TRUE(File_t(root.Path("from")).RenameTo(File_t(root.Path("to"))));
    EXPECT_FALSE(File_t(root.Path("from")).Exists());
    EXPECT_EQ(File_t(root.Path("to")).GetSize(), 5u);
}

TEST(File, RenameToSaysFalseWhereNothingWasRenamed) {
    const TempRoot root;
    Fill(root.Path("from"), "12345");
    ASSERT_TRUE(File_t(root.Path("full/inside")).Mkdirs());
    EXPECT_FALSE(File_t(root.Path("missing")).RenameTo(File_t(root.Path("to"))));
    EXPECT_FALSE(File_t(root.Path("from")).RenameTo(File_t(root.Path("no/such/directory"))));
    EXPECT_FALSE(File_t(root.Path("from")).RenameTo(File_t(root.Path("full"))));
    EXPECT_TRUE(File_t(root.Path("from")).Exists());
}

TEST(File, SetModeSetsThePermissionBits) {
    const TempRoot root;
    Fill(root.Path("file"), "x");
    EXPECT_TRUE(File_t(root.Path("file")).SetMode(0440));
    EXPECT_EQ(ModeOf(root.Path("file")), 0440u);
    EXPECT_FALSE(File_t(root.Path("missing")).SetMode(0440));
}

TEST(File, SyncWorksOnFilesAndDirectories) {
    const TempRoot root;
    Fill(root.Path("file"), "x");
    EXPECT_TRUE(File_t(root.Path("file")).Sync());
    EXPECT_TRUE(File_t(root.Path()).Sync());
    EXPECT_FALSE(File_t(root.Path("missing")).Sync());
}

TEST(File, APathWithAZeroUnitIsNoPath) {
    const TempRoot root;
    Fill(root.Path("file"), "x");
    const File_t file(WithNul(root.Path("file")));
    EXPECT_FALSE(file.Exists());
    EXPECT_FALSE(file.Delete());
    EXPECT_FALSE(file.SetMode(0));
    EXPECT_FALSE(file.RenameTo(File_t(root.Path("other"))));
    EXPECT_FALSE(File_t(root.Path("file")).RenameTo(File_t(WithNul(root.Path("other")))));
    EXPECT_FALSE(File_t(WithNul(root.Path("made"))).Mkdirs());
    EXPECT_THROW(FileOutputStream_t{file}, LumPalIo::IOException_t);
    EXPECT_THROW(LumPalIo::FileInputStream_t{file}, LumPalIo::IOException_t);
    EXPECT_THROW(LumPalIo::DirLister_t{file}, LumPalIo::IOException_t);
    EXPECT_THROW(File_t::CreateTempFile(String_t(u"a\0b", 3), File_t(root.Path())), LumPalIo::IOException_t);
    EXPECT_TRUE(File_t(root.Path("file")).Exists());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root.Native()), {}), 1);
}

TEST(File, NamesBeyondAsciiAreUtf8OnTheDiskInEveryLocale) {
    const TempRoot root;
    Fill(root.Path(u"\u00E9\U0001F600"), "x");
    EXPECT_TRUE(std::filesystem::exists(root.Native() + "/\xC3\xA9\xF0\x9F\x98\x80"));
}

TEST(File, NamesThatNoBytesStandForAreRefused) {
    const TempRoot root;
    // Escaped bytes that would together spell a name that has a text of its own.
    const char16_t disguised[] = {0xDCC3, 0xDCA9, 0};
    for (const String_t& name : {String_t(u"\xD800"), String_t(u"a\xDC00z"), String_t(disguised)}) {
        EXPECT_THROW(FileOutputStream_t{root.Path(name)}, LumPalIo::IOException_t) << name;
    }
    EXPECT_TRUE(std::filesystem::is_empty(root.Native()));
}

TEST(File, CreateTempFileMakesNewEmptyFilesForTheOwnerAlone) {
    const TempRoot root;
    std::set<std::string> names;
    for (int i = 0; i < 20; ++i) {
        const File_t file = File_t::CreateTempFile("POL", File_t(root.Path()));
        EXPECT_TRUE(file.GetName().View().starts_with(u"POL"));
        EXPECT_EQ(file.GetParent(), root.Path());
        EXPECT_EQ(file.GetSize(), 0u);
        EXPECT_EQ(ModeOf(file.ToString()), 0600u);
        names.insert(file.GetName().ToUtf8());
    }
    EXPECT_EQ(names.size(), 20u);
}

TEST(File, CreateTempFileTakesNamesBeyondAsciiAndEmptyOnes) {
    const TempRoot root;
    EXPECT_TRUE(File_t::CreateTempFile(u"\u00E9", File_t(root.Path())).Exists());
    EXPECT_TRUE(File_t::CreateTempFile("", File_t(root.Path())).Exists());
}

TEST(File, CreateTempFileRefusesWhatIsNoDirectory) {
    const TempRoot root;
    EXPECT_THROW(File_t::CreateTempFile("POL", File_t(root.Path("missing"))), LumPalIo::FileNotFoundException_t);
    EXPECT_THROW(File_t::CreateTempFile("POL", File_t()), LumPalIo::FileNotFoundException_t);
    EXPECT_THROW(File_t::CreateTempFile("../POL", File_t(root.Path())), LumPalMsg::IllegalArgumentError_t);
    EXPECT_THROW(File_t::CreateTempFile("/tmp/POL", File_t(root.Path())), LumPalMsg::IllegalArgumentError_t);
    EXPECT_TRUE(std::filesystem::is_empty(root.Native()));
}
