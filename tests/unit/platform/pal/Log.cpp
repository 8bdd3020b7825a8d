#include "LumPalLog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "AppendFile_posix.h"
#include "Captured.h"
#include "LogImpl.h"
#include "LumPalFault.h"
#include "LumPalIo.h"
#include "TempRoot.h"

namespace {

using namespace LumPalLog;
using LumPalMsg::CreateError_t;
using LumPalMsg::CreateInfo_t;
using LumPalMsg::CreateMessage_t;
using LumPalMsg::CreateWarn_t;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;

const std::string kTime = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d)";

std::string ReadAll(const std::string& path) {
    std::ifstream in(path);
    return (std::ostringstream() << in.rdbuf()).str();
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

bool Matches(const std::string& line, const std::string& rest) {
    return std::regex_match(line, std::regex(kTime + " " + rest));
}

unsigned ModeOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

class Log : public testing::Test {
protected:
    Log() { umask(022); }
    std::string PathOf(const std::string& name) const { return root.Native() + "/" + name; }
    Log_t Open(const char* name, unsigned options) { return Log_t(root.Path(), name, "lumtest", options); }

    TempRoot root;
};

TEST(LogText, EscapesWhatCouldForgeALineOrMisleadATerminal) {
    const struct {
        String_t text;
        const char* expected;
    } rows[] = {
        {"plain text, 100% \\ \"quoted\"", "plain text, 100% \\ \"quoted\""},
        {"a\nb", "a\\x0ab"},
        {"node\\u200b7", "node\\x5cu200b7"},
        {"node\\x5cu200b7", "node\\x5cx5cu200b7"},
        {"\\U0001d173\\x0A", "\\x5cU0001d173\\x5cx0A"},
        {"C:\\users\\x\\U001\\", "C:\\users\\x\\U001\\"},
        {"a\r\nb\tc", "a\\x0d\\x0ab\\x09c"},
        {"\x1B[2J", "\\x1b[2J"},
        {"\x7F", "\\x7f"},
        {String_t(u"\0", 1), "\\x00"},
        {String_t(u"\u0080\u0085\u009F"), "\\x80\\x85\\x9f"},
        {String_t(u"\u2028\u2029"), "\\u2028\\u2029"},
        {String_t(u"\u202Egnp.exe\u2066"), "\\u202egnp.exe\\u2066"},
        {String_t(u"Größe \U0001F600"),
         "Gr\xC3\xB6\xC3\x9F"
         "e \xF0\x9F\x98\x80"},
        {String_t(u"\xA0"), "\\u00a0"},
        {String_t::Null(), ""},
    };
    for (const auto& row : rows) EXPECT_EQ(OneLine(row.text), row.expected);
}

// A name with such a character would look like another name.
TEST(LogText, EscapesWhatNobodySees) {
    for (const char32_t hidden :
         {0xA0u,   0xADu,   0x34Fu,  0x115Fu, 0x1160u, 0x1680u, 0x17B4u, 0x180Bu,  0x180Eu,  0x2000u,
          0x2003u, 0x200Bu, 0x200Cu, 0x200Du, 0x2011u, 0x202Fu, 0x205Fu, 0x2060u,  0x2064u,  0x2800u,
          0x3000u, 0x3164u, 0xFE0Fu, 0xFEFFu, 0xFFA0u, 0xFFF9u, 0xFFFBu, 0x1D173u, 0xE0001u, 0xE0041u}) {
        const std::u32string name = std::u32string(U"node") + hidden + U"7";
        std::u16string units;
        for (const char32_t c : name) {
            if (c <= 0xFFFF) {
                units += static_cast<char16_t>(c);
            } else {
                units += static_cast<char16_t>(0xD7C0 + (c >> 10));
                units += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
            }
        }
        char expected[32];
        std::snprintf(expected, sizeof expected, hidden > 0xFFFF ? "node\\U%08x7" : "node\\u%04x7",
                      static_cast<unsigned>(hidden));
        const bool isSeen = hidden == 0x2011;  // a hyphen, though one that does not break
        EXPECT_EQ(OneLine(String_t(units.c_str())) == expected, !isSeen) << std::hex << static_cast<unsigned>(hidden);
    }
}

TEST(LogText, LeavesWhatIsSeenAsItIs) {
    for (const char* text : {"\xC2\xA1\xC2\xBF", "\xD0\x96 \xE6\xBC\xA2\xE5\xAD\x97", "\xE2\x80\x90\xE2\x80\xA6",
                             "\xE2\x9C\x93", "\xF0\x9F\x90\xA7", "e\xCC\x81", "\xEF\xBF\xBC\xEF\xBF\xBD"}) {
        EXPECT_EQ(OneLine(String_t::FromUtf8(text)), text);
    }
}

TEST_F(Log, NoFileIsPutAsideBetweenMessagesThatAreWrittenTogether) {
    std::ofstream(PathOf("own.log")) << std::string((10u << 20) - 60, 'x') << '\n';
    Log_t log = Open("own.log", Rotate);
    MessageList_t list(CreateInfo_t("first"));
    list.Add(CreateInfo_t("second"));
    log.Write(list, 0);
    const auto lines = Lines(ReadAll(PathOf("own.log")));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(Matches(lines[0], "INFO first")) << lines[0];
    EXPECT_TRUE(Matches(lines[1], "INFO second")) << lines[1];
}

TEST_F(Log, WritesTimeSeverityAndTextOnOneLineEach) {
    Log_t log = Open("own.log", None);
    ASSERT_TRUE(log.IsDefined());
    MessageList_t list(CreateInfo_t("first %1") << 1);
    list.Add(CreateWarn_t("second"));
    list.Add(CreateError_t("third"));
    list.Add(CreateMessage_t("fourth"));
    log.Write(list, 0);
    const auto lines = Lines(ReadAll(PathOf("own.log")));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_TRUE(Matches(lines[0], "INFO first 1")) << lines[0];
    EXPECT_TRUE(Matches(lines[1], "WARNING second")) << lines[1];
    EXPECT_TRUE(Matches(lines[2], "ERROR third")) << lines[2];
    EXPECT_TRUE(Matches(lines[3], "- fourth")) << lines[3];
}

TEST_F(Log, LetsNoNameForgeALine) {
    Log_t log = Open("own.log", 20);
    const String_t forged("x\n2024-01-01T00:00:00.000+00:00 INFO forged");
    log.Write(CreateInfo_t("name '%1'") << forged, 0);
    EXPECT_EQ(Lines(ReadAll(PathOf("own.log"))).size(), 1u);
}

CreateError_t WithDetails() {
    CreateWarn_t inner("inner\nforged");
    inner.AddDetails(CreateInfo_t("innermost"));
    CreateError_t outer("outer");
    outer.AddDetails(inner).AddDetails(CreateInfo_t("last"));
    return outer;
}

TEST_F(Log, KeepsDetailsOnTheSameLine) {
    Log_t log = Open("own.log", 20);
    log.Write(WithDetails(), 0);
    const auto lines = Lines(ReadAll(PathOf("own.log")));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(Matches(lines[0], R"(ERROR outer \| inner\\x0aforged \| innermost \| last)")) << lines[0];
}

TEST_F(Log, GivesEachDetailALineWithTheOptionOfTheApplicationLog) {
    Log_t log = Open("own.log", 20);
    log.Write(WithDetails(), 128);
    const auto lines = Lines(ReadAll(PathOf("own.log")));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_TRUE(Matches(lines[0], "ERROR outer")) << lines[0];
    EXPECT_EQ(lines[1], "  inner\\x0aforged");
    EXPECT_EQ(lines[2], "    innermost");
    EXPECT_EQ(lines[3], "  last");
}

TEST_F(Log, AppendsToWhatIsThere) {
    std::ofstream(PathOf("own.log")) << "earlier\n";
    Open("own.log", None).Write(CreateInfo_t("later"), 0);
    Open("own.log", None).Write(CreateInfo_t("latest"), 0);
    EXPECT_EQ(Lines(ReadAll(PathOf("own.log"))).size(), 3u);
}

TEST_F(Log, OptionSixteenKeepsOthersFromReading) {
    const struct {
        unsigned options;
        unsigned mode;
    } rows[] = {{0, 0644}, {4, 0644}, {16, 0640}, {20, 0640}};
    for (const auto& row : rows) {
        const std::string name = "log" + std::to_string(row.options);
        ASSERT_TRUE(Open(name.c_str(), row.options).IsDefined());
        EXPECT_EQ(ModeOf(PathOf(name)), row.mode) << row.options;
    }
}

TEST_F(Log, MakesItsDirectory) {
    Log_t log(root.Path("var/log"), "own.log", "lumtest", 20);
    log.Write(CreateInfo_t("text"), 0);
    EXPECT_EQ(Lines(ReadAll(PathOf("var/log/own.log"))).size(), 1u);
}

TEST_F(Log, IsUndefinedByDefaultAndThenWritesNothing) {
    Log_t log;
    EXPECT_FALSE(log.IsDefined());
    log.Write(CreateError_t("nowhere"), 0);
}

TEST_F(Log, ThatCannotBeOpenedIsUndefinedAndThatIsSaid) {
    std::ofstream(PathOf("file")) << "x";
    std::filesystem::create_directory(PathOf("folder"));
    std::filesystem::create_symlink(PathOf("file"), PathOf("link"));
    ASSERT_EQ(mkfifo(PathOf("fifo").c_str(), 0600), 0);
    const struct {
        const char* says;
        String_t directory;
        const char* name;
    } rows[] = {
        {"a file in the directory's place", root.Path("file"), "own.log"},
        {"a folder in the file's place", root.Path(), "folder"},
        {"a symbolic link", root.Path(), "link"},
        {"a pipe", root.Path(), "fifo"},
        {"an empty name", root.Path(), ""},
    };
    for (const auto& row : rows) {
        const CapturedError captured(root.Native());
        EXPECT_FALSE(Log_t(row.directory, row.name, "lumtest", 20).IsDefined()) << row.says;
        EXPECT_NE(captured.Text().find("ERROR The log of 'lumtest' could not be opened."), std::string::npos)
            << row.says;
        EXPECT_GT(Lines(captured.Text()).size(), 1u) << "no reason below: " << row.says;
    }
    EXPECT_EQ(ReadAll(PathOf("file")), "x");
}

TEST_F(Log, CopiesWriteToTheSameFile) {
    Log_t log = Open("own.log", 20);
    Log_t copy = log;
    copy.Write(CreateInfo_t("a"), 0);
    log.Write(CreateInfo_t("b"), 0);
    EXPECT_EQ(Lines(ReadAll(PathOf("own.log"))).size(), 2u);
}

TEST_F(Log, MakesAFileAgainThatSomebodyTookAway) {
    Log_t log = Open("own.log", 20);
    log.Write(CreateInfo_t("before"), 0);
    std::filesystem::rename(PathOf("own.log"), PathOf("moved"));
    log.Write(CreateInfo_t("after"), 0);
    EXPECT_EQ(Lines(ReadAll(PathOf("moved"))).size(), 1u);
    EXPECT_EQ(Lines(ReadAll(PathOf("own.log"))).size(), 1u);
}

TEST_F(Log, KeepsLinesWholeWhenThreadsWriteAtTheSameTime) {
    Log_t log = Open("own.log", 20);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([log]() mutable {
            for (int n = 0; n < 100; ++n) log.Write(CreateInfo_t("one whole line"), 0);
        });
    }
    for (std::thread& thread : threads) thread.join();
    const auto lines = Lines(ReadAll(PathOf("own.log")));
    ASSERT_EQ(lines.size(), 400u);
    for (const std::string& line : lines) EXPECT_TRUE(Matches(line, "INFO one whole line")) << line;
}

