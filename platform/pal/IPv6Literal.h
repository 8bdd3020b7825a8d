/// @file
/// Numeric IPv6 addresses.
#pragma once

#include <string_view>

namespace LumPalNet {

/// Whether the text is an IPv6 address as RFC 4291 writes it, without zone.
bool IsIPv6Literal(std::u16string_view text);

}  // namespace LumPalNet
