/// @file
/// A caller that proves the node's local secret on a kept connection without showing it, by the crypto library alone.
#pragma once

#include <string>

#include "RawHttp.h"

namespace bench {

/// Asks for one challenge and uses it from then on. One thread.
class DigestCaller {
public:
    /// @throws std::runtime_error when the node does not ask for a proof
    DigestCaller(unsigned port, const std::string& path, const std::string& secret);
    /// The field Authorization of the next request, with its line end.
    std::string NextField();
    RawHttp& Connection() { return connection; }

private:
    RawHttp connection;
    const std::string user, path;
    std::string nonce, hashedUser, hashedTarget;
    unsigned count = 0;
};

}  // namespace bench
