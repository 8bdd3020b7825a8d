/// @file
/// What was traced while an object of this class lives.
#pragma once

#include <mutex>
#include <string>

#include "LumPalTrc.h"

class TraceLines {
public:
    bool Contains(const std::string& text) const {
        std::lock_guard<std::mutex> lock(mutex);
        return lines.find(text) != std::string::npos;
    }

private:
    mutable std::mutex mutex;
    std::string lines;
    LumPalTrc::ScopedListener_t listener{[this](const char*, int, const LumPalStr::String_t& text) {
        std::lock_guard<std::mutex> lock(mutex);
        lines += text.ToUtf8() + "\n";
    }};
};
