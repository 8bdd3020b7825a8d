/// @file
/// Where a connection comes from, for counting.
#pragma once

#include <array>
#include <cstddef>

#include "../pal/Descriptor_posix.h"

namespace LumVoxMsg {

/// The network address of a peer: of IPv4 the whole, of IPv6 the first 64 bits, which one host may have to itself.
struct PeerAddress {
    std::array<unsigned char, 16> bytes{};
    bool isLoopback = false;

    /// Takes no memory; all zero for a connection that has gone.
    static PeerAddress Of(const LumPal::Descriptor& socket) noexcept;
    bool operator==(const PeerAddress& other) const noexcept { return bytes == other.bytes; }
    std::size_t Hash() const noexcept;
};

}  // namespace LumVoxMsg
