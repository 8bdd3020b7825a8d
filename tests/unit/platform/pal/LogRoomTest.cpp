// Logs that find no room: what is lost is counted and told, and no line is spoilt by another.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "AppendFile_posix.h"
#include "Captured.h"
#include "Faults.h"
#include "Files.h"
#include "ForkedProcess.h"
#include "LostLines.h"
#include "LumPalIo.h"
#include "LumPalLog.h"
#include "TempRoot.h"

namespace {

using LumPalLog::AppendFile;
using LumPalLog::Log_t;
using LumPalMsg::CreateError_t;
using LumPalMsg::CreateInfo_t;

const std::string kTime = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d)";
constexpr std::size_t kRotated = 10u << 20;

std::vector<std::string> LinesOf(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

void Say(Log_t& log, int number) {
    log.Write(CreateInfo_t("line %1 of some length") << number, 0);
}

bool IsWhole(const std::string& line) {
    return std::regex_match(line, std::regex(kTime + " INFO line \\d+ of some length"));
}

/// What a line says that so many were lost for this reason, which is a regular expression.
bool Tells(const std::string& line, const std::string& count, const std::string& reason) {
    return std::regex_match(line, std::regex(kTime + " ERROR " + count + " line\\(s\\) of this log were lost since " +
                                             kTime + "\\. \\| .*" + reason + ".*"));
}

/// How many a line says were lost; 0 for any other line.
int LostOf(const std::string& line) {
    std::smatch found;
    if (!std::regex_match(line, found, std::regex(kTime + R"( ERROR (\d+) line\(s\) of this log were lost since .*)")))
        return 0;
    return std::stoi(found[1]);
}

struct LogRoom : testing::Test {
    LogRoom() { std::filesystem::create_directory(root.Native() + "/log"); }

    Log_t Open() const { return Log_t(root.Path("log"), "own.log", "lumtest", 20); }

    const TempRoot root;
    const std::string path = root.Native() + "/log/own.log";
    const CapturedError captured{root.Native()};  ///< what the application log says
};

/// What a log is after `said` lines, some of which found no room, and others after them.
struct Outcome {
    int whole = 0, lost = 0, torn = 0, notices = 0;
    explicit Outcome(const std::vector<std::string>& lines) {
        for (const std::string& line : lines) {
            whole += IsWhole(line);
            lost += LostOf(line);
            notices += LostOf(line) > 0;
            torn += !IsWhole(line) && LostOf(line) == 0;
        }
    }
};

/// Lets files of this process grow so far and no further.
void LimitFiles(rlim_t bytes) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("no limit");
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("cannot set a limit");
}

/// Runs it in a process of its own, whose limits and mounts go with it. @return whether nothing failed there
bool InProcess(const std::function<void()>& action) {
    ForkedProcess process([&] {
        signal(SIGXFSZ, SIG_IGN);
        action();
        if (testing::Test::HasFailure()) throw std::runtime_error("failed in the process");
    });
    return process.Wait() == 0;
}

void WriteFile(const char* path, const std::string& text) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0 || write(file, text.data(), text.size()) < 0) throw std::runtime_error(std::string("no ") + path);
    close(file);
}

