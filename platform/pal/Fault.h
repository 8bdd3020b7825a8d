/// @file
/// Asking the fault hook, and telling the observer.
#pragma once

#include <atomic>

#include "LumPalFault.h"

namespace LumPalIo {

extern std::atomic<FaultHook> faultHook;
extern std::atomic<FileObserver> fileObserver;

/// True when a test wants the operation to fail; errno is EIO then.
bool AskFaultHook(const char* operation, const char* path) noexcept;
void TellObserver(const char* operation, const char* path, const char* target) noexcept;

inline bool FaultAt(const char* operation, const char* path) noexcept {
    return faultHook.load(std::memory_order_relaxed) && AskFaultHook(operation, path);
}

/// Tells a test what was done.
inline void Observe(const char* operation, const char* path, const char* target = nullptr) noexcept {
    if (fileObserver.load(std::memory_order_relaxed)) TellObserver(operation, path, target);
}

}  // namespace LumPalIo
