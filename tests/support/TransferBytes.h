/// @file
/// The bytes in which policies travel, put together without the code that writes them.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "TestPolicy.h"

namespace transfer {

/// Four bytes, the highest first.
inline std::string Int(std::size_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

/// The number of UTF-16 units, then each unit in two bytes, the higher first.
inline std::string Name(const std::u16string& name) {
    std::string bytes = Int(name.size());
    for (const char16_t unit : name) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    return bytes;
}

inline std::string Entry(const std::u16string& name, const std::string& content) {
    return Name(name) + Int(content.size()) + content;
}

/// A policy whose names are ASCII.
inline std::string Policy(const TestPolicy& policy) {
    const auto widen = [](const std::string& text) { return std::u16string(text.begin(), text.end()); };
    std::string bytes = Int(policy.data.size() + 1) + Entry(widen(policy.HeaderName()), policy.Document());
    for (const auto& [name, content] : policy.data) bytes += Entry(widen(name), content);
    return bytes;
}

inline std::string Package(const std::vector<TestPolicy>& policies) {
    std::string bytes = Int(policies.size());
    for (const TestPolicy& policy : policies) bytes += Policy(policy);
    return bytes;
}

}  // namespace transfer
