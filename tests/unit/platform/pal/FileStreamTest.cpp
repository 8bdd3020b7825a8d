#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "LumPalIo.h"
#include "LumPalPlainFile.h"
#include "TempRoot.h"
#include "TestStreams.h"

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalIo::FileInputStream_t;
using LumPalIo::FileNotFoundException_t;
using LumPalIo::FileOutputStream_t;
using LumPalIo::InputStream_t;
using LumPalIo::IOException_t;
using LumPalIo::OutputStream_t;
using LumPalStr::String_t;

namespace {

std::string Content(const String_t& path) {
    std::ifstream file(path.ToUtf8(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Fill(const String_t& path, const std::string& text) {
    std::ofstream(path.ToUtf8(), std::ios::binary) << text;
}

/// What opening said, or "".
template <class Stream>
std::string Refusal(const String_t& path) {
    try {
        Stream stream(path);
        return "";
    } catch (const FileNotFoundException_t& e) {
        return std::string("not found: ") + e.what();
    } catch (const IOException_t& e) {
        return e.what();
    }
}

int OpenDescriptors() {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

}  // namespace

TEST(FileStream, WhatIsWrittenIsRead) {
    const TempRoot root;
    FileOutputStream_t out(root.Path("file"));
    out.Write(CharArray_t("abc"));
    out.Write(CharArray_t("0123456789"), 3, 4);
    out.Write('\0');
    out.Write("\xFF\r\n", 3);
    out.Close();
    EXPECT_EQ(Content(root.Path("file")), std::string("abc3456\0\xFF\r\n", 11));
    EXPECT_EQ(ReadAll(FileInputStream_t(File_t(root.Path("file")))), Content(root.Path("file")));
}

TEST(FileStream, WritingEmptiesAFileThatStands) {
    const TempRoot root;
    Fill(root.Path("file"), "long content");
    FileOutputStream_t out{File_t(root.Path("file"))};
    out.Write('x');
    out.Close();
    EXPECT_EQ(Content(root.Path("file")), "x");
}

TEST(FileStream, ReadFillsTheArrayAndSaysHowMuchAtTheEnd) {
    const TempRoot root;
    Fill(root.Path("file"), "12345");
    FileInputStream_t in(root.Path("file"));
    CharArray_t array(3, '-');
    EXPECT_EQ(in.Read(array), 3);
    EXPECT_EQ(array.View(), "123");
    EXPECT_EQ(in.Read(array), 2);
    EXPECT_EQ(array.View(), "453");
    EXPECT_EQ(in.Read(array), -1);
    EXPECT_EQ(in.Read(array), -1);
}

TEST(FileStream, ReadTakesAPlaceInTheArray) {
    const TempRoot root;
    Fill(root.Path("file"), "12345");
    FileInputStream_t in(root.Path("file"));
    CharArray_t array(6, '-');
    EXPECT_EQ(in.Read(array, 2, 3), 3);
    EXPECT_EQ(array.View(), "--123-");
    EXPECT_EQ(in.Read(array, 6, 0), 0);
    EXPECT_EQ(in.Read(array, 0, 6), 2);
    EXPECT_EQ(in.Read(array, 0, 6), -1);
}

TEST(FileStream, RangesThatLeaveTheArrayAreRefused) {
    const TempRoot root;
    Fill(root.Path("file"), "12345");
    FileInputStream_t in(root.Path("file"));
    FileOutputStream_t out(root.Path("out"));
    CharArray_t array(4);
    const std::size_t rows[][2] = {{0, 5}, {4, 1}, {5, 0}, {1, SIZE_MAX}, {SIZE_MAX, 1}, {SIZE_MAX, SIZE_MAX}};
    for (const auto& row : rows) {
        EXPECT_THROW(in.Read(array, row[0], row[1]), LumPalMsg::IllegalArgumentError_t);
        EXPECT_THROW(out.Write(array, row[0], row[1]), LumPalMsg::IllegalArgumentError_t);
    }
    EXPECT_EQ(in.Available(), 5u);
}

TEST(FileStream, AnEmptyFileIsAtItsEnd) {
    const TempRoot root;
    Fill(root.Path("file"), "");
    FileInputStream_t in(root.Path("file"));
    CharArray_t array(3);
    CharArray_t none;
    EXPECT_EQ(in.Available(), 0u);
    EXPECT_EQ(in.Read(none), 0);
    EXPECT_EQ(in.Read(array), -1);
}

TEST(FileStream, AvailableIsTheRestOfTheFile) {
    const TempRoot root;
    Fill(root.Path("file"), "12345");
    FileInputStream_t in(root.Path("file"));
    CharArray_t array(2);
    EXPECT_EQ(in.Available(), 5u);
    in.Read(array);
    EXPECT_EQ(in.Available(), 3u);
    Fill(root.Path("file"), "1");
    EXPECT_EQ(in.Available(), 0u);
}

TEST(FileStream, AMissingFileOrDirectoryIsNotFoundAndNamed) {
    const TempRoot root;
    Fill(root.Path("file"), "x");
    const String_t missing = root.Path("missing");
    EXPECT_EQ(Refusal<FileInputStream_t>(missing),
              "not found: Cannot open file '" + missing.ToUtf8() + "': No such file or directory");
    EXPECT_TRUE(Refusal<FileInputStream_t>(root.Path("file/below")).starts_with("not found: "));
    EXPECT_TRUE(Refusal<FileOutputStream_t>(root.Path("missing/below")).starts_with("not found: "));
    EXPECT_TRUE(Refusal<FileOutputStream_t>(root.Path("file/below")).starts_with("not found: "));
    EXPECT_TRUE(Refusal<FileInputStream_t>(String_t()).starts_with("not found: "));
    EXPECT_TRUE(Refusal<FileOutputStream_t>(String_t::Null()).starts_with("not found: "));
}

TEST(FileStream, ADirectoryIsRefusedInBothDirections) {
    const TempRoot root;
    const std::string text = "Cannot open file '" + root.Native() + "': Is a directory";
    EXPECT_EQ(Refusal<FileInputStream_t>(root.Path()), text);
    EXPECT_EQ(Refusal<FileOutputStream_t>(root.Path()), text);
}

TEST(FileStream, ANamedPipeIsRefusedAtOnceInBothDirections) {
    const TempRoot root;
    ASSERT_EQ(mkfifo(root.Path("pipe").ToUtf8().c_str(), 0600), 0);
    EXPECT_NE(Refusal<FileInputStream_t>(root.Path("pipe")), "");
    EXPECT_NE(Refusal<FileOutputStream_t>(root.Path("pipe")), "");
}

TEST(FileStream, ASocketIsRefusedInBothDirections) {
    const TempRoot root;
    const int server = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, root.Path("socket").ToUtf8().c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_NE(Refusal<FileInputStream_t>(root.Path("socket")), "");
    EXPECT_NE(Refusal<FileOutputStream_t>(root.Path("socket")), "");
    close(server);
}

TEST(FileStream, ACharacterDeviceCanBeReadAndWritten) {
    EXPECT_EQ(ReadAll(FileInputStream_t("/dev/null")), "");
    FileOutputStream_t out("/dev/null");
    out.Write("gone", 4);
    out.Close();
}

TEST(FileStream, AWriteThatFailsIsReportedWithThePath) {
    FileOutputStream_t out("/dev/full");
    try {
        out.Write("x", 1);
        FAIL();
    } catch (const IOException_t& e) {
        EXPECT_STREQ(e.what(), "Cannot write file '/dev/full': No space left on device");
    }
}

TEST(FileStream, NullStreamsRefuseEverythingButClose) {
    InputStream_t in;
    OutputStream_t out;
    CharArray_t array(1);
    EXPECT_TRUE(in.IsNull() && !in.IsNotNull());
    EXPECT_TRUE(out.IsNull() && !out.IsNotNull());
    EXPECT_THROW(in.Read(array), IOException_t);
    EXPECT_THROW(in.Read(array, 0, 1), IOException_t);
    EXPECT_THROW(in.Available(), IOException_t);
    EXPECT_THROW(out.Write('x'), IOException_t);
    EXPECT_THROW(out.Write(array), IOException_t);
    EXPECT_THROW(out.Flush(), IOException_t);
    EXPECT_THROW(FileOutputStream_t().Sync(), IOException_t);
    in.Close();
    out.Close();
}

TEST(FileStream, ClosedStreamsRefuseEverythingButClose) {
    const TempRoot root;
    Fill(root.Path("file"), "12345");
    FileInputStream_t in(root.Path("file"));
    FileOutputStream_t out(root.Path("out"));
    CharArray_t array(1);
    in.Close();
    in.Close();
    out.Close();
    out.Close();
    EXPECT_THROW(in.Read(array), IOException_t);
    EXPECT_THROW(in.Available(), IOException_t);
    EXPECT_THROW(out.Write('x'), IOException_t);
    EXPECT_THROW(out.Write(CharArray_t()), IOException_t);
    EXPECT_THROW(out.Sync(), IOException_t);
}

TEST(FileStream, CopiesReadFromTheSamePlaceAndCanBeRebound) {
    const TempRoot root;
    Fill(root.Path("a"), "12");
    Fill(root.Path("b"), "xy");
    InputStream_t first = FileInputStream_t(root.Path("a"));
    InputStream_t second;
    second = first;
    CharArray_t array(1);
    first.Read(array);
    second.Read(array);
    EXPECT_EQ(array.View(), "2");
    second = FileInputStream_t(root.Path("b"));
    second.Read(array);
    EXPECT_EQ(array.View(), "x");
    EXPECT_EQ(first.Read(array), -1);
}

TEST(FileStream, TheLastHandleClosesTheFile) {
    const TempRoot root;
    Fill(root.Path("file"), "12345");
    const int before = OpenDescriptors();
    {
        InputStream_t copy;
        OutputStream_t outCopy;
        {
            const FileInputStream_t in(root.Path("file"));
            const FileOutputStream_t out(root.Path("out"));
            copy = in;
            outCopy = out;
        }
        EXPECT_EQ(OpenDescriptors(), before + 2);
    }
    EXPECT_EQ(OpenDescriptors(), before);
    Refusal<FileInputStream_t>(root.Path());
    Refusal<FileInputStream_t>(root.Path("missing"));
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(FileStream, FilesAreNotHandedDownToPrograms) {
    const TempRoot root;
    const FileOutputStream_t out(root.Path("out"));
    const std::string command = "ls -l /proc/self/fd | grep -q " + root.Native();
    EXPECT_NE(std::system(command.c_str()), 0);
}

TEST(FileStream, SyncForcesTheBytesOut) {
    const TempRoot root;
    FileOutputStream_t out(root.Path("file"));
    out.Write("abc", 3);
    out.Sync();
    EXPECT_EQ(Content(root.Path("file")), "abc");
    out.Close();
}

TEST(FileStream, LargeArraysGoThroughWhole) {
    const TempRoot root;
    CharArray_t large(3 * 1024 * 1024 + 17);
    for (std::size_t i = 0; i < large.GetLength(); ++i) large[i] = static_cast<char>(i * 7 + i / 256);
    FileOutputStream_t out(root.Path("file"));
    out.Write(large);
    out.Close();
    FileInputStream_t in(root.Path("file"));
    CharArray_t read(large.GetLength() + 1);
    EXPECT_EQ(in.Read(read), static_cast<std::int64_t>(large.GetLength()));
    read.Resize(large.GetLength());
    EXPECT_TRUE(read == large);
}

TEST(FileStream, WhereAPlainFileIsWantedNothingElseIsOpened) {
    const TempRoot root;
    const std::string file = root.Native() + "/file", link = root.Native() + "/link", pipe = root.Native() + "/pipe";
    Fill(root.Path("file"), "abc");
    std::filesystem::create_symlink(file, link);
    for (const std::string& path : {file, link}) {
        CharArray_t read(10);
        EXPECT_EQ(LumPalIo::OpenPlainFile(String_t::FromUtf8(path)).Read(read), 3) << path;
    }
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, root.Native(), std::string("/dev/zero"), std::string("/dev/tty")})
        EXPECT_THROW(LumPalIo::OpenPlainFile(String_t::FromUtf8(path)), IOException_t) << path;
    for (const char* path : {"/no/such/file", ""}) EXPECT_THROW(LumPalIo::OpenPlainFile(path), IOException_t) << path;
}
