/// @file
/// Revoked certificates as the crypto library knows them.
#pragma once

#include <memory>

#include "LumSecRevoked.h"

// The library's own names, so that none of its headers shows here.
struct x509_st;

namespace LumSecCore {

/// As RevocationList::Holds; true also when there is no memory to tell. Cheap for an empty list.
bool IsRevoked(const RevocationList& list, const x509_st* certificate) noexcept;

}  // namespace LumSecCore
