#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Captured.h"
#include "LumPalCmd.h"
#include "LumPalFault.h"
#include "LumPalThread.h"
#include "TempRoot.h"

namespace {

using namespace LumPalCmd;
using LumPalArray::CharArray_t;
using LumPalIo::FileNotFoundException_t;
using LumPalIo::InputStream_t;
using LumPalIo::IOException_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

/// A command of one shell script.
Command_t Shell(const std::string& script) {
    return Command_t(String_t::FromUtf8("/bin/sh -c \"" + script + "\""));
}

std::string ReadAll(InputStream_t stream) {
    std::string text;
    CharArray_t block(8192);
    for (std::int64_t count; (count = stream.Read(block, 0, block.GetLength())) > 0;) {
        text.append(block.GetData(), static_cast<std::size_t>(count));
    }
    return text;
}

/// What the command prints.
std::string OutputOf(Command_t command) {
    Process_t process = command.RedirectInput(Null).RedirectError(Null).RedirectOutput(Pipe).Execute();
    std::string text = ReadAll(process.GetStandardOutput());
    EXPECT_EQ(process.WaitFor(), 0);
    return text;
}

TEST(Command, RunsAProgramFoundInThePath) {
    EXPECT_EQ(OutputOf(Command_t("printf %s-%s a \"b c\"", true)), "a-b c");
}

TEST(Command, RunsAProgramByItsPath) {
    EXPECT_EQ(OutputOf(Command_t("/bin/echo -n x", true)), "x");
    EXPECT_EQ(OutputOf(Command_t("/bin/echo -n x", false)), "x");
}

TEST(Command, HandsEveryWordOnAsItStands) {
    EXPECT_EQ(OutputOf(Command_t("printf [%s] $HOME ; * \"\" `id` \"a  b\" |")), "[$HOME][;][*][][`id`][a  b][|]");
    EXPECT_EQ(OutputOf(Command_t(String_t(u"printf %s Größe"))),
              "Gr\xC3\xB6\xC3\x9F"
              "e");
}

TEST(Command, GivesTheExitCode) {
    const struct {
        const char* script;
        int code;
    } rows[] = {{"exit 0", 0}, {"exit 1", 1}, {"exit 255", 255}, {"kill -TERM $$", 143}, {"kill -KILL $$", 137}};
    for (const auto& row : rows) {
        Process_t process = Shell(row.script).Execute();
        EXPECT_EQ(process.WaitFor(), row.code) << row.script;
        EXPECT_EQ(process.WaitFor(), row.code) << "a second time: " << row.script;
        const Process_t copy = process;
        EXPECT_EQ(copy.WaitFor(), row.code) << "a copy: " << row.script;
    }
}

TEST(Command, SaysWhenThereIsNoSuchProgram) {
    const char* const rows[] = {"no-such-program-here", "/no/such/program", "/etc/passwd/program", "./no-such-program"};
    for (const char* const line : rows) {
        EXPECT_THROW(Command_t(line).Execute(), FileNotFoundException_t) << line;
        EXPECT_THROW(Command_t(line, false).Execute(), FileNotFoundException_t) << line;
    }
    EXPECT_THROW(Command_t("printf x", false).Execute(), FileNotFoundException_t) << "not a path";
    try {
        Command_t("no-such-program-here --option").Execute();
    } catch (const FileNotFoundException_t& e) {
        EXPECT_NE(std::string(e.what()).find("'no-such-program-here'"), std::string::npos) << e.what();
    }
}

TEST(Command, SaysWhenAFileIsNoProgram) {
    const TempRoot root;
    std::ofstream(root.Native() + "/data") << "#!/bin/sh\n";
    try {
        Command_t(root.Path("data")).Execute();
        FAIL() << "started";
    } catch (const FileNotFoundException_t&) {
        FAIL() << "it is there";
    } catch (const IOException_t& e) {
        EXPECT_NE(std::string(e.what()).find("/data'"), std::string::npos) << e.what();
    }
}

TEST(Command, IsNeverGivenToAShellWhenItIsNoProgram) {
    const TempRoot root;
    const std::string script = root.Native() + "/script";
    std::ofstream(script) << "touch " << root.Native() << "/made\n";
    ASSERT_EQ(chmod(script.c_str(), 0755), 0);
    EXPECT_THROW(Command_t(root.Path("script")).Execute(), IOException_t);
    EXPECT_FALSE(std::filesystem::exists(root.Native() + "/made"));
}

TEST(Command, RefusesAMalformedLineWhenItIsExecuted) {
    for (const char* const line : {"", "   ", "\"\"", "printf \"open"}) {
        Command_t command(line);
        EXPECT_THROW(command.Execute(), IllegalArgumentError_t) << line;
    }
}

TEST(Command, CanBeExecutedAgain) {
    Command_t command("printf x");
    command.RedirectOutput(Pipe);
    EXPECT_EQ(ReadAll(command.Execute().GetStandardOutput()), "x");
    EXPECT_EQ(ReadAll(command.Execute().GetStandardOutput()), "x");
}

TEST(Command, StreamsAreNullUnlessTheyAreRedirectedToAPipe) {
    Process_t process = Shell("exit 0").RedirectInput(Null).RedirectOutput(Null).Execute();
    EXPECT_TRUE(process.GetStandardInput().IsNull());
    EXPECT_TRUE(process.GetStandardOutput().IsNull());
    EXPECT_TRUE(process.GetStandardError().IsNull());
    EXPECT_EQ(process.WaitFor(), 0);
    const Process_t nothing;
    EXPECT_TRUE(nothing.GetStandardOutput().IsNull());
    EXPECT_TRUE(nothing.GetStandardInput().IsNull());
    EXPECT_EQ(nothing.GetPid(), 0);
    EXPECT_THROW(nothing.WaitFor(), LumPalMsg::IllegalStateError_t);
}

TEST(Command, NullModeReadsNothingAndDropsWhatIsWritten) {
    const TempRoot root;
    const CapturedError captured(root.Native());
    EXPECT_EQ(OutputOf(Shell("cat; echo noise >&2; echo end")), "end\n");
    EXPECT_EQ(captured.Text(), "");
}

TEST(Command, InheritsWhatIsNotRedirected) {
    const TempRoot root;
    const CapturedError captured(root.Native());
    EXPECT_EQ(Shell("echo heard >&2").Execute().WaitFor(), 0);
    EXPECT_EQ(captured.Text(), "heard\n");
}

TEST(Command, KeepsErrorsApartFromTheOutput) {
    Process_t process = Shell("echo out; echo err >&2").RedirectOutput(Pipe).RedirectError(Pipe).Execute();
    EXPECT_EQ(ReadAll(process.GetStandardOutput()), "out\n");
    EXPECT_EQ(ReadAll(process.GetStandardError()), "err\n");
}

TEST(Command, AProgramNeverWaitsForTheErrorsToBeReadWhileItsOutputIs) {
    Process_t process =
        Shell("head -c 1000000 /dev/zero >&2; echo out").RedirectOutput(Pipe).RedirectError(Pipe).Execute();
    EXPECT_EQ(ReadAll(process.GetStandardOutput()), "out\n");
    EXPECT_EQ(ReadAll(process.GetStandardError()).size(), 1000000u);
}

TEST(Command, WritesTheInput) {
    Process_t process = Command_t("cat").RedirectInput(Pipe).RedirectOutput(Pipe).Execute();
    LumPalIo::OutputStream_t input = process.GetStandardInput();
    input.Write("some input", 10);
    input.Close();
    EXPECT_EQ(ReadAll(process.GetStandardOutput()), "some input");
    EXPECT_EQ(process.WaitFor(), 0);
    EXPECT_THROW(process.GetStandardInput().Write("x", 1), IOException_t);
}

TEST(Command, WritingToAProgramThatClosedItsInputIsAnErrorAndNoSignal) {
    Process_t process = Command_t("true").RedirectInput(Pipe).Execute();
    LumPalIo::OutputStream_t input = process.GetStandardInput();
    process.WaitFor();
    EXPECT_THROW(input.Write("x", 1), IOException_t);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

TEST(Command, WaitingClosesAnInputThatNobodyHolds) {
    Process_t process = Command_t("cat").RedirectInput(Pipe).RedirectOutput(Null).Execute();
    process.GetStandardInput().Write("x", 1);
    EXPECT_EQ(process.WaitFor(), 0);
}

TEST(Command, AddsToTheEnvironment) {
    setenv("LUMTEST_OLD", "old", 1);
    Command_t command = Shell("printf %s:%s:%s $LUMTEST_OLD $LUMTEST_NEW $LUMTEST_EMPTY");
    command.PutEnv("LUMTEST_NEW", "a=b").PutEnv("LUMTEST_EMPTY", String_t::Null());
    EXPECT_EQ(OutputOf(command), "old:a=b:");
    command.PutEnv("LUMTEST_OLD", String_t(u"ö"));
    EXPECT_EQ(OutputOf(command), "\xC3\xB6:a=b:");
    unsetenv("LUMTEST_OLD");
}

TEST(Command, RunsInTheCLocaleUnlessToldOtherwise) {
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    Command_t command = Shell("printf %s $LC_ALL");
    EXPECT_EQ(OutputOf(command), "C");
    EXPECT_EQ(OutputOf(command.PutEnv("LC_ALL", "C.UTF-8")), "C.UTF-8");
    unsetenv("LC_ALL");
}

TEST(Command, RefusesABadNameOrValueOfTheEnvironment) {
    const String_t nul(u"a\0b", 3);
    Command_t command("true");
    EXPECT_THROW(command.PutEnv("", "x"), IllegalArgumentError_t);
    EXPECT_THROW(command.PutEnv(String_t::Null(), "x"), IllegalArgumentError_t);
    EXPECT_THROW(command.PutEnv("A=B", "x"), IllegalArgumentError_t);
    EXPECT_THROW(command.PutEnv(nul, "x"), IllegalArgumentError_t);
    EXPECT_THROW(command.PutEnv("A", nul), IllegalArgumentError_t);
    EXPECT_EQ(command.Execute().WaitFor(), 0);
}

TEST(Command, ChildrenGetClosedDescriptors) {
    const int leaked = open("/dev/null", O_RDONLY);  // without close-on-exec
    EXPECT_EQ(OutputOf(Command_t("ls /proc/self/fd")), "0\n1\n2\n3\n") << "3 is the folder that is listed";
    close(leaked);
}

TEST(Command, ChildrenGetDefaultSignalsAndNoneBlocked) {
    struct sigaction ignore {
    }, before{};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGHUP, &ignore, &before);
    sigset_t set, oldSet;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, &oldSet);
    std::istringstream status(OutputOf(Command_t("grep -E \"^Sig(Blk|Ign):\" /proc/self/status")));
    pthread_sigmask(SIG_SETMASK, &oldSet, nullptr);
    sigaction(SIGHUP, &before, nullptr);
    const unsigned long ownOfTheThreadLibrary = 3ul << 31;  // 32 and 33 are not for programs
    std::string label;
    unsigned long blocked = 1, ignored = 1;
    status >> label >> std::hex >> blocked >> label >> ignored;
    EXPECT_EQ(blocked, 0u);
    EXPECT_EQ(ignored & ~ownOfTheThreadLibrary, 0u);
}

