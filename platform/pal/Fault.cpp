#include "Fault.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace LumPalIo {

constinit std::atomic<FaultHook> faultHook{nullptr};
constinit std::atomic<FileObserver> fileObserver{nullptr};

namespace {

constinit std::atomic<int> inUse{0};
thread_local int inUseHere = 0;

/// A thread that is about to call what a test has set.
struct InUse {
    InUse() noexcept {
        ++inUse;
        ++inUseHere;
    }
    ~InUse() {
        --inUseHere;
        --inUse;
    }
};

/// What the test had set may use what it takes away now: other threads leave it first. Not for ever, since of those
/// that were in it a forked process has none.
void AwaitOthers() noexcept {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (inUse > inUseHere && std::chrono::steady_clock::now() < until) std::this_thread::yield();
}

}  // namespace

bool AskFaultHook(const char* operation, const char* path) noexcept {
    const InUse use;
    const FaultHook hook = faultHook;
    if (!hook) return false;
    errno = 0;
    const bool fails = hook(operation, path);
    if (fails && errno == 0) errno = EIO;
    return fails;
}

void TellObserver(const char* operation, const char* path, const char* target) noexcept {
    const InUse use;
    if (const FileObserver observer = fileObserver) observer(operation, path, target);
}

void SetFaultHookForTest(FaultHook hook) noexcept {
    faultHook = hook;
    AwaitOthers();
}

void SetFileObserverForTest(FileObserver observer) noexcept {
    fileObserver = observer;
    AwaitOthers();
}

}  // namespace LumPalIo
