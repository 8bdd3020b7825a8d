#include "IPv6Literal.h"

#include <arpa/inet.h>

#include <algorithm>
#include <string>

namespace LumPalNet {

bool IsIPv6Literal(std::u16string_view text) {
    const bool ascii = std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit > 0 && unit < 0x80; });
    in6_addr ignored;
    return ascii && inet_pton(AF_INET6, std::string(text.begin(), text.end()).c_str(), &ignored) == 1;
}

}  // namespace LumPalNet
