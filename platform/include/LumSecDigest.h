/// @file
/// The SHA-256 of bytes.
#pragma once

#include <string>

#include "LumPalExport.h"
#include "LumPalWhole.h"

namespace LumSecCore {

inline constexpr std::size_t kSha256Bytes = 32;

/// Of what is left of a stream, block by block: 32 bytes (FIPS 180-4); empty when that is more than `limit` bytes.
/// @throws what reading throws, SecCoreException
LUMPAL_API std::string Sha256(const LumPalIo::InputStream_t& stream, std::uint64_t limit = LumPalIo::kNoLimit);

}  // namespace LumSecCore
