/// @file
/// The text forms of Digest access authentication (RFC 7616, RFC 9110 section 11).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace LumVoxMsg {

/// The parameters behind a scheme's name, in their order; quotes and their escapes are gone.
class DigestParameters {
public:
    /// @param value  of a field Authorization or WWW-Authenticate
    /// @return       nothing for another scheme, for what is malformed, and when a name stands twice
    static std::optional<DigestParameters> Read(std::string_view value);
    /// The value, names without regard to case; empty when it is not there.
    std::string_view Get(std::string_view name) const;

private:
    std::vector<std::pair<std::string, std::string>> parameters;
};

/// Whether the value's scheme is Digest, whatever follows.
bool IsDigest(std::string_view value);

/// SHA-256 as hexadecimal digits.
std::string HashText(std::string_view text);
/// HMAC with SHA-256 as hexadecimal digits.
std::string KeyedHashText(std::string_view key, std::string_view text);
/// So many random bytes as hexadecimal digits. @throws LumPalIo::IOException_t
std::string RandomDigits(std::size_t bytes);
/// Takes the same time wherever the difference stands.
bool AreEqualSecrets(std::string_view a, std::string_view b);

}  // namespace LumVoxMsg
