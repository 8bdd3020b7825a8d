/// @file
/// Addresses and host names.
#pragma once

#include <memory>

#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumPalNet {

/// A peer that cannot be reached.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, ConnectException_t, LumPalIo::IOException_t);
/// A peer that was sent a request, whole or in part, and has not answered: what it asks for may be done.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, UnansweredException_t, ConnectException_t);

/// A parsed target address, the part of RFC 3986 that a target needs:
///
///     scheme "://" host [":" port] [path] ["?" query]
///
/// A host is a name of letters, digits, "-", "." and "_", an IPv4 address, or an IPv6 address in
/// brackets (without zone). A port is 1 to 65535. User information, fragments, blanks, control
/// characters and everything that is not ASCII are refused; so is a bad percent escape. Escapes
/// stay as they are. A value.
class LUMPAL_API URI_t {
public:
    URI_t() = default;
    /// @throws LumPalMsg::IllegalArgumentError_t naming the text
    explicit URI_t(const LumPalStr::String_t& text);
    /// In lower case.
    const LumPalStr::String_t& GetScheme() const noexcept { return scheme; }
    /// As given, without the brackets of an IPv6 literal.
    const LumPalStr::String_t& GetHost() const noexcept { return host; }
    /// 0 when the text has none.
    unsigned GetPort() const noexcept { return port; }
    /// Empty, or beginning with "/".
    const LumPalStr::String_t& GetPath() const noexcept { return path; }
    /// Without the question mark; null when the text has none.
    const LumPalStr::String_t& GetQuery() const noexcept { return query; }
    /// The text as given.
    const LumPalStr::String_t& ToString() const noexcept { return text; }

private:
    LumPalStr::String_t text, scheme, host, path;
    LumPalStr::String_t query = LumPalStr::String_t::Null();
    unsigned port = 0;
};

/// The addresses of a machine. A value (copies share what never changes); any thread.
class LUMPAL_API InetAddress_t {
public:
    /// Resolves a name, or takes a numeric address. Blocks as long as the name service does.
    /// @throws ConnectException_t when the name cannot be resolved
    explicit InetAddress_t(const LumPalStr::String_t& name);
    /// This host by its own name, with the addresses of its network interfaces; asks no name service.
    static InetAddress_t GetLocalHost();
    /// The name as given; the system's own for GetLocalHost.
    LumPalStr::String_t GetHostName() const;
    /// Whether every address is a loopback address.
    bool IsLoopback() const;
    /// Two addresses are equal if they are the same machine: they have an address in common, or both
    /// have one that belongs to this host (loopback ones do). Asks the system for its interfaces.
    friend LUMPAL_API bool operator==(const InetAddress_t& a, const InetAddress_t& b);

private:
    struct Impl;
    explicit InetAddress_t(std::shared_ptr<const Impl> impl);
    std::shared_ptr<const Impl> impl;
};

}  // namespace LumPalNet