bool failWrites = false;
bool FailWrites(const char* operation, const char*) {
    return failWrites && std::string(operation) == "write";
}

TEST_F(Log, SaysALostLineInTheApplicationLogAndGoesOn) {
    Log_t log = Open("own.log", 20);
    const CapturedError captured(root.Native());
    LumPalIo::SetFaultHookForTest(FailWrites);
    failWrites = true;
    log.Write(CreateInfo_t("lost"), 0);
    failWrites = false;
    LumPalIo::SetFaultHookForTest(nullptr);
    log.Write(CreateInfo_t("kept"), 0);
    EXPECT_NE(captured.Text().find("ERROR A line of the log of 'lumtest' was lost."), std::string::npos);
    const auto lines = Lines(ReadAll(PathOf("own.log")));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(Matches(lines[0], "ERROR 1 line.* lost since .*")) << lines[0];
    EXPECT_TRUE(Matches(lines[1], "INFO kept"));
}

TEST_F(Log, RotatesBySizeAndKeepsTheYoungest) {
    AppendFile file(PathOf("own.log"), {0640, 10, 2});
    file.Open();
    for (const char* const line : {"1234\n", "5678\n", "second\n", "third file\n", "4\n", "5\n"}) file.Append(line);
    EXPECT_EQ(ReadAll(PathOf("own.log")), "4\n5\n");
    EXPECT_EQ(ReadAll(PathOf("own.log.1")), "third file\n");
    EXPECT_EQ(ReadAll(PathOf("own.log.2")), "second\n");
    EXPECT_FALSE(std::filesystem::exists(PathOf("own.log.3")));
    EXPECT_EQ(ModeOf(PathOf("own.log")), 0640u);
}

