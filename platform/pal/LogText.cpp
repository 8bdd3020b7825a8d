#include "LogText.h"

#include <cstdio>

#include "LocalTime.h"

namespace LumPalLog {

using LumPalMsg::Message_t;
using LumPalMsg::Severity_e;
using LumPalStr::String_t;

namespace {

bool IsControl(char16_t unit) noexcept {
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F);
}

// Marks that a terminal or editor obeys: line and paragraph separator, direction marks and overrides.
bool IsLayoutMark(char16_t unit) noexcept {
    return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x2028 && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069);
}

void AppendEscape(std::u16string& out, const char* format, char16_t unit) {
    char escape[8];
    const int length = std::snprintf(escape, sizeof escape, format, static_cast<unsigned>(unit));
    out.append(escape, escape + length);
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

void AppendDetails(std::string& out, const Message_t& message, DetailStyle style, std::size_t level) {
    const LumPalMsg::MessageList_t details = message.GetDetails();
    for (int i = 0; i < details.GetMessageCount(); ++i) {
        const Message_t detail = details.GetMessage(i);
        out += style == DetailStyle::SameLine ? " | " : "\n";
        if (style != DetailStyle::SameLine) out.append(2 * level, ' ');
        out += OneLine(detail.GetMessageText());
        AppendDetails(out, detail, style, level + 1);
    }
}

}  // namespace

std::string OneLine(const String_t& text) {
    std::u16string out;
    for (const char16_t unit : text.View()) {
        if (IsControl(unit)) {
            AppendEscape(out, "\\x%02x", unit);
        } else if (IsLayoutMark(unit)) {
            AppendEscape(out, "\\u%04x", unit);
        } else {
            out += unit;
        }
    }
    return String_t(out.data(), static_cast<std::uint32_t>(out.size())).ToUtf8();
}

std::string LogLines(const Message_t& message, DetailStyle style, std::chrono::system_clock::time_point moment) {
    std::string out = LumPal::LocalTimeText(moment) + " " + WordOf(message.GetSeverity()) + " ";
    out += OneLine(message.GetMessageText());
    AppendDetails(out, message, style, 1);
    return out += '\n';
}

}  // namespace LumPalLog
