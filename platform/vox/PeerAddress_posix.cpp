#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "PeerAddress.h"

namespace LumVoxMsg {
namespace {

constexpr std::size_t kHostBytes = 8;  ///< of an IPv6 address: the network behind which hosts are told apart

PeerAddress FromV4(const unsigned char* address) noexcept {
    PeerAddress made;
    made.bytes[10] = made.bytes[11] = 0xFF;  // as IPv6 writes it
    std::copy_n(address, 4, made.bytes.begin() + 12);
    made.isLoopback = address[0] == 127;
    return made;
}

PeerAddress FromV6(const in6_addr& address) noexcept {
    if (IN6_IS_ADDR_V4MAPPED(&address)) return FromV4(address.s6_addr + 12);
    PeerAddress made;
    std::copy_n(address.s6_addr, kHostBytes, made.bytes.begin());
    made.isLoopback = IN6_IS_ADDR_LOOPBACK(&address);
    return made;
}

}  // namespace

PeerAddress PeerAddress::Of(const LumPal::Descriptor& socket) noexcept {
    sockaddr_storage name{};
    socklen_t length = sizeof name;
    if (getpeername(socket.Get(), reinterpret_cast<sockaddr*>(&name), &length) != 0) return {};
    if (name.ss_family == AF_INET6) return FromV6(reinterpret_cast<const sockaddr_in6&>(name).sin6_addr);
    if (name.ss_family != AF_INET) return {};
    unsigned char address[4];
    std::memcpy(address, &reinterpret_cast<const sockaddr_in&>(name).sin_addr, sizeof address);
    return FromV4(address);
}

std::size_t PeerAddress::Hash() const noexcept {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace LumVoxMsg
