/// @file
/// How the local secret is proven without being shown: Digest access authentication (RFC 7616) with SHA-256.
///
/// The password is the secret's 64 digits, the user `local-PORT`. The caller writes the port that he calls into the
/// user's name and the node takes its own one alone, so that nobody who holds another port can pass a proof on. A nonce
/// is the time, a random part and a keyed hash over both and the port. The key is the secret: a client sees by it that
/// the one who asks is its node, and sends nothing to anybody else.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "LumPalPlainMutex.h"

namespace LumVoxMsg {

/// Microseconds of a clock that all processes of the host share and nobody sets.
std::uint64_t SharedMicroseconds();

/// What both sides can tell from the secret and the port. Constant after construction.
class LocalDigest {
public:
    static constexpr std::uint64_t kNonceLife = 300'000'000;  ///< microseconds
    enum class Nonce { Fresh, Old, Foreign };

    LocalDigest(std::string_view secret, unsigned port);
    ~LocalDigest();
    LocalDigest(const LocalDigest&) = default;
    LocalDigest& operator=(const LocalDigest&) = default;
    const std::string& GetUser() const noexcept { return user; }
    /// A challenge's field value (WWW-Authenticate).
    std::string Challenge(std::uint64_t now, bool stale) const;
    /// Whether a challenge was made by one who knows the secret, for this port, not long ago.
    bool IsOwn(std::string_view challenge, std::uint64_t now) const;
    Nonce Judge(std::string_view nonce, std::uint64_t now) const;
    /// What a request must bear as `response`. @param count  eight hexadecimal digits
    std::string Response(std::string_view nonce, std::string_view count, std::string_view clientNonce,
                         std::string_view method, std::string_view target) const;
    /// The part of a nonce that tells it from every other one; a later nonce has a greater one.
    static std::string_view StampOf(std::string_view nonce);

private:
    std::string Sealed(const std::string& stamp) const;

    std::string secret, user;
    std::string hashedUser;  ///< H(A1)
    unsigned port;
};

/// The node's side. Any thread.
class LocalDigestGuard {
public:
    enum class Verdict {
        Proven,
        Stale,  ///< by one who knows the secret, but the nonce is old, was used up or is of another time
        Refused
    };
    using Clock = std::function<std::uint64_t()>;
    /// @param most  nonces whose use is remembered; beyond it the oldest is old
    explicit LocalDigestGuard(const LocalDigest& digest, Clock clock = SharedMicroseconds, std::size_t most = 16384);
    std::string Challenge(bool stale) const { return digest.Challenge(clock(), stale); }
    /// @param authorization  a field value of the scheme Digest
    /// @param target         of the request, without scheme and host
    Verdict Check(std::string_view authorization, std::string_view method, std::string_view target);

private:
    bool TakeCount(std::string_view nonce, std::uint32_t count, std::uint64_t now);

    const LocalDigest digest;
    const Clock clock;
    const std::size_t most;
    LumPalThread::PlainMutex_t mutex;
    std::map<std::string, std::uint32_t, std::less<>> counts
        LUMPAL_GUARDED_BY(mutex);                    ///< the last count of each nonce, by its stamp
    std::string forgotten LUMPAL_GUARDED_BY(mutex);  ///< the greatest stamp that is known no longer
};

}  // namespace LumVoxMsg
