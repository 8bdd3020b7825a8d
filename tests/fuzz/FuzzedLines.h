/// @file
/// A fuzzer's bytes as the lines that a tool printed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "LumPalStr.h"

/// The lines of an output, as a tool's reader gets them.
struct FuzzedLines {
    FuzzedLines(const std::uint8_t* data, std::size_t size)
        : whole(LumPalStr::String_t::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size))) {
        for (std::uint32_t start = 0; start < whole.GetLength();) {
            const std::uint32_t end = whole.Find("\n", start);
            lines.push_back(whole.Mid(start, end));
            if (end == LumPalStr::NotFound) break;
            start = end + 1;
        }
    }
    /// Ends the program unless the text is a part of a line.
    void ExpectPrinted(const LumPalStr::String_t& text) const {
        if (whole.Find(text) == LumPalStr::NotFound || text.Find("\n") != LumPalStr::NotFound) std::abort();
    }

    LumPalStr::String_t whole;
    std::vector<LumPalStr::String_t> lines;
};