TEST(Command, TenMegabytesOfOutputAreRead) {
    Process_t process = Command_t("dd if=/dev/zero bs=65536 count=160 status=none").RedirectOutput(Pipe).Execute();
    EXPECT_EQ(ReadAll(process.GetStandardOutput()).size(), 160u * 65536u);
    EXPECT_EQ(process.WaitFor(), 0);
}

TEST(Command, OutputThatNobodyReadsBlocksNoProgram) {
    Command_t command = Shell(
        "dd if=/dev/zero bs=65536 count=160 status=none; "
        "dd if=/dev/zero bs=65536 count=2 status=none >&2; exit 3");
    EXPECT_EQ(command.RedirectOutput(Pipe).RedirectError(Pipe).Execute().WaitFor(), 3);
}

TEST(Command, OutputCanBeReadAfterTheWait) {
    Process_t process = Command_t("dd if=/dev/zero bs=65536 count=160 status=none").RedirectOutput(Pipe).Execute();
    EXPECT_EQ(process.WaitFor(), 0);
    EXPECT_GT(process.GetStandardOutput().Available(), 0u);
    EXPECT_EQ(ReadAll(process.GetStandardOutput()).size(), 160u * 65536u);
}

TEST(Command, SaysWhereOutputWasDroppedThatNobodyReadInTime) {
    Process_t process = Command_t("dd if=/dev/zero bs=65536 count=400 status=none").RedirectOutput(Pipe).Execute();
    EXPECT_EQ(process.WaitFor(), 0);
    InputStream_t output = process.GetStandardOutput();
    CharArray_t kept(16u << 20);
    EXPECT_EQ(output.Read(kept), 16 << 20);
    EXPECT_THROW(ReadAll(output), IOException_t);
}

