/// @file
/// How a caller on the plain loopback road proves that it may act for the node's own user.
///
/// The server writes 32 random bytes as 64 hexadecimal digits to `local.secret` in folder kind 7, readable by
/// its own user alone. A caller that can read the file proves it (LocalDigest) and is the node's own administrator.
/// One that cannot compute the proof may send the header `Authorization: LumLocal <64 digits>` instead, unless
/// LOCAL_SECRET_HEADER says no; then whoever holds the port that is called learns the secret.
///
/// A client proves it only over plain HTTP to the literal address kLoopbackAddress, never to a name.
#pragma once

#include <string>
#include <string_view>

#include "LumPalIo.h"

namespace LumVoxMsg {

/// First word of the header's value.
inline constexpr const char* kLocalSecretScheme = "LumLocal";
/// Where the plain road is served.
inline constexpr const char* kLoopbackAddress = "127.0.0.1";

/// `local.secret` in folder kind 7.
LumPalIo::File_t LocalSecretFile();

/// The client's side: the secret's digits. Empty when the file is not there, cannot be read by this user or holds no
/// secret. Never throws.
std::string LocalSecretDigits();

/// The value of the plain Authorization header ("LumLocal " and the digits).
/// Empty when the file is not there, cannot be read by this user or holds no secret. Never throws.
std::string LocalAuthorization();

/// The server's side. One thread at a time, except Matches: any thread between Create and Remove.
class LocalSecret {
public:
    /// Draws a new secret and replaces the file. The secret reaches no log. What servers that were killed while they
    /// did it have left beside the file goes too.
    /// @throws LumPalIo::IOException_t naming the file
    void Create();
    /// What a server without a secret does instead: deletes what killed ones left beside the file. Never throws.
    static void RemoveLeftAside() noexcept;
    /// The secret; empty before Create and after Remove.
    std::string_view GetDigits() const noexcept;
    /// Whether the value of an Authorization header is that of the secret; false before Create and after Remove.
    /// Takes the same time wherever the difference stands.
    bool Matches(std::string_view authorization) const;
    /// Forgets the secret and deletes the file, unless another server has replaced it meanwhile. Never throws.
    void Remove();

private:
    std::string expected;  ///< value of the header; empty without a secret
};

}  // namespace LumVoxMsg
