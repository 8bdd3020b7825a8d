/// @file
/// Going through the fields of a line that a tool printed, one after another, where white space of any kind may stand
/// around them. For one piece of a line: ToolText.h. For texts whose form is ours: LumPalColumns.h.
#pragma once

#include <cstdint>

#include "LumPalStr.h"

namespace LumConfCluster {

/// A trimmed line, of which one field after the other is taken: what stands before the next separator. White space
/// behind a separator belongs to no field, so that several blanks are one separator. Going through a line costs its
/// length, whatever it holds. A value; one thread.
class ToolFields {
public:
    /// @param separators  each of these characters is one
    ToolFields(const LumPalStr::String_t& line, const char* separators)
        : text(LumPalStr::String_t(line).Trim()), separators(separators) {}
    /// Nothing is left, so that there is no further field.
    bool IsEmpty() const noexcept { return position >= text.GetLength(); }
    /// Empty, too, when there is none.
    LumPalStr::String_t Next();
    ToolFields& Skip(int count);
    /// All that is left.
    LumPalStr::String_t Rest() const { return text.Mid(position); }

private:
    LumPalStr::String_t text;
    LumPalStr::String_t separators;
    std::uint32_t position = 0;
};

/// The words of a line, which blanks or tabs stand between.
inline ToolFields WordsOf(const LumPalStr::String_t& line) {
    return {line, " \t"};
}

}  // namespace LumConfCluster
