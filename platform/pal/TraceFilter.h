/// @file
/// Which trace components are wanted, and up to which level.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace LumPalTrc {

/// A list such as "conf.policy:3,conf.message" or "*". Blanks around a part count for nothing; a
/// part without a name, or whose level is no number, is left out.
class TraceFilter {
public:
    /// @param text  null is an empty list
    explicit TraceFilter(const char* text);
    bool IsEmpty() const noexcept { return wanted.empty(); }
    bool IsOn(std::string_view component, int level) const noexcept;

private:
    struct Wanted {
        std::string component;
        int maxLevel;
    };
    void Add(std::string_view part);

    std::vector<Wanted> wanted;
};

}  // namespace LumPalTrc
