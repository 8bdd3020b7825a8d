/// @file
/// A process that does part of a test, and one that crashes on the way.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "LumPalFault.h"

/// Runs a function in a copy of this process. Other threads do not run in the copy: what it uses must not wait for any.
class ForkedProcess {
public:
    explicit ForkedProcess(const std::function<void()>& action) : id(Copy()) {
        if (id < 0) throw std::runtime_error("cannot fork");
        if (id == 0) Run(action);
    }
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;
    ~ForkedProcess() {
        if (HasEnded()) return;
        kill(id, SIGKILL);
        Wait();
    }
    bool HasEnded() {
        if (id > 0) Reap(WNOHANG);
        return id == 0;
    }
    /// Waits for the end. @return 0 when the function returned, 1 when it threw, or the code that it ended with; -1
    ///                          when a signal ended it
    int Wait() {
        if (id > 0) Reap(0);
        return code;
    }

private:
    /// What another thread has locked at the moment of the copy stays locked in it for ever: none may be at work then,
    /// such as one that has just heard of a changed file.
    static pid_t Copy() {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!OtherThreadsSleep()) {
            if (std::chrono::steady_clock::now() > end) throw std::runtime_error("other threads never sleep");
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        return fork();
    }
    static bool OtherThreadsSleep() {
        const std::string self = std::to_string(gettid());
        for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
            if (thread.path().filename() == self) continue;
            std::ifstream file(thread.path() / "stat");
            const std::string stat{std::istreambuf_iterator<char>(file), {}};
            // A name in parentheses comes before the state; none of a thread that has just ended.
            const std::size_t name = stat.rfind(')');
            if (name != stat.npos && stat.substr(name, 3) != ") S") return false;
        }
        return true;
    }

    [[noreturn]] static void Run(const std::function<void()>& action) {
        try {
            action();
        } catch (const std::exception& e) {
            const std::string_view text = e.what();
            if (write(STDERR_FILENO, text.data(), text.size()) < 0) _exit(2);
            _exit(1);
        }
        _exit(0);
    }

    void Reap(int options) {
        int status = -1;
        const pid_t ended = waitpid(id, &status, options);
        if (ended == 0) return;
        id = 0;
        if (ended > 0 && WIFEXITED(status)) code = WEXITSTATUS(status);
    }

    pid_t id;
    int code = -1;
};

/// Ends this process, as by a crash, before its n-th file operation from now.
class CrashingOperations {
public:
    static constexpr int kCode = 42;
    /// @param torn  a write brings a few bytes into the file before the process ends
    /// @param fromApart  files cannot be renamed out of the folders that policies come from, as if the store were
    /// another
    ///                   file system; such renames do not count
    static void Start(int nth, bool torn, bool fromApart = false) {
        left = nth;
        tears = torn;
        apart = fromApart;
        LumPalIo::SetFaultHookForTest(Hook);
    }

private:
    static bool Hook(const char* operation, const char* path) {
        const std::string_view place = path;
        if (apart && std::string_view(operation) == "rename" && place.find("/conf_tmp/") != place.npos) return true;
        if (--left > 0) return false;
        if (tears && std::string_view(operation) == "write") Tear(path);
        _exit(kCode);
    }
    static void Tear(const char* path) {
        const std::string_view half = "[a]\nk=torn";
        const int file = open(path, O_WRONLY | O_CLOEXEC);
        if (file < 0 || write(file, half.data(), half.size()) < 0) _exit(3);
    }

    inline static std::atomic<int> left = 0;  ///< counted by every thread of the process
    inline static bool tears = false;
    inline static bool apart = false;
};

/// Does the action in a process that ends before its n-th file operation. @return false when there were fewer
inline bool CrashesAt(int nth, bool torn, const std::function<void()>& action) {
    ForkedProcess process([&] {
        CrashingOperations::Start(nth, torn);
        action();
    });
    const int code = process.Wait();
    EXPECT_TRUE(code == 0 || code == CrashingOperations::kCode) << "operation " << nth << " ended with " << code;
    return code == CrashingOperations::kCode;
}
