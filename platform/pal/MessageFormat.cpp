#include "MessageFormat.h"

#include <string>
#include <string_view>

namespace LumPalMsg {

using LumPalStr::String_t;

namespace {

bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

/// Reads the hole that begins at the percent sign; number 0 when none does.
struct Hole {
    Hole(std::u16string_view text, std::size_t percent) {
        std::size_t at = percent + 1;
        if (at >= text.size() || !IsDigit(text[at]) || text[at] == u'0') return;
        number = text[at++] - u'0';
        if (at < text.size() && IsDigit(text[at])) number = number * 10 + (text[at++] - u'0');
        end = at;
    }
    std::size_t number = 0;
    std::size_t end = 0;
};

String_t FromView(std::u16string_view view) {
    return {view.data(), static_cast<std::uint32_t>(view.size())};
}

}  // namespace

String_t FillHoles(const String_t& text, const std::vector<String_t>& arguments) {
    if (arguments.empty()) return text;
    const std::u16string_view view = text.View();
    std::u16string filled;
    std::size_t done = 0;
    for (std::size_t at = view.find(u'%'); at != view.npos; at = view.find(u'%', at)) {
        const Hole hole(view, at++);
        if (hole.number == 0 || hole.number > arguments.size()) continue;
        filled.append(view, done, at - 1 - done).append(arguments[hole.number - 1].View());
        done = at = hole.end;
    }
    return FromView(filled.append(view, done));
}

String_t Indent(const String_t& text, int level) {
    if (level <= 0) return text;
    const std::u16string blanks(2 * static_cast<std::size_t>(level), u' ');
    std::u16string indented = blanks;
    for (const char16_t unit : text.View()) {
        indented += unit;
        if (unit == u'\n') indented += blanks;
    }
    return FromView(indented);
}

}  // namespace LumPalMsg
