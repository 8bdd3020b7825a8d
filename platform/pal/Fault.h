/// @file
/// Asking the fault hook.
#pragma once

#include <atomic>

#include "LumPalFault.h"

namespace LumPalIo {

extern std::atomic<FaultHook> faultHook;

/// True when a test wants the operation to fail; errno is EIO then.
bool AskFaultHook(FaultHook hook, const char* operation, const char* path) noexcept;

inline bool FaultAt(const char* operation, const char* path) noexcept {
    const FaultHook hook = faultHook.load(std::memory_order_relaxed);
    return hook && AskFaultHook(hook, operation, path);
}

}  // namespace LumPalIo
