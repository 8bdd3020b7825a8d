/// @file
/// Making and taking in keys and certificates: what an administrator's tool needs beyond the key store.
#pragma once

#include <cstdint>
#include <vector>

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalStr.h"
#include "LumSecCore.h"

namespace LumSecPki {

/// As much of a file of keys or certificates is read, in bytes.
inline constexpr std::uint64_t kLargestPemFile = 1u << 20;

/// A new private key, P-256. @throws LumSecCore::SecCoreException
LUMPAL_API LumSecCore::Key NewKey();

/// The first certificate of a PEM text, or the one that the bytes are in DER. @throws LumSecCore::SecCoreException
LUMPAL_API LumSecCore::X509Certificate ReadCertificate(const LumPalArray::CharArray_t& bytes);
/// All certificates of a PEM text, at least one; else as above.
LUMPAL_API std::vector<LumSecCore::X509Certificate> ReadCertificates(const LumPalArray::CharArray_t& bytes);
/// The first private key of a PEM text; nobody is asked for a passphrase. @throws LumSecCore::SecCoreException
LUMPAL_API LumSecCore::Key ReadPrivateKey(const LumPalArray::CharArray_t& pem);

/// As PEM. The key is not encrypted. @throws LumSecCore::SecCoreException, also for none
LUMPAL_API LumPalArray::CharArray_t ToPem(const LumSecCore::X509Certificate& certificate);
LUMPAL_API LumPalArray::CharArray_t ToPem(const LumSecCore::Key& privateKey);

/// Whether the certificate proves what this private key signs; no for none, and for a key whose halves do not belong
/// together.
LUMPAL_API bool Match(const LumSecCore::X509Certificate& certificate, const LumSecCore::Key& privateKey);
/// As X509Certificate::MayIssue.
LUMPAL_API bool IsAuthority(const LumSecCore::X509Certificate& certificate);
/// Why the TLS library lets nobody in whom this trusted certificate vouches for: its key is too short, or, unless it
/// signed itself, its signature has too weak a digest. Empty when it is strong enough. @throws std::bad_alloc
LUMPAL_API LumPalStr::String_t WhyTooWeak(const LumSecCore::X509Certificate& certificate);
/// Whether it lists the host among its names or addresses (RFC 5280, 4.2.1.6), as a client who connects there demands;
/// the common name is none of them.
LUMPAL_API bool NamesHost(const LumSecCore::X509Certificate& certificate, const LumPalStr::String_t& host);
/// The SHA-256 of its encoding, in hexadecimal small letters. @throws LumSecCore::SecCoreException
LUMPAL_API LumPalStr::String_t FingerprintOf(const LumSecCore::X509Certificate& certificate);
/// The start of its validity as "2026-11-21T10:00:00Z" where that has not come yet, else empty.
/// @throws LumSecCore::SecCoreException
LUMPAL_API LumPalStr::String_t StartToCome(const LumSecCore::X509Certificate& certificate);
/// Seconds until its validity ends, below 0 when it has ended. @throws LumSecCore::SecCoreException
LUMPAL_API std::int64_t SecondsLeft(const LumSecCore::X509Certificate& certificate);
/// The end of its validity in seconds since 1970-01-01T00:00:00Z. @throws LumSecCore::SecCoreException
LUMPAL_API std::int64_t EndSeconds(const LumSecCore::X509Certificate& certificate);

/// A request for a certificate (PKCS#10) as PEM.
/// @param hosts  names and addresses under which clients reach the node; each host name or IP address, nothing else
/// @throws LumSecCore::SecCoreException; LumPalMsg::IllegalArgumentError_t for a common name that is not 1 to 64
///         characters or holds a control character, and for a host that is none
LUMPAL_API LumPalArray::CharArray_t NewRequest(const LumSecCore::Key& privateKey, const LumPalStr::String_t& commonName,
                                               const std::vector<LumPalStr::String_t>& hosts);

/// A certificate that the key signs for itself and that may vouch for others. Throws as above.
LUMPAL_API LumSecCore::X509Certificate NewAuthority(const LumSecCore::Key& privateKey,
                                                    const LumPalStr::String_t& commonName, int days);
/// Issues what a request asks for: its common name, its key and its host names, and nothing else of it.
/// @param request  PEM; it must be signed with its own key
/// @throws LumSecCore::SecCoreException, also when key and certificate of the authority do not match, and for a
///         request that asks for a name that is neither a host name nor an address;
///         LumPalMsg::IllegalArgumentError_t for a request whose common name cannot be used
LUMPAL_API LumSecCore::X509Certificate Issue(const LumSecCore::X509Certificate& authority,
                                             const LumSecCore::Key& authorityKey,
                                             const LumPalArray::CharArray_t& request, int days);

}  // namespace LumSecPki
