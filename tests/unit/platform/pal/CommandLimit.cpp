#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "Captured.h"
#include "LumPalCmd.h"

namespace {

using namespace LumPalCmd;
using LumPalArray::CharArray_t;
using LumPalStr::String_t;

Process_t Start(const std::string& script, std::uint32_t limitMs) {
    Command_t command(String_t::FromUtf8("/bin/sh -c \"" + script + "\""));
    return command.RedirectInput(Null).RedirectError(Null).RedirectOutput(Pipe).LimitTime(limitMs).Execute();
}

/// Reads all that comes.
void ReadAll(const Process_t& process) {
    LumPalIo::InputStream_t stream = process.GetStandardOutput();
    CharArray_t block(8192);
    while (stream.Read(block, 0, block.GetLength()) > 0) {
    }
}

/// The number that the program prints first.
pid_t FirstNumber(const Process_t& process) {
    LumPalIo::DataInputStream_t lines(process.GetStandardOutput());
    const CharArray_t line = lines.ReadLine();
    return std::stoi(std::string(line.GetData(), line.GetLength()));
}

/// A zombie has gone: who collects it is not ours.
bool Runs(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string number, name, state;
    return stat >> number >> name >> state && state != "Z";
}

bool IsGone(pid_t pid) {
    for (int tries = 0; tries < 5000; ++tries) {
        if (!Runs(pid)) return true;
        usleep(1000);
    }
    return false;
}

TEST(CommandLimit, AProgramWithinItsLimitIsLeftAlone) {
    const Process_t process = Start("echo x; exit 3", 60000);
    ReadAll(process);
    EXPECT_EQ(process.WaitFor(), 3);
    process.End();
    EXPECT_EQ(process.WaitFor(), 3);
}

TEST(CommandLimit, ReadingEndsWhenTheTimeIsOver) {
    const Process_t process = Start("exec sleep 1000", 30);
    EXPECT_THROW(ReadAll(process), TimeLimitException_t);
    process.End();
    EXPECT_EQ(process.WaitFor(), 128 + SIGKILL);
}

TEST(CommandLimit, ReadingEndsThoughThereIsAlwaysSomethingToRead) {
    const Process_t process = Start("exec yes", 30);
    EXPECT_THROW(ReadAll(process), TimeLimitException_t);
    process.End();
    EXPECT_EQ(process.WaitFor(), 128 + SIGKILL);
}

TEST(CommandLimit, WaitingEndsWhenTheTimeIsOver) {
    for (const char* script : {"exec sleep 1000", "exec yes", "exec >&-; exec sleep 1000"}) {
        const Process_t process = Start(script, 30);
        EXPECT_THROW(process.WaitFor(), TimeLimitException_t) << script;
        process.End();
        EXPECT_EQ(process.WaitFor(), 128 + SIGKILL) << script;
    }
}

TEST(CommandLimit, TheChildrenOfAProgramAreEndedWithIt) {
    const Process_t process = Start("sleep 1000 & echo $!; wait", 60000);
    const pid_t child = FirstNumber(process);
    process.End();
    EXPECT_TRUE(IsGone(child));
}

TEST(CommandLimit, AProgramWithoutLimitIsEndedAlone) {
    const Process_t process = Start("sleep 1000 & echo $!; wait", 0);
    const pid_t child = FirstNumber(process);
    process.End();
    EXPECT_EQ(process.WaitFor(), 128 + SIGKILL);
    EXPECT_EQ(kill(child, SIGKILL), 0);
}

TEST(CommandLimit, WhatAnEndedProgramLeavesCannotWriteOn) {
    pid_t child = 0;
    {
        const Process_t process = Start("sh -c 'echo $$; exec yes' & exec sleep 1000", 0);
        child = FirstNumber(process);
        process.End();
    }
    EXPECT_TRUE(IsGone(child));
}

TEST(CommandLimit, WhatWasNeverStartedCanBeEnded) {
    EXPECT_NO_THROW(Process_t().End());
}

TEST(CommandLimit, ReadingAnEndedProgramIsRefused) {
    const Process_t process = Start("exec yes", 0);
    process.End();
    EXPECT_THROW(ReadAll(process), LumPalIo::IOException_t);
}

}  // namespace
