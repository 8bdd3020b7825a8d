/// @file
/// Cutting a line into what stands between its blanks: views of a text whose form is ours (configuration, rights,
/// headers of requests, tables), where the caller names the blanks. What the tools of others print is cut by the two
/// headers of the cluster adapters that begin with "Tool": texts of their own, for which every white space counts.
#pragma once

#include <string_view>
#include <type_traits>

namespace LumPalStr {

/// A view, where no argument is to decide of which characters.
template <class Char>
using SameView = std::type_identity_t<std::basic_string_view<Char>>;

/// The text without these characters at its end. A part of the text, which must outlive it, as in all that follows.
template <class Char>
constexpr std::basic_string_view<Char> TrimmedEnd(std::basic_string_view<Char> text, SameView<Char> blanks) noexcept {
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// The text without these characters at both ends; empty when there are no others.
template <class Char>
constexpr std::basic_string_view<Char> Trimmed(std::basic_string_view<Char> text, SameView<Char> blanks) noexcept {
    text = TrimmedEnd(text, blanks);
    text.remove_prefix(text.empty() ? 0 : text.find_first_not_of(blanks));
    return text;
}

/// Takes the first column off the front of a text.
/// @return what stands before the first run of blanks, or of those behind blanks at the front; empty when there is none
template <class Char>
constexpr std::basic_string_view<Char> TakeColumn(std::basic_string_view<Char>& text, SameView<Char> blanks) noexcept {
    const auto start = text.find_first_not_of(blanks);
    text.remove_prefix(start == text.npos ? text.size() : start);
    const auto column = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(column.size());
    return column;
}

}  // namespace LumPalStr