/// A disk of some pages, in a mount namespace of this process. @return false where the system allows none
bool MountSmallDisk(const std::string& folder, const std::string& size) {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (user != 0) {
        WriteFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        WriteFile("/proc/self/setgroups", "deny");
        WriteFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    return mount("", "/", "", MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", folder.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
}

const char* failing = "";
bool FailsAll(const char* operation, const char*) {
    return std::string_view(operation) == failing;
}

/// While it lives, all operations of one kind fail.
struct Failing {
    explicit Failing(const char* operation) {
        failing = operation;
        LumPalIo::SetFaultHookForTest(FailsAll);
    }
    ~Failing() { LumPalIo::SetFaultHookForTest(nullptr); }
};

}  // namespace

TEST_F(LogRoom, LostLinesAreCountedAndToldBeforeTheNextThatFits) {
    Log_t log = Open();
    Say(log, 1);
    for (const char* const count : {"1", "3"}) {
        {
            const Failing disk("write");
            for (int i = 0; i < std::stoi(count); ++i) Say(log, 2);
        }
        Say(log, 3);
        Say(log, 4);
        const auto lines = LinesOf(path);
        ASSERT_GE(lines.size(), 4u);
        EXPECT_TRUE(Tells(lines[lines.size() - 3], count, "Cannot write log file '" + path + "': Input/output error"))
            << lines[lines.size() - 3];
        EXPECT_TRUE(IsWhole(lines[lines.size() - 2]) && IsWhole(lines.back()));
    }
    EXPECT_EQ(LinesOf(path).size(), 7u);
    EXPECT_NE(captured.Text().find("ERROR A line of the log of 'lumtest' was lost."), std::string::npos);
}

TEST_F(LogRoom, TheMomentIsThatOfTheFirstLostLine) {
    LumPalLog::LostLines lost;
    const LumPalLog::LostLines::Moment first(std::chrono::hours(24 * 365 * 30)), later(first + std::chrono::hours(5));
    EXPECT_FALSE(lost.Any());
    lost.Add(first, CreateError_t("full"));
    const std::string one = lost.Notice().GetMessageText().ToUtf8();
    lost.Add(later, CreateError_t("full"));
    EXPECT_TRUE(lost.Any());
    EXPECT_EQ(lost.Notice().GetMessageText().ToUtf8(), "2" + one.substr(1));
    EXPECT_EQ(lost.Notice().GetDetails().GetMessageCount(), 1);
}

TEST_F(LogRoom, EachReasonIsToldOnceAndNotEveryOneOfAThousand) {
    LumPalLog::LostLines lost;
    for (int i = 0; i < 1000; ++i) lost.Add({}, CreateError_t("reason %1") << i);
    EXPECT_EQ(lost.Notice().GetDetails().GetMessageCount(), 3);
    EXPECT_NE(lost.Notice().GetMessageText().ToUtf8().find("1000 line(s)"), std::string::npos);
}

TEST_F(LogRoom, ANoticeThatIsLostTooIsToldLaterWithAllThatWasLost) {
    Log_t log = Open();
    {
        const Failing disk("write");
        Say(log, 1);
        Say(log, 2);
    }
    {
        Faults second(2);  // the notice arrives, the line behind it does not
        Say(log, 3);
    }
    {
        Faults first(1);  // the notice does not
        Say(log, 4);
    }
    Say(log, 5);
    const auto lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(Tells(lines[0], "2", "Input/output error")) << lines[0];
    EXPECT_TRUE(Tells(lines[1], "2", "Input/output error")) << lines[1];
    EXPECT_TRUE(IsWhole(lines[2]));
}

TEST_F(LogRoom, EachFileOperationThatFailsCostsLinesThatAreCounted) {
    int fired = 0;
    ForEachFault([&](int nth) {
        std::filesystem::remove_all(root.Native() + "/log");
        Faults faults(nth);
        Log_t log = Open();
        for (int i = 0; i < 3; ++i) Say(log, i);
        faults.Stop();
        EXPECT_TRUE(log.IsDefined()) << faults.Failed();
        Say(log, 4);
        const Outcome outcome(LinesOf(path));
        EXPECT_EQ(outcome.whole + outcome.lost, 4) << faults.Failed();
        EXPECT_EQ(outcome.torn, 0) << faults.Failed();
        fired += faults.Fired();
        return faults.Fired();
    });
    EXPECT_GE(fired, 5);  // open, mkdir, read, and each write
}

TEST_F(LogRoom, AFileThatReachesItsLimitLosesLinesThatAreToldAndCutsNoneThatFollow) {
    EXPECT_TRUE(InProcess([&] {
        Log_t log = Open();
        Say(log, 1);
        LimitFiles(std::filesystem::file_size(path) * 5 / 2);
        for (int i = 2; i <= 6; ++i) Say(log, i);
        EXPECT_EQ(Outcome(LinesOf(path)).torn, 1) << "there was room for a half of the third";
        LimitFiles(RLIM_INFINITY);
        Say(log, 7);
        const auto lines = LinesOf(path);
        ASSERT_EQ(lines.size(), 5u);
        EXPECT_TRUE(IsWhole(lines[0]) && IsWhole(lines[1]) && IsWhole(lines[4]));
        EXPECT_FALSE(lines[2].empty());
        EXPECT_TRUE(Tells(lines[3], "4", "File too large")) << lines[3];
    }));
}

TEST_F(LogRoom, AFullDiskLosesLinesThatAreToldOnceThereIsRoom) {
    EXPECT_TRUE(InProcess([&] {
        const bool disk = MountSmallDisk(root.Native() + "/log", "12k");
        Log_t log = Open();
        if (disk) {
            WriteText(root.Native() + "/log/filler", std::string(8192, 'x'));
        } else {
            LimitFiles(4096);  // no mounts here: a file's limit stands for the disk's
        }
        for (int i = 0; i < 200; ++i) Say(log, i);
        EXPECT_LT(Outcome(LinesOf(path)).whole, 100);
        if (disk) {
            std::filesystem::remove(root.Native() + "/log/filler");
        } else {
            LimitFiles(RLIM_INFINITY);
        }
        Say(log, 200);
        const auto lines = LinesOf(path);
        const Outcome outcome(lines);
        EXPECT_EQ(outcome.whole + outcome.lost, 201);
        EXPECT_EQ(outcome.notices, 1);
        EXPECT_LE(outcome.torn, 1);
        ASSERT_GE(lines.size(), 2u);
        EXPECT_TRUE(Tells(lines[lines.size() - 2], "\\d+", disk ? "No space left on device" : "File too large"))
            << lines[lines.size() - 2];
        EXPECT_TRUE(IsWhole(lines.back()));
    }));
}

TEST_F(LogRoom, ALogThatFindsAFullDiskAtItsStartCountsFromThenOn) {
    for (const char* const operation : {"open", "mkdir"}) {
        std::filesystem::remove_all(root.Native() + "/log");
        {
            const Failing disk(operation);
            Log_t log = Open();
            EXPECT_TRUE(log.IsDefined()) << operation;
            Say(log, 1);
            Say(log, 2);
            LumPalIo::SetFaultHookForTest(nullptr);
            Say(log, 3);
        }
        const auto lines = LinesOf(path);
        ASSERT_EQ(lines.size(), 2u) << operation;
        EXPECT_TRUE(Tells(lines[0], "2", "Cannot open log file '" + path + "': Input/output error")) << lines[0];
        EXPECT_TRUE(IsWhole(lines[1]));
    }
    EXPECT_NE(captured.Text().find("ERROR The log of 'lumtest' could not be opened."), std::string::npos);
}

TEST_F(LogRoom, LinesThatAreLostWhileTheFileIsPutAsideAreToldInTheNextFile) {
    Log_t log = Open();
    Say(log, 1);
    std::filesystem::resize_file(path, kRotated - 1);
    {
        const Failing disk("open");
        Say(log, 2);  // the old file is put aside, and no new one can be made
        Say(log, 3);
    }
    Say(log, 4);
    EXPECT_EQ(std::filesystem::file_size(path + ".1"), kRotated - 1);
    const auto lines = LinesOf(path);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(Tells(lines[0], "2", "Cannot open log file")) << lines[0];
    EXPECT_TRUE(IsWhole(lines[1]));
}

TEST_F(LogRoom, ALineThatWasCutIsEndedInItsOwnFileBeforeThatIsPutAside) {
    for (const bool hasRoom : {true, false}) {
        std::filesystem::remove(path + ".1");
        std::filesystem::remove(path);
        EXPECT_TRUE(InProcess([&] {
            AppendFile file(path, {0640, 100, 2});
            file.Open();
            for (int i = 0; i < 9; ++i) file.Append("123456789\n");
            LimitFiles(95);
            EXPECT_THROW(file.Append("abcdefghi\n"), LumPalIo::IOException_t);
            if (hasRoom) LimitFiles(RLIM_INFINITY);
            file.Append("next\n");
        }));
        EXPECT_EQ(ReadText(path), "next\n");
        const std::string old = ReadText(path + ".1");
        EXPECT_EQ(old.substr(90), hasRoom ? "abcde\n" : "abcde");
    }
}

TEST_F(LogRoom, ALineThatAFormerProcessCutStandsAlone) {
    for (const std::string& before : {std::string("half a li"), std::string("whole\n"), std::string()}) {
        WriteText(path, before);
        Log_t log = Open();
        Say(log, 1);
        const auto lines = LinesOf(path);
        EXPECT_EQ(lines.size(), before.empty() ? 1u : 2u) << before;
        EXPECT_TRUE(IsWhole(lines.back())) << before;
    }
}

TEST_F(LogRoom, AFileThatSomebodyTookAwayWithItsFolderIsMadeAgain) {
    Log_t log = Open();
    Say(log, 1);
    std::filesystem::remove_all(root.Native() + "/log");
    Say(log, 2);
    EXPECT_EQ(LinesOf(path).size(), 1u);
}
