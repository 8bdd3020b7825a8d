/// @file
/// A check that the parser library leaves out.
#pragma once

#include <cstddef>
#include <string_view>

namespace LumPalXml {

/// Looks for lead surrogates without a trail in documents in UTF-16: the library would take one
/// together with whatever unit follows, markup included. Other documents pass.
class Utf16Check {
public:
    /// Looks at the next bytes of a document.
    /// @return how many of them are good: `length`, or fewer before a unit that breaks a pair
    std::size_t Accept(const char* bytes, std::size_t length) noexcept;
    /// Whether the document has a '&' at these bytes, which were accepted.
    bool IsAmpersand(std::string_view bytes) const noexcept;

private:
    enum class Kind { Unknown, Other, BigEndian, LittleEndian };
    void Detect(unsigned char second) noexcept;
    bool AcceptUnit(unsigned char second) noexcept;

    Kind kind = Kind::Unknown;
    bool isHalf = false, isLead = false;
    unsigned char half = 0;
};

}  // namespace LumPalXml