TEST_F(Log, GrowsOnWhenItCannotBeRotated) {
    AppendFile file(PathOf("own.log"), {0640, 10, 2});
    LumPalIo::SetFaultHookForTest(
        [](const char* operation, const char*) { return std::string(operation) == "rename"; });
    for (const char* const line : {"12345678\n", "and more\n"}) file.Append(line);
    LumPalIo::SetFaultHookForTest(nullptr);
    EXPECT_EQ(ReadAll(PathOf("own.log")), "12345678\nand more\n");
}

TEST_F(Log, NeverRotatesWithoutALimit) {
    AppendFile file(PathOf("own.log"), {0644, 0, 0});
    for (int i = 0; i < 100; ++i) file.Append(std::string(1000, 'x') + "\n");
    EXPECT_EQ(std::filesystem::file_size(PathOf("own.log")), 100100u);
    EXPECT_FALSE(std::filesystem::exists(PathOf("own.log.1")));
}

TEST_F(Log, OfTheApplicationGoesToStandardErrorWithDetails) {
    const CapturedError captured(root.Native());
    LumPalLog::Log(WithDetails());
    const auto lines = Lines(captured.Text());
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_TRUE(Matches(lines[0], "ERROR outer"));
    EXPECT_EQ(lines[2], "    innermost");
    EXPECT_TRUE(GetApplicationLog().IsDefined());
}

