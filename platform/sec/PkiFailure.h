/// @file
/// What the files that make keys and certificates share.
#pragma once

#include <functional>

#include "Crypto.h"
#include "LumPalArray.h"

namespace LumSecPki {

/// @throws LumSecCore::SecCoreException with what the crypto library reported last
[[noreturn]] void Fail(const char* text);

/// What was written into memory. @param write  returns 1 on success. @throws LumSecCore::SecCoreException
LumPalArray::CharArray_t Collect(const std::function<int(bio_st*)>& write);

/// The digest that a key signs over: SHA-256, or null for a key that signs without one.
const evp_md_st* DigestFor(const evp_pkey_st* key);

}  // namespace LumSecPki
