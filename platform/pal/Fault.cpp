#include "Fault.h"

#include <cerrno>

namespace LumPalIo {

constinit std::atomic<FaultHook> faultHook{nullptr};

bool AskFaultHook(FaultHook hook, const char* operation, const char* path) noexcept {
    const bool fails = hook(operation, path);
    if (fails) errno = EIO;
    return fails;
}

void SetFaultHookForTest(FaultHook hook) noexcept {
    faultHook.store(hook, std::memory_order_relaxed);
}

}  // namespace LumPalIo
