/// @file
/// The rules that a request's header must keep before its body is read.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace LumVoxMsg {

struct HttpField {
    std::string_view name, value;
};

/// Views of one header, as long as its bytes live.
struct HttpHead {
    std::string_view method, target;
    unsigned version = 11;  ///< 10 or 11
    std::vector<HttpField> fields;

    /// Fields of the name, without regard to case.
    std::size_t Count(std::string_view name) const;
    /// The value when the field stands exactly once, else empty.
    std::string_view Only(std::string_view name) const;
};

/// Why a header cannot be served.
struct HttpRefusal {
    unsigned status = 0;  ///< 0: nothing is wrong
    const char* reason = "";
};

inline constexpr const char* kVersions = "Only HTTP/1.1 and HTTP/1.0 are served.";

/// Refuses what two programs may frame differently (both lengths, two lengths, other transfer codings) and what
/// RFC 9110 and 9112 let a server refuse. Any thread.
HttpRefusal CheckHead(const HttpHead& head);
/// Whether the client waits for "100 Continue" before it sends the body.
bool ExpectsContinue(const HttpHead& head);
/// The target without "http://host" and with an empty path as "/"; query gets what follows the first "?".
std::string_view SplitTarget(std::string_view target, std::string_view& query);
/// What stands between "http://" (or "https://") and the path; none when the target is a path alone.
std::optional<std::string_view> TargetHost(std::string_view target);
/// The name or address in a Host field's value, without brackets and port.
std::string_view HostName(std::string_view host);
/// Whether a Host field's value is a name or an address, with a port or without.
bool IsHost(std::string_view text);
/// Compares ASCII text without regard to case.
bool SameWord(std::string_view a, std::string_view b);

}  // namespace LumVoxMsg
