#include "Fault.h"

#include <cerrno>

namespace LumPalIo {

constinit std::atomic<FaultHook> faultHook{nullptr};
constinit std::atomic<FileObserver> fileObserver{nullptr};

bool AskFaultHook(FaultHook hook, const char* operation, const char* path) noexcept {
    errno = 0;
    const bool fails = hook(operation, path);
    if (fails && errno == 0) errno = EIO;
    return fails;
}

void SetFaultHookForTest(FaultHook hook) noexcept {
    faultHook.store(hook, std::memory_order_relaxed);
}

void SetFileObserverForTest(FileObserver observer) noexcept {
    fileObserver.store(observer, std::memory_order_relaxed);
}

}  // namespace LumPalIo
