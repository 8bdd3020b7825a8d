/// @file
/// What is told of the certificates of a key store.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace lumtrust {

/// Parts of the key store.
inline constexpr char kOwnPart[] = "own", kTrustedPart[] = "trusted";

/// An object for each certificate: alias, kind, subject, issuer, serial, fingerprint, not_after, days_left,
/// seconds_left, revoked, and of a trusted one for whom it vouches now (vouches_for). Of a file that cannot be read:
/// alias, kind, and why (broken). Of a file of trusted certificates each one counts; behind the node's own stands only
/// its chain.
/// @param part  one of the above
std::vector<nlohmann::ordered_json> EntriesOf(const std::string& part);

/// "callers, signers" of a trusted one; "nobody" and why.
std::string VouchesFor(const nlohmann::ordered_json& entry);

}  // namespace lumtrust