TEST_F(Log, OfTheApplicationKeepsDetailsOnTheLineWithoutTheOption) {
    const CapturedError captured(root.Native());
    GetApplicationLog().Write(WithDetails(), 0);
    EXPECT_EQ(Lines(captured.Text()).size(), 1u);
}

TEST_F(Log, OfTheApplicationGoesToAFileToo) {
    const CapturedError captured(root.Native());
    SetApplicationLogFile(root.Path("app.log"));
    LumPalLog::Log(CreateError_t("both"));
    SetApplicationLogFile(String_t::Null());
    LumPalLog::Log(CreateError_t("standard error alone"));
    EXPECT_EQ(Lines(captured.Text()).size(), 2u);
    const auto lines = Lines(ReadAll(PathOf("app.log")));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(Matches(lines[0], "ERROR both")) << lines[0];
    EXPECT_EQ(ModeOf(PathOf("app.log")), 0640u);
}

TEST_F(Log, OfTheApplicationSaysWhenItsFileCannotBeOpened) {
    std::ofstream(PathOf("file")) << "x";
    const CapturedError captured(root.Native());
    SetApplicationLogFile(root.Path("file/app.log"));
    EXPECT_NE(captured.Text().find("ERROR The application log's file could not be opened."), std::string::npos);
    LumPalLog::Log(CreateError_t("still heard"));
    EXPECT_NE(captured.Text().find("still heard"), std::string::npos);
}

TEST_F(Log, OfTheApplicationIsNotWrittenThroughALinkNorIntoAPipeAndWaitsForNobody) {
    std::ofstream(PathOf("file")) << "x";
    std::filesystem::create_symlink(PathOf("file"), PathOf("link"));
    ASSERT_EQ(mkfifo(PathOf("fifo").c_str(), 0600), 0);
    for (const char* const name : {"link", "fifo"}) {
        const CapturedError captured(root.Native());
        SetApplicationLogFile(root.Path(name));
        EXPECT_NE(captured.Text().find("ERROR The application log's file could not be opened."), std::string::npos);
        LumPalLog::Log(CreateError_t("still heard"));
        EXPECT_NE(captured.Text().find("still heard"), std::string::npos) << name;
        SetApplicationLogFile(String_t::Null());
    }
    EXPECT_EQ(ReadAll(PathOf("file")), "x");
}

TEST_F(Log, OfTheApplicationFindsItsWayToAFileThatCouldNotBeOpenedForAWhile) {
    const CapturedError captured(root.Native());
    LumPalIo::SetFaultHookForTest([](const char* operation, const char*) { return std::string(operation) == "open"; });
    SetApplicationLogFile(root.Path("app.log"));
    LumPalIo::SetFaultHookForTest(nullptr);
    LumPalLog::Log(CreateError_t("later"));
    SetApplicationLogFile(String_t::Null());
    EXPECT_EQ(Lines(ReadAll(PathOf("app.log"))).size(), 1u);
}

TEST_F(Log, OfTheApplicationRotatesItsFile) {
    const CapturedError captured(root.Native());
    ApplicationLog log;
    log.SetFile(root.Path("app.log"), 200);
    for (int i = 0; i < 10; ++i)
        log.Write(CreateInfo_t("a line of some length, so that ten are too many"), DetailStyle::SameLine);
    const auto files = std::count_if(std::filesystem::directory_iterator(root.Native()), {}, [](const auto& entry) {
        return entry.path().filename().string().starts_with("app.");
    });
    EXPECT_GT(files, 1);
    EXPECT_LE(files, 6);
    EXPECT_LE(std::filesystem::file_size(PathOf("app.log")), 200u);
}

}  // namespace
