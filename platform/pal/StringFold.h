/// @file
/// Case folding of single units, the same in every locale.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace LumPalStr {

/// Walks a text unit by unit and folds its case on the way, by Unicode's simple case folding: it turns one
/// character into one of as many units, so that positions stay.
class FoldCursor {
public:
    explicit FoldCursor(std::u16string_view text) noexcept : text(text) {}
    bool AtEnd() const noexcept { return position == text.size(); }
    /// The next unit; not at the end.
    char16_t Next() noexcept {
        const char16_t unit = text[position++];
        if (unit < 0x80) return static_cast<char16_t>(unit >= u'A' && unit <= u'Z' ? unit | 0x20 : unit);
        return NextBeyondAscii(unit);
    }

private:
    char16_t NextBeyondAscii(char16_t unit) noexcept;

    std::u16string_view text;
    std::size_t position = 0;
    /// The second half of a folded pair whose first half was given out.
    char16_t trail = 0;
};

}  // namespace LumPalStr
