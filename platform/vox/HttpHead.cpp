#include "HttpHead.h"

#include <algorithm>

namespace LumVoxMsg {
namespace {

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool IsDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool IsLetter(char c) {
    return Lower(c) >= 'a' && Lower(c) <= 'z';
}

/// Labels with dots between them (RFC 1123), an underscore taken for a letter; an IPv4 address is one too.
bool IsName(std::string_view text) {
    if (text.ends_with('.')) text.remove_suffix(1);
    if (text.empty() || text.size() > 253) return false;
    while (true) {
        const std::string_view label = text.substr(0, text.find('.'));
        const auto fits = [](char c) { return IsLetter(c) || c == '-' || c == '_' || (c >= '0' && c <= '9'); };
        if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-' ||
            !std::all_of(label.begin(), label.end(), fits))
            return false;
        if (label.size() == text.size()) return true;
        text.remove_prefix(label.size() + 1);
    }
}

bool IsLiteral6(std::string_view text) {
    return text.find(':') != std::string_view::npos && text.size() <= 45 &&
           text.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos;
}

/// A colon and a number, which may be missing.
bool IsPort(std::string_view text) {
    const std::string_view digits = text.substr(1);
    if (text.front() != ':' || digits.size() > 5) return false;
    return digits.empty() || (IsDigits(digits) && (digits.size() < 5 || digits <= "65535"));
}

/// How long "http://" or "https://" is at the beginning; 0 when there is neither.
std::size_t SchemeLength(std::string_view target) {
    for (const std::string_view scheme : {"http://", "https://"})
        if (SameWord(target.substr(0, scheme.size()), scheme)) return scheme.size();
    return 0;
}

std::size_t AuthorityEnd(std::string_view target, std::size_t begin) {
    return std::min(target.find_first_of("/?", begin), target.size());
}

HttpRefusal CheckLength(const HttpHead& head) {
    const std::size_t lengths = head.Count("Content-Length"), codings = head.Count("Transfer-Encoding");
    if (lengths > 0 && codings > 0) return {400, "Content-Length and Transfer-Encoding exclude each other."};
    if (lengths > 1) return {400, "There is more than one Content-Length."};
    if (lengths == 1 && !IsDigits(head.Only("Content-Length"))) return {400, "Content-Length is no number."};
    if (codings > 0 && head.version < 11) return {400, "HTTP/1.0 knows no Transfer-Encoding."};
    if (codings > 1) return {400, "There is more than one Transfer-Encoding."};
    if (codings == 1 && !SameWord(head.Only("Transfer-Encoding"), "chunked"))
        return {501, "The only transfer coding served is chunked."};
    if (lengths + codings == 0 && head.method == "POST") return {411, "The length of the body is missing."};
    return {};
}

}  // namespace

bool SameWord(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return Lower(x) == Lower(y); });
}

std::size_t HttpHead::Count(std::string_view name) const {
    return static_cast<std::size_t>(std::count_if(
        fields.begin(), fields.end(), [name](const HttpField& field) { return SameWord(field.name, name); }));
}

std::string_view HttpHead::Only(std::string_view name) const {
    if (Count(name) != 1) return {};
    return std::find_if(fields.begin(), fields.end(),
                        [name](const HttpField& field) { return SameWord(field.name, name); })
        ->value;
}

HttpRefusal CheckHead(const HttpHead& head) {
    if (head.version != 10 && head.version != 11) return {505, kVersions};
    if (head.version == 11 && head.Count("Host") != 1) return {400, "There must be exactly one Host."};
    if (head.Count("Host") > 1) return {400, "There is more than one Host."};
    if (head.Count("Host") == 1 && !IsHost(head.Only("Host"))) return {400, "The field Host names no host."};
    if (!IsHost(TargetHost(head.target).value_or("localhost"))) return {400, "The request's target names no host."};
    if (head.Count("Expect") > 0 && !SameWord(head.Only("Expect"), "100-continue"))
        return {417, "The only expectation met is 100-continue."};
    return CheckLength(head);
}

std::string_view HostName(std::string_view host) {
    if (host.starts_with('[')) return host.substr(1, std::min(host.find(']'), host.size()) - 1);
    return host.substr(0, host.find(':'));
}

bool IsHost(std::string_view text) {
    const bool literal6 = text.starts_with('[');
    const std::size_t end = literal6 ? text.find(']') : text.find(':');
    if (literal6 && end == std::string_view::npos) return false;
    const std::string_view rest = end == std::string_view::npos ? "" : text.substr(end + literal6);
    return (literal6 ? IsLiteral6(HostName(text)) : IsName(HostName(text))) && (rest.empty() || IsPort(rest));
}

bool ExpectsContinue(const HttpHead& head) {
    return head.version == 11 && head.Count("Expect") == 1;
}

std::optional<std::string_view> TargetHost(std::string_view target) {
    const std::size_t scheme = SchemeLength(target);
    if (scheme == 0) return std::nullopt;
    return target.substr(scheme, AuthorityEnd(target, scheme) - scheme);
}

std::string_view SplitTarget(std::string_view target, std::string_view& query) {
    const std::size_t scheme = SchemeLength(target);
    if (scheme > 0) target.remove_prefix(AuthorityEnd(target, scheme));
    const std::size_t mark = target.find('?');
    query = mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
    const std::string_view path = target.substr(0, mark);
    return path.empty() ? std::string_view("/") : path;
}

}  // namespace LumVoxMsg