TEST(Command, ClosedOutputIsDroppedAndCannotBeRead) {
    Process_t process = Command_t("dd if=/dev/zero bs=65536 count=160 status=none").RedirectOutput(Pipe).Execute();
    InputStream_t output = process.GetStandardOutput();
    output.Close();
    EXPECT_EQ(process.WaitFor(), 0) << "no broken pipe";
    CharArray_t block(10);
    EXPECT_THROW(output.Read(block), IOException_t);
    EXPECT_EQ(output.Available(), 0u);
}

TEST(Command, OutputIsReadWhileAnotherThreadWaits) {
    Process_t process = Command_t("dd if=/dev/zero bs=65536 count=160 status=none").RedirectOutput(Pipe).Execute();
    int code = -1;
    std::thread waiter([&] { code = process.WaitFor(); });
    EXPECT_EQ(ReadAll(process.GetStandardOutput()).size(), 160u * 65536u);
    waiter.join();
    EXPECT_EQ(code, 0);
}

TEST(Command, OutputEndsWithTheProgramThoughAServiceItStartedStays) {
    Process_t process = Shell("sleep 1000 & printf %s $!").RedirectOutput(Pipe).Execute();
    const std::string service = ReadAll(process.GetStandardOutput());
    EXPECT_EQ(process.WaitFor(), 0);
    const pid_t pid = std::stoi(service);
    EXPECT_EQ(kill(pid, 0), 0) << "the service is gone";
    kill(pid, SIGKILL);
}

