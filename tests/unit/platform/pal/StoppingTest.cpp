// What is given up when the process is stopping.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include "ForkedProcess.h"
#include "LumPalCmd.h"
#include "LumPalDaemon.h"
#include "LumPalThread.h"
#include "TempRoot.h"

namespace {

using namespace LumPalCmd;
using LumPalArray::CharArray_t;
using LumPalRuntime::SetStopping;
using LumPalStr::String_t;

constexpr std::uint32_t kHour = 3600 * 1000;

class Stopping : public testing::Test {
protected:
    ~Stopping() override { SetStopping(false); }

    static Process_t Start(const std::string& script, std::uint32_t limitMs = 0) {
        Command_t command(String_t::FromUtf8("/bin/sh -c \"" + script + "\""));
        command.RedirectInput(Null).RedirectError(Null).RedirectOutput(Pipe).LimitTime(limitMs);
        return command.EndOnStop().Execute();
    }
    static std::string ReadLine(const Process_t& process) {
        const CharArray_t line = LumPalIo::DataInputStream_t(process.GetStandardOutput()).ReadLine();
        return {line.GetData(), line.GetLength()};
    }
    static void ReadAll(const Process_t& process) {
        LumPalIo::InputStream_t stream = process.GetStandardOutput();
        CharArray_t block(8192);
        while (stream.Read(block, 0, block.GetLength()) > 0) {
        }
    }
    /// A zombie has gone: who collects it is not ours.
    static bool Runs(pid_t pid) {
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string number, name, state;
        return stat >> number >> name >> state && state != "Z";
    }
    static bool IsGone(pid_t pid) {
        for (int tries = 0; tries < 5000; ++tries) {
            if (!Runs(pid)) return true;
            usleep(1000);
        }
        return false;
    }
};

TEST_F(Stopping, ASleepReturnsWhenItIsSaid) {
    std::thread sleeper([] { LumPalThread::Thread_t::Sleep(kHour); });
    SetStopping(true);
    sleeper.join();
    LumPalThread::Thread_t::Sleep(kHour);
    EXPECT_TRUE(LumPalRuntime::WaitForStopping(kHour));
}

TEST_F(Stopping, ASleepLastsItsTimeOtherwise) {
    const auto before = std::chrono::steady_clock::now();
    LumPalThread::Thread_t::Sleep(20);
    EXPECT_FALSE(LumPalRuntime::WaitForStopping(0));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(20));
    SetStopping(true);
    SetStopping(false);
    EXPECT_FALSE(LumPalRuntime::WaitForStopping(1)) << "it was taken back";
}

TEST_F(Stopping, ReadingAndWaitingForAProgramThatEndsWithTheProcessAreGivenUp) {
    const std::function<void(const Process_t&)> ways[] = {[](const Process_t& p) { ReadAll(p); },
                                                          [](const Process_t& p) { p.WaitFor(); }};
    for (const auto& way : ways) {
        for (const char* script : {"echo; exec sleep 1000", "echo; exec yes", "echo; exec >&-; exec sleep 1000"}) {
            for (const std::uint32_t limitMs : {std::uint32_t{0}, kHour}) {
                const Process_t process = Start(script, limitMs);
                ReadLine(process);
                std::thread stopper([] { SetStopping(true); });
                if (std::string(script).find(">&-") == std::string::npos || &way == &ways[1]) {
                    EXPECT_THROW(way(process), StoppingException_t) << script;
                }
                stopper.join();
                process.End();
                SetStopping(false);
                EXPECT_EQ(process.WaitFor(), 128 + SIGKILL) << script;
            }
        }
    }
}

TEST_F(Stopping, NoSuchProgramIsStartedAnyMoreAndOthersGoOn) {
    SetStopping(true);
    EXPECT_THROW(Start("true"), StoppingException_t);
    Command_t other("true");
    EXPECT_EQ(other.Execute().WaitFor(), 0);
    SetStopping(false);
    EXPECT_EQ(Start("true").WaitFor(), 0);
}

TEST_F(Stopping, AProgramThatIsAskedToEndMayDoSoInItsOwnWay) {
    const Process_t process = Start("trap 'exit 7' TERM; echo; while :; do sleep 0.01; done", kHour);
    ReadLine(process);
    process.Terminate(kHour);
    EXPECT_EQ(process.WaitFor(), 7);
    process.Terminate(kHour);
    EXPECT_EQ(process.WaitFor(), 7) << "its end was collected: nobody else gets a signal";
}

TEST_F(Stopping, AProgramThatDoesNotHearIsEndedByForceWithItsChildren) {
    const Process_t process = Start("trap '' TERM; sleep 1000 & echo $!; wait; sleep 1000", kHour);
    const pid_t child = std::stoi(ReadLine(process));
    process.Terminate(1);
    EXPECT_EQ(process.WaitFor(), 128 + SIGKILL);
    EXPECT_TRUE(IsGone(child));
}

TEST_F(Stopping, TheChildrenOfAProgramThatEndsAtOnceGoWithIt) {
    const Process_t process = Start("(trap '' TERM; echo ready; exec sleep 1000) & echo $!; wait", kHour);
    LumPalIo::DataInputStream_t lines(process.GetStandardOutput());
    std::string number;
    for (int i = 0; i < 2; ++i) {
        const CharArray_t line = lines.ReadLine();
        const std::string text(line.GetData(), line.GetLength());
        if (text != "ready") number = text;
    }
    process.Terminate(kHour);
    EXPECT_EQ(process.WaitFor(), 128 + SIGTERM);
    EXPECT_TRUE(IsGone(std::stoi(number)));
}

TEST_F(Stopping, AProgramLeadsAGroupOfItsOwnOnlyWhereSignalsDoNotEndItsParent) {
    const auto groupOf = [](const Process_t& process) { return getpgid(static_cast<pid_t>(process.GetPid())); };
    const Process_t here = Start("exec sleep 1000");
    EXPECT_FALSE(LumPalRuntime::TakesSignals());
    EXPECT_EQ(groupOf(here), getpgrp());
    here.End();
    ForkedProcess daemon([&] {
        const LumPalRuntime::Signals_t signals;
        if (!LumPalRuntime::TakesSignals()) throw std::runtime_error("its signals are not taken");
        const Process_t tool = Start("exec sleep 1000");
        const bool leads = groupOf(tool) == tool.GetPid();
        tool.End();
        tool.WaitFor();
        if (!leads) throw std::runtime_error("it leads no group");
    });
    EXPECT_EQ(daemon.Wait(), 0);
}

}  // namespace
