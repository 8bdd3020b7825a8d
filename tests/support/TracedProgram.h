/// @file
/// A program that is stopped at each flush of a file, so that a test can do something there.
#pragma once

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

/// Runs a program of its own process to its end and stops it, with all its threads, before each fsync, fdatasync and
/// syncfs. The caller has no other children meanwhile. One thread, the one that made it.
class TracedProgram {
public:
    /// @param execute  replaces the copy of this process with the program; it does not return
    explicit TracedProgram(const std::function<void()>& execute) : id(fork()) {
        if (id < 0) throw std::runtime_error("cannot fork");
        if (id == 0) {
            // The sanitizer that looks for leaks traces itself, and gives up where somebody else does.
            setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(2);
            raise(SIGSTOP);
            execute();
            _exit(2);
        }
        int status = 0;
        waitpid(id, &status, 0);
        const auto options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;
        if (ptrace(PTRACE_SETOPTIONS, id, nullptr, options) != 0) throw std::runtime_error("cannot trace a program");
    }
    TracedProgram(const TracedProgram&) = delete;
    TracedProgram& operator=(const TracedProgram&) = delete;

    /// @param atFlush  called before the n-th flush, from 1; false ends the program instead of it
    /// @return its exit code, or -1 when a signal ended it
    int Run(const std::function<bool(int)>& atFlush) {
        Continue(id, 0);
        for (int flushes = 0, status = 0;;) {
            const pid_t thread = waitpid(-1, &status, __WALL);
            if (thread < 0) throw std::runtime_error("lost a traced program");
            if (WIFSTOPPED(status)) {
                if (IsAtFlush(thread, status) && !atFlush(++flushes)) kill(id, SIGKILL);
                Continue(thread, SignalOf(status));
            } else if (thread == id) {
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
        }
    }

private:
    static constexpr int kAtCall = SIGTRAP | 0x80;

    static bool IsAtFlush(pid_t thread, int status) {
        __ptrace_syscall_info call{};
        if (WSTOPSIG(status) != kAtCall) return false;
        if (ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof call, &call) <= 0) return false;
        if (call.op != PTRACE_SYSCALL_INFO_ENTRY) return false;
        return call.entry.nr == SYS_fsync || call.entry.nr == SYS_fdatasync || call.entry.nr == SYS_syncfs;
    }
    /// The signal that the thread was stopped for and is to get; 0 when it was stopped for the tracer alone.
    static int SignalOf(int status) {
        const int signal = WSTOPSIG(status);
        return signal == kAtCall || signal == SIGTRAP || signal == SIGSTOP ? 0 : signal;
    }
    static void Continue(pid_t thread, int signal) {
        // One that was ended meanwhile is gone: the wait tells it.
        ptrace(PTRACE_SYSCALL, thread, nullptr, signal);
    }

    pid_t id;
};