TEST(Command, AServiceThatWritesWhenItsStarterIsForgottenLives) {
    const TempRoot root;
    const std::string fifo = root.Native() + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // The service writes more than a pipe holds once the handle is gone, then says that it lives.
    Shell("(read x < " + fifo + "; dd if=/dev/zero bs=65536 count=20 status=none; echo alive > " + fifo + ") &")
        .RedirectOutput(Pipe)
        .Execute()
        .WaitFor();
    std::ofstream(fifo) << "go\n";
    std::string answer;
    std::ifstream(fifo) >> answer;
    EXPECT_EQ(answer, "alive");
}

/// Whether the process is gone, and collected, within a generous time.
bool IsCollected(pid_t pid) {
    for (int i = 0; i < 5000; ++i) {
        if (kill(pid, 0) != 0) return true;
        LumPalThread::Thread_t::Sleep(1);
    }
    return false;
}

TEST(Command, LeavesNoZombieWhenNobodyWaits) {
    std::vector<pid_t> started;
    for (int i = 0; i < 5; ++i) started.push_back(static_cast<pid_t>(Command_t("true").Execute().GetPid()));
    started.push_back(static_cast<pid_t>(Command_t("sleep 0.05").RedirectOutput(Pipe).Execute().GetPid()));
    for (const pid_t pid : started) EXPECT_TRUE(IsCollected(pid)) << pid;
}

TEST(Command, LeavesNoZombieWhenOnlyTheOutputWasRead) {
    Process_t process = Command_t("printf x").RedirectOutput(Pipe).Execute();
    const pid_t pid = static_cast<pid_t>(process.GetPid());
    InputStream_t output = process.GetStandardOutput();
    process = Process_t();
    EXPECT_EQ(ReadAll(output), "x");
    output = InputStream_t();
    EXPECT_TRUE(IsCollected(pid));
}

TEST(Command, AForgottenProgramIsNotBlockedByItsOutput) {
    const TempRoot root;
    const std::string mark = root.Native() + "/mark";
    const pid_t pid = static_cast<pid_t>(Shell("dd if=/dev/zero bs=65536 count=40 status=none && touch " + mark)
                                             .RedirectOutput(Pipe)
                                             .Execute()
                                             .GetPid());
    EXPECT_TRUE(IsCollected(pid));
    EXPECT_TRUE(std::filesystem::exists(mark));
}

std::size_t CountDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

TEST(Command, LeavesNoDescriptorOpen) {
    OutputOf(Command_t("printf x"));
    const std::size_t before = CountDescriptors();
    for (int i = 0; i < 10; ++i) OutputOf(Command_t("printf x"));
    EXPECT_THROW(Command_t("no-such-program").RedirectOutput(Pipe).Execute(), FileNotFoundException_t);
    EXPECT_LE(CountDescriptors(), before) << "those of a program before may have been closed meanwhile";
}

TEST(Command, SeveralThreadsStartProgramsAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 10; ++n) EXPECT_EQ(OutputOf(Command_t("printf x")), "x");
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(Command, CanBeLetFailByATest) {
    LumPalIo::SetFaultHookForTest([](const char* operation, const char*) { return std::string(operation) == "spawn"; });
    EXPECT_THROW(Command_t("true").Execute(), IOException_t);
    LumPalIo::SetFaultHookForTest(nullptr);
    EXPECT_EQ(Command_t("true").Execute().WaitFor(), 0);
}

}  // namespace
