/// @file
/// Tells when a thread waits.
#pragma once

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>

#include "Configure.h"

/// Waits until a thread sleeps in the system. @return whether it did before it ended, and within a while
/// @param id  of the thread (gettid); 0 until it is known
inline bool FallsAsleep(const std::atomic<pid_t>& id) {
    return Eventually([&id] {
        if (id == 0) return false;
        std::ifstream file("/proc/self/task/" + std::to_string(id) + "/stat");
        std::string status;
        std::getline(file, status);
        // "7 (name) S ...": a name may hold anything.
        const auto end = status.rfind(')');
        return end != status.npos && status.compare(end, 3, ") S") == 0;
    });
}
