/// @file
/// What a client has seen of a peer that must know the node's local secret.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "LocalDigest.h"

namespace LumVoxRpc {

/// Follows the headers and connections of one handle's requests. One thread.
class PeerProof {
public:
    /// Before a request. What the same handle has seen before still counts.
    void Begin(const std::string& secret, unsigned port);
    const std::string& GetUser() const { return digest->GetUser(); }
    /// Takes a line of an answer's header, its line end included.
    /// @return false when the peer does not know the secret, or answers without having shown it
    bool Take(std::string_view line);
    /// Whether the peer has shown it. One that has not may still say that it has too much to do: of such an answer the
    /// status is worth something, and not a word.
    bool IsProven() const noexcept { return provenSince != 0; }
    /// A connection is made. @return false when the peer of another one has shown that it knows the secret
    bool TakeConnection();
    /// Whether the last request was given up since a connection was made in the place of a proven one.
    bool MustStartOver() const noexcept { return startOver; }
    /// Whether a proven peer's challenge is still good for the next request.
    bool IsUsable() const;
    void Forget();

private:
    bool EndHeader() const;

    std::optional<LumVoxMsg::LocalDigest> digest;
    std::uint64_t provenSince = 0;  ///< 0: not
    int status = 0;                 ///< of the answer that is being received
    bool startOver = false;
};

}  // namespace LumVoxRpc
