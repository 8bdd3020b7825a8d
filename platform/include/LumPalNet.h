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

/// A parsed target address (RFC 3986): scheme, host, port, path.
class LUMPAL_API URI_t {
public:
    URI_t() = default;
    /// @throws LumPalMsg::IllegalArgumentError_t naming the text
    explicit URI_t(const LumPalStr::String_t& text);
    const LumPalStr::String_t& GetScheme() const noexcept { return scheme; }
    /// Without the brackets of an IPv6 literal.
    const LumPalStr::String_t& GetHost() const noexcept { return host; }
    /// 0 when the text has none.
    unsigned GetPort() const noexcept { return port; }
    const LumPalStr::String_t& GetPath() const noexcept { return path; }
    /// The text as given.
    const LumPalStr::String_t& ToString() const noexcept { return text; }

private:
    LumPalStr::String_t text, scheme, host, path;
    unsigned port = 0;
};

class LUMPAL_API InetAddress_t {
public:
    /// @throws ConnectException_t when the name cannot be resolved
    explicit InetAddress_t(const LumPalStr::String_t& name);
    static InetAddress_t GetLocalHost();
    LumPalStr::String_t GetHostName() const;
    bool IsLoopback() const;
    /// Two addresses are equal if they are the same machine.
    friend LUMPAL_API bool operator==(const InetAddress_t& a, const InetAddress_t& b);

private:
    struct Impl;
    std::shared_ptr<const Impl> impl;
};

}  // namespace LumPalNet
