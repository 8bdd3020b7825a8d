#include "CfgText.h"

#include <algorithm>

#include "LumPalColumns.h"
#include "LumPalMsg.h"

namespace LumPalCfgFile {

using LumPalStr::String_t;

namespace {

constexpr std::uint32_t ShownUnits = 120;

struct EscapeRow {
    char16_t letter, unit;
};
constexpr EscapeRow Escapes[] = {{u'\\', u'\\'}, {u'n', u'\n'}, {u'r', u'\r'}, {u't', u'\t'},
                                 {u's', u' '},   {u'=', u'='},  {u'[', u'['},  {u'#', u'#'}};
constexpr char16_t HexEscape = u'u';
constexpr std::size_t HexDigits = 4;

bool IsControl(char16_t unit) noexcept {
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit == 0x2028 || unit == 0x2029;
}

bool IsSurrogate(char16_t unit) noexcept {
    return (unit & 0xF800) == 0xD800;
}

bool IsPair(std::u16string_view text, std::size_t at) noexcept {
    return at + 1 < text.size() && (text[at] & 0xFC00) == 0xD800 && (text[at + 1] & 0xFC00) == 0xDC00;
}

void AppendShort(std::u16string& result, char16_t unit) {
    const auto row = std::find_if(std::begin(Escapes), std::end(Escapes),
                                  [unit](const EscapeRow& candidate) { return candidate.unit == unit; });
    result += u'\\';
    result += row->letter;
}

void AppendHex(std::u16string& result, char16_t unit) {
    result += u'\\';
    result += HexEscape;
    for (int shift = 12; shift >= 0; shift -= 4) result += u"0123456789ABCDEF"[unit >> shift & 0xF];
}

bool HasShort(char16_t unit) noexcept {
    return unit == u'\\' || unit == u'\n' || unit == u'\r' || unit == u'\t';
}

bool ParseHex(std::u16string_view digits, char16_t& unit) noexcept {
    if (digits.size() < HexDigits) return false;
    unit = 0;
    for (const char16_t digit : digits.substr(0, HexDigits)) {
        const std::u16string_view known = u"0123456789ABCDEF0123456789abcdef";
        const std::size_t value = known.find(digit);
        if (value == std::u16string_view::npos) return false;
        unit = static_cast<char16_t>(unit << 4 | value % 16);
    }
    return true;
}

bool IsEndBlank(std::u16string_view text, std::size_t at) noexcept {
    return text[at] == u' ' && (at == 0 || at + 1 == text.size());
}

/// Whether neither a name nor a value of this kind needs a look at each unit of the part.
bool IsPlain(std::u16string_view text, std::size_t from, std::size_t to) noexcept {
    if (text.empty()) return true;
    if (text.front() == u' ' || text.front() == u'[' || text.front() == u'#' || text.back() == u' ') return false;
    const std::u16string_view part = text.substr(from, to - from);
    return std::all_of(part.begin(), part.end(),
                       [](char16_t unit) { return unit >= 0x20 && unit < 0x7F && unit != u'\\' && unit != u'='; });
}

template <class NeedsShort>
void Escape(std::u16string& result, std::u16string_view text, std::size_t from, std::size_t to, NeedsShort needsShort) {
    if (IsPlain(text, from, to)) {
        result += text.substr(from, to - from);
        return;
    }
    for (std::size_t i = from; i < to; ++i) {
        const char16_t unit = text[i];
        if (HasShort(unit) || IsEndBlank(text, i) || needsShort(i)) {
            AppendShort(result, unit);
        } else if (IsPair(text, i)) {
            result.append(text, i++, 2);
        } else if (IsControl(unit) || IsSurrogate(unit)) {
            AppendHex(result, unit);
        } else {
            result += unit;
        }
    }
}

}  // namespace

bool IsName(std::u16string_view text) noexcept {
    return !text.empty() && std::none_of(text.begin(), text.end(), IsControl);
}

void CheckName(const String_t& name) {
    if (IsName(name.View())) return;
    throw LumPalMsg::IllegalArgumentError_t(
        LumPalMsg::CreateError_t("'%1' cannot be the name of a namespace or an attribute.") << Shown(name));
}

String_t Shown(const String_t& name) {
    return name.GetLength() > ShownUnits ? name.Left(ShownUnits) + "..." : name;
}

std::u16string_view TrimBlanks(std::u16string_view text) noexcept {
    return LumPalStr::Trimmed(text, u" \t");
}

void AppendValue(std::u16string& line, std::u16string_view value) {
    Escape(line, value, 0, value.size(), [](std::size_t) { return false; });
}

std::size_t AppendPart(std::u16string& line, std::u16string_view value, std::size_t from, std::size_t units) {
    std::size_t to = units < value.size() - from ? from + units : value.size();
    if (to > from && to < value.size() && IsPair(value, to - 1)) ++to;
    Escape(line, value, from, to, [](std::size_t) { return false; });
    return to;
}

void AppendName(std::u16string& line, std::u16string_view name) {
    Escape(line, name, 0, name.size(),
           [name](std::size_t at) { return name[at] == u'=' || (at == 0 && (name[at] == u'[' || name[at] == u'#')); });
}

bool Unescape(std::u16string_view text, std::u16string& result) {
    result.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\') {
            result += text[i];
            continue;
        }
        if (++i == text.size()) return false;
        char16_t unit = 0;
        if (text[i] == HexEscape) {
            if (!ParseHex(text.substr(i + 1), unit)) return false;
            i += HexDigits;
        } else {
            const auto row = std::find_if(std::begin(Escapes), std::end(Escapes),
                                          [&](const EscapeRow& candidate) { return candidate.letter == text[i]; });
            if (row == std::end(Escapes)) return false;
            unit = row->unit;
        }
        result += unit;
    }
    return true;
}

std::size_t FindEquals(std::u16string_view line) noexcept {
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == u'=') return i;
        if (line[i] == u'\\') ++i;
    }
    return std::u16string_view::npos;
}

}  // namespace LumPalCfgFile
