/// @file
/// Tells when a thread waits.
#pragma once

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

/// Returns when a thread sleeps in the system.
/// @param id  of the thread (gettid); 0 until it is known
inline void WaitUntilAsleep(const std::atomic<pid_t>& id) {
    for (;; std::this_thread::yield()) {
        if (id == 0) continue;
        std::ifstream file("/proc/self/task/" + std::to_string(id) + "/stat");
        std::string status;
        std::getline(file, status);
        // "7 (name) S ...": a name may hold anything.
        const auto end = status.rfind(')');
        if (end != status.npos && status.compare(end, 3, ") S") == 0) return;
    }
}
