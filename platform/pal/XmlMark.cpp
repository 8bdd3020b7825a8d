#include "XmlMark.h"

#include <algorithm>

namespace LumPalXml {
namespace {

char Upper(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool IsSame(std::string_view encoding, std::string_view upperCase) noexcept {
    return std::equal(encoding.begin(), encoding.end(), upperCase.begin(), upperCase.end(),
                      [](char a, char b) { return Upper(a) == b; });
}

}  // namespace

struct ByteOrderMark::Row {
    std::string_view bytes, encoding, alsoCalled;
};

const ByteOrderMark::Row ByteOrderMark::kRows[] = {
    {"\xEF\xBB\xBF", "UTF-8", "UTF-8"},
    {"\xFE\xFF", "UTF-16", "UTF-16BE"},
    {"\xFF\xFE", "UTF-16", "UTF-16LE"},
};

ByteOrderMark::ByteOrderMark(std::string_view start) noexcept {
    for (const Row& candidate : kRows) {
        if (start.starts_with(candidate.bytes)) row = &candidate;
    }
}

bool ByteOrderMark::Allows(std::string_view encoding) const noexcept {
    return !row || IsSame(encoding, row->encoding) || IsSame(encoding, row->alsoCalled);
}

}  // namespace LumPalXml
