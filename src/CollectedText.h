/// @file
/// The text of an element while it comes in pieces.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "LumPalStr.h"

namespace LumConf {

/// A short text is collected in a buffer that is used again and again; a long one in the string that it becomes,
/// so that it is never held twice. One thread at a time.
class CollectedText {
public:
    void Append(const char16_t* units, std::uint32_t length);
    /// Shares the text.
    void Set(const LumPalStr::String_t& text);
    void Clear();
    /// Valid until the next change.
    std::u16string_view View() const noexcept;
    /// A short text as a string of its own, without spare room; a long one is shared.
    LumPalStr::String_t Get() const;

private:
    bool IsLong() const noexcept { return !longText.IsEmpty(); }

    std::u16string shortText;      ///< empty while the text is long
    LumPalStr::String_t longText;  ///< empty while it is short
};

}  // namespace LumConf
