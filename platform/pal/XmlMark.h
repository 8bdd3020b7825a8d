/// @file
/// The byte order mark of a document.
#pragma once

#include <string_view>

namespace LumPalXml {

/// What the first bytes of a document say of its encoding (XML 1.0, 4.3.3 and appendix F).
class ByteOrderMark {
public:
    /// No mark.
    ByteOrderMark() = default;
    /// @param start  the first bytes of a document, three or more if it has them
    explicit ByteOrderMark(std::string_view start) noexcept;
    /// Whether a document with this mark may declare the encoding; without a mark any. Case does not count.
    bool Allows(std::string_view encoding) const noexcept;

private:
    struct Row;
    static const Row kRows[];
    const Row* row = nullptr;
};

}  // namespace LumPalXml
