/// @file
/// Asking the fault hook, and telling the observer.
#pragma once

#include <atomic>

#include "LumPalFault.h"

namespace LumPalIo {

extern std::atomic<FaultHook> faultHook;
extern std::atomic<FileObserver> fileObserver;

/// True when a test wants the operation to fail; errno is EIO then.
bool AskFaultHook(FaultHook hook, const char* operation, const char* path) noexcept;

inline bool FaultAt(const char* operation, const char* path) noexcept {
    const FaultHook hook = faultHook.load(std::memory_order_relaxed);
    return hook && AskFaultHook(hook, operation, path);
}

/// Tells a test what was done.
inline void Observe(const char* operation, const char* path, const char* target = nullptr) noexcept {
    const FileObserver observer = fileObserver.load(std::memory_order_relaxed);
    if (observer) observer(operation, path, target);
}

}  // namespace LumPalIo
