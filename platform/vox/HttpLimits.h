/// @file
/// How much a peer may ask of the server, from the namespace "vox.http.ext.conf".
#pragma once

#include <chrono>
#include <cstdint>

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace LumVoxMsg {

/// A value. Each member is named with its key, its bounds and its default.
struct HttpLimits {
    unsigned port = 7443;                       ///< SERVER_PORT, 0 to 65535; 0 takes a free one
    LumPalStr::String_t bindAddress;            ///< BIND_ADDRESS, an IP address; empty: every address (with TLS)
    unsigned ioThreads = 2;                     ///< IO_THREADS, 1 to 64
    unsigned workerThreads = 8;                 ///< WORKER_THREADS of each path, 1 to 256
    std::uint64_t headerBytes = 64u << 10;      ///< HEADER_LIMIT, 1024 to 1 MiB; more is answered with 431
    std::uint64_t bodyBytes = 64u << 20;        ///< BODY_LIMIT, 1024 to 2 GiB - 1; more is answered with 413
    std::uint64_t allBodiesBytes = 512u << 20;  ///< BODY_TOTAL_LIMIT, 1 MiB to 1 TiB, all requests together
    unsigned connections = 10000;               ///< MAX_CONNECTIONS, 1 to 1,000,000; see AcceptLoop
    unsigned addressConnections = 256;          ///< MAX_ADDRESS_CONNECTIONS, likewise, of strangers from an address
    std::chrono::milliseconds handshakeTime{10000};  ///< HANDSHAKE_TIMEOUT, 100 to 3,600,000
    std::chrono::milliseconds headerTime{10000};     ///< HEADER_TIMEOUT from a request's first byte, likewise
    std::chrono::milliseconds bodyTime{20000};       ///< BODY_TIMEOUT, likewise; grows as MIN_RATE tells
    std::chrono::milliseconds idleTime{60000};       ///< IDLE_TIMEOUT between requests, likewise
    std::chrono::milliseconds writeTime{20000};      ///< WRITE_TIMEOUT, likewise; grows as MIN_RATE tells
    std::chrono::milliseconds closeTime{2000};       ///< CLOSE_TIMEOUT for answers that are being sent, likewise
    /// MIN_RATE, 1 to 1 GiB: for each second beyond the limit a peer must have moved so many bytes.
    std::uint64_t bytesPerSecond = 4096;
    bool secretHeader = true;  ///< LOCAL_SECRET_HEADER: the local secret may come as it stands

    /// A value that is no number or out of its bounds is named in the application log, and the default is taken.
    /// A BIND_ADDRESS that is no address is, and 127.0.0.1 is taken: a slip of the pen opens no port to the world.
    static HttpLimits Load(const LumPalConfig::Configuration_t& configuration);
    /// Whether an address that Load took is one of the loopback network.
    static bool IsLoopback(const LumPalStr::String_t& address);
    /// The time limit of a transfer of which so many bytes have been moved.
    std::chrono::milliseconds WithBytes(std::chrono::milliseconds limit, std::uint64_t bytes) const noexcept {
        return limit + std::chrono::milliseconds(bytes * 1000 / bytesPerSecond);
    }
};

}  // namespace LumVoxMsg
