#include "XmlText.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace LumPalXml {
namespace {

bool IsTrail(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}

bool IsPlainUnit(char16_t unit) noexcept {
    if (unit < 0x20) return unit == '\t' || unit == '\n' || unit == '\r';
    return unit < 0xD800 || (unit > 0xDFFF && unit < 0xFFFE);
}

struct Range {
    char32_t first, last;
};

// XML 1.0 (fifth edition), productions 4 and 4a, without the colon.
constexpr Range NameStarts[] = {{'A', 'Z'},       {'_', '_'},       {'a', 'z'},        {0xC0, 0xD6},
                                {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},    {0x37F, 0x1FFF},
                                {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},  {0x3001, 0xD7FF},
                                {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
constexpr Range NameOthers[] = {{'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <std::size_t N>
bool IsIn(const Range (&ranges)[N], char32_t code) noexcept {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const Range& r) { return code >= r.first && code <= r.last; });
}

bool IsNameStart(char32_t code) noexcept {
    return IsIn(NameStarts, code);
}
bool IsNameChar(char32_t code) noexcept {
    return IsNameStart(code) || IsIn(NameOthers, code);
}

constexpr std::size_t BlockSize = 16;

bool IsAsciiBlock(const char* bytes) noexcept {
    std::uint64_t words[2];
    std::memcpy(words, bytes, BlockSize);
    return ((words[0] | words[1]) & 0x8080808080808080u) == 0;
}

// A sequence's length by its first byte. Only well-formed text comes here.
std::size_t SequenceLength(unsigned char first) noexcept {
    if (first < 0x80) return 1;
    if (first < 0xE0) return 2;
    return first < 0xF0 ? 3 : 4;
}

char32_t Decode(const char* bytes, std::size_t count) noexcept {
    static constexpr unsigned char Masks[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t code = static_cast<unsigned char>(bytes[0]) & Masks[count];
    for (std::size_t i = 1; i < count; ++i) code = code << 6 | (static_cast<unsigned char>(bytes[i]) & 0x3F);
    return code;
}

}  // namespace

std::size_t FindIllegalChar(std::u16string_view text, std::size_t from) noexcept {
    for (std::size_t i = from; i < text.size(); ++i) {
        if (IsPlainUnit(text[i])) continue;
        if (!IsLead(text[i]) || i + 1 == text.size() || !IsTrail(text[i + 1])) return i;
        ++i;
    }
    return text.size();
}

char32_t NextCode(std::u16string_view text, std::size_t& position) noexcept {
    const char16_t unit = text[position++];
    if (!IsLead(unit) || position == text.size() || !IsTrail(text[position])) return unit;
    return 0x10000 + ((unit & 0x3FFu) << 10) + (text[position++] & 0x3FFu);
}

bool IsNcName(std::u16string_view text) noexcept {
    if (text.empty()) return false;
    std::size_t position = 0;
    if (!IsNameStart(NextCode(text, position))) return false;
    while (position < text.size()) {
        if (!IsNameChar(NextCode(text, position))) return false;
    }
    return true;
}

std::size_t Widen(const char* utf8, std::size_t length, char16_t* target) noexcept {
    char16_t* out = target;
    std::size_t i = 0;
    while (i < length) {
        while (length - i >= BlockSize && IsAsciiBlock(utf8 + i)) {
            for (std::size_t k = 0; k < BlockSize; ++k) out[k] = static_cast<unsigned char>(utf8[i + k]);
            i += BlockSize;
            out += BlockSize;
        }
        while (i < length && static_cast<unsigned char>(utf8[i]) < 0x80) *out++ = static_cast<char16_t>(utf8[i++]);
        if (i == length) break;
        const std::size_t count = std::min(SequenceLength(static_cast<unsigned char>(utf8[i])), length - i);
        const char32_t code = Decode(utf8 + i, count);
        i += count;
        if (code < 0x10000) {
            *out++ = static_cast<char16_t>(code);
        } else {
            *out++ = static_cast<char16_t>(0xD7C0 + (code >> 10));
            *out++ = static_cast<char16_t>(0xDC00 | (code & 0x3FF));
        }
    }
    return static_cast<std::size_t>(out - target);
}

void AppendUtf8(std::string& target, char32_t code) {
    if (code < 0x80) {
        target += static_cast<char>(code);
    } else if (code < 0x800) {
        target += {static_cast<char>(0xC0 | code >> 6), static_cast<char>(0x80 | (code & 0x3F))};
    } else if (code < 0x10000) {
        target += {static_cast<char>(0xE0 | code >> 12), static_cast<char>(0x80 | (code >> 6 & 0x3F)),
                   static_cast<char>(0x80 | (code & 0x3F))};
    } else {
        target += {static_cast<char>(0xF0 | code >> 18), static_cast<char>(0x80 | (code >> 12 & 0x3F)),
                   static_cast<char>(0x80 | (code >> 6 & 0x3F)), static_cast<char>(0x80 | (code & 0x3F))};
    }
}

}  // namespace LumPalXml
