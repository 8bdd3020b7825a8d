#include "LogText.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "LocalTime.h"
#include "LumPalConsole.h"

namespace LumPalLog {

using LumPalMsg::Message_t;
using LumPalMsg::Severity_e;
using LumPalStr::String_t;

namespace {

bool IsBlankOrControl(char32_t character) noexcept {
    const auto code = static_cast<UChar32>(character);
    constexpr std::uint32_t kBlanksAndControls = U_GC_CC_MASK | U_GC_CF_MASK | U_GC_Z_MASK;
    const bool hasSign = u_hasBinaryProperty(code, UCHAR_PREPENDED_CONCATENATION_MARK);
    return (U_MASK(u_charType(code)) & kBlanksAndControls) != 0 && !hasSign;
}

// Whether a reader sees the character, and does not take it for an ordinary blank.
bool IsVisible(char32_t character) noexcept {
    if (character >= 0x20 && character < 0x7F) return true;
    constexpr char32_t kBrailleBlank = 0x2800;
    return character != kBrailleBlank && !IsBlankOrControl(character) &&
           !u_hasBinaryProperty(static_cast<UChar32>(character), UCHAR_DEFAULT_IGNORABLE_CODE_POINT);
}

void AppendEscape(std::u16string& out, char32_t character) {
    const char* const format = character <= 0x9F ? "\\x%02x" : character <= 0xFFFF ? "\\u%04x" : "\\U%08x";
    char escape[12];
    const int length = std::snprintf(escape, sizeof escape, format, static_cast<unsigned>(character));
    out.append(escape, escape + length);
}

bool IsHexDigit(char16_t unit) noexcept {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'f') || (unit >= u'A' && unit <= u'F');
}

/// Whether a text begins with what AppendEscape writes.
bool LooksLikeEscape(std::u16string_view text) noexcept {
    if (text.size() < 2 || text[0] != u'\\') return false;
    const std::size_t digits = text[1] == u'x' ? 2 : text[1] == u'u' ? 4 : text[1] == u'U' ? 8 : 0;
    const std::u16string_view number = text.substr(2, digits);
    return digits > 0 && number.size() == digits && std::all_of(number.begin(), number.end(), IsHexDigit);
}

/// The character at the begin of a text: one unit, or a pair of surrogates.
char32_t FirstCharacter(std::u16string_view text) noexcept {
    const bool isPair = text.size() > 1 && (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
    return isPair ? 0x10000u + ((text[0] & 0x3FFu) << 10) + (text[1] & 0x3FFu) : text[0];
}

const char* WordOf(Severity_e severity) noexcept {
    switch (severity) {
        case Severity_e::None:
            return "-";
        case Severity_e::Info:
            return "INFO";
        case Severity_e::Warning:
            return "WARNING";
        case Severity_e::Error:
            return "ERROR";
    }
    return "-";
}

std::string_view MarkOf(Severity_e severity) noexcept {
    using LumPalConsole::Priority;
    if (severity == Severity_e::Error) return LumPalConsole::JournalMark(Priority::Error);
    return LumPalConsole::JournalMark(severity == Severity_e::Warning ? Priority::Warning : Priority::Info);
}

void AppendDetails(std::string& out, const Message_t& message, DetailStyle style, std::size_t level,
                   std::string_view mark = {}) {
    const LumPalMsg::MessageList_t details = message.GetDetails();
    for (int i = 0; i < details.GetMessageCount(); ++i) {
        const Message_t detail = details.GetMessage(i);
        out += style == DetailStyle::SameLine ? " | " : "\n";
        if (style != DetailStyle::SameLine) out.append(mark).append(2 * level, ' ');
        out += OneLine(detail.GetMessageText());
        AppendDetails(out, detail, style, level + 1, mark);
    }
}

}  // namespace

std::string OneLine(const String_t& text) {
    std::u16string out;
    for (std::u16string_view rest = text.View(); !rest.empty();) {
        const char32_t character = FirstCharacter(rest);
        const std::size_t units = character > 0xFFFF ? 2 : 1;
        if (IsVisible(character) && !LooksLikeEscape(rest)) {
            out += rest.substr(0, units);
        } else {
            AppendEscape(out, character);
        }
        rest.remove_prefix(units);
    }
    return String_t(out.data(), static_cast<std::uint32_t>(out.size())).ToUtf8();
}

std::string LogLines(const LumPalMsg::MessageList_t& messages, DetailStyle style,
                     std::chrono::system_clock::time_point moment) {
    std::string out;
    for (int i = 0; i < messages.GetMessageCount(); ++i) out += LogLines(messages.GetMessage(i), style, moment);
    return out;
}

std::string JournalLines(const LumPalMsg::MessageList_t& messages, DetailStyle style) {
    std::string out;
    for (int i = 0; i < messages.GetMessageCount(); ++i) {
        const Message_t message = messages.GetMessage(i);
        const std::string_view mark = MarkOf(message.GetSeverity());
        if (mark.empty()) return {};
        out.append(mark) += OneLine(message.GetMessageText());
        AppendDetails(out, message, style, 1, mark);
        out += '\n';
    }
    return out;
}

std::string LogLines(const Message_t& message, DetailStyle style, std::chrono::system_clock::time_point moment) {
    std::string out = LumPal::LocalTimeText(moment) + " " + WordOf(message.GetSeverity()) + " ";
    out += OneLine(message.GetMessageText());
    AppendDetails(out, message, style, 1);
    return out += '\n';
}

}  // namespace LumPalLog
