#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "LumPalFault.h"
#include "LumPalIo.h"
#include "TempRoot.h"

using LumPalIo::File_t;
using LumPalIo::FileOutputStream_t;
using LumPalIo::IOException_t;
using LumPalIo::SetFaultHookForTest;

namespace {

/// What the hook was asked, and the operation that it lets fail.
std::vector<std::string> asked;
std::string failing;

bool Hook(const char* operation, const char* path) {
    asked.push_back(std::string(operation) + " " + std::filesystem::path(path).filename().string());
    return failing == operation;
}

class FaultScope {
public:
    explicit FaultScope(const char* operation) {
        asked.clear();
        failing = operation;
        SetFaultHookForTest(Hook);
    }
    ~FaultScope() { SetFaultHookForTest(nullptr); }
};

void UseEverything(const File_t& root) {
    File_t(root, "dir").Mkdirs();
    const File_t file(root, "file");
    FileOutputStream_t out(file);
    out.Write("abc", 3);
    out.Sync();
    out.Close();
    root.Sync();
    file.SetMode(0400);
    file.RenameTo(File_t(root, "other"));
    File_t(root, "other").Delete();
    File_t(root, "dir").Delete();
    File_t::CreateTempFile("tmp", root);
}

}  // namespace

TEST(Fault, EveryOperationThatChangesTheDiskAsksFirst) {
    const TempRoot root;
    const FaultScope scope("");
    UseEverything(File_t(root.Path()));
    asked.pop_back();  // the temporary file's name is made later
    const std::string folder = std::filesystem::path(root.Native()).filename().string();
    const std::vector<std::string> expected{"mkdir dir",   "fsync " + folder, "open file",       "write file",
                                            "fsync file",  "close file",      "fsync " + folder, "chmod file",
                                            "rename file", "unlink other",    "unlink dir",      "rmdir dir"};
    EXPECT_EQ(asked, expected);
}

TEST(Fault, AFailureIsAnInputOutputErrorAndChangesNothing) {
    const TempRoot root;
    const File_t directory(root.Path());
    FileOutputStream_t open{File_t(directory, "open")};
    {
        const FaultScope scope("open");
        EXPECT_THROW(FileOutputStream_t{File_t(directory, "new")}, IOException_t);
        EXPECT_THROW(File_t::CreateTempFile("tmp", directory), IOException_t);
    }
    {
        const FaultScope scope("write");
        EXPECT_THROW(open.Write("x", 1), IOException_t);
    }
    {
        const FaultScope scope("fsync");
        EXPECT_THROW(open.Sync(), IOException_t);
        EXPECT_FALSE(directory.Sync());
    }
    {
        const FaultScope scope("rename");
        EXPECT_FALSE(File_t(directory, "open").RenameTo(File_t(directory, "renamed")));
    }
    {
        const FaultScope scope("unlink");
        EXPECT_FALSE(File_t(directory, "open").Delete());
    }
    {
        const FaultScope scope("mkdir");
        EXPECT_FALSE(File_t(directory, "made").Mkdirs());
    }
    {
        const FaultScope scope("chmod");
        EXPECT_FALSE(File_t(directory, "open").SetMode(0));
    }
    EXPECT_EQ(File_t(directory, "open").GetSize(), 0u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root.Native()), {}), 1);
}

TEST(Fault, AFailureOfClosingIsThrownOnceAndTheFileIsClosed) {
    const TempRoot root;
    FileOutputStream_t out(root.Path("file"));
    const FaultScope scope("close");
    EXPECT_THROW(out.Close(), IOException_t);
    EXPECT_NO_THROW(out.Close());
    EXPECT_THROW(out.Write("x", 1), IOException_t);
}

TEST(Fault, AFailureOfClosingByTheLastHandleIsSaidInTheApplicationLog) {
    const TempRoot root;
    const CapturedLog log(root.Native());
    const FaultScope scope("close");
    { FileOutputStream_t out(root.Path("file")); }
    EXPECT_TRUE(log.Holds("A stream went without being closed, and the end of what was written (a file) is lost."));
    EXPECT_TRUE(log.Holds("Cannot close file '" + root.Native() + "/file': Input/output error"));
}

TEST(Fault, AFailureOfRemovingADirectoryLeavesIt) {
    const TempRoot root;
    ASSERT_TRUE(File_t(root.Path("dir")).Mkdirs());
    const FaultScope scope("rmdir");
    EXPECT_FALSE(File_t(root.Path("dir")).Delete());
    EXPECT_TRUE(File_t(root.Path("dir")).IsDirectory());
}

TEST(Fault, TheErrorNamesThePathAndTheReason) {
    const TempRoot root;
    const FaultScope scope("open");
    try {
        FileOutputStream_t out(root.Path("file"));
        FAIL();
    } catch (const IOException_t& e) {
        EXPECT_EQ(e.what(), "Cannot open file '" + root.Native() + "/file': Input/output error");
    }
}

TEST(Fault, WithoutAHookNothingFails) {
    const TempRoot root;
    SetFaultHookForTest(nullptr);
    UseEverything(File_t(root.Path()));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root.Native()), {}), 1);
}
