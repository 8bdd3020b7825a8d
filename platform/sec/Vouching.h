/// @file
/// Who vouches for whom: the one rule of the server, the client and the proof of policies.
#pragma once

#include <chrono>
#include <memory>

// The library's own names, so that none of its headers shows here.
struct x509_st;
struct x509_store_st;
struct x509_store_ctx_st;

namespace LumSecCore {

class RevocationList;

/// Certificates above the one that is looked at.
inline constexpr int kDeepestChain = 8;

/// Whether a certificate may vouch for others: it says so itself (basicConstraints CA:TRUE, RFC 5280, 4.2.1.9), and its
/// keyUsage, if there is one, holds keyCertSign. One of version 1, or one that only hints at it, may not.
bool IsAuthority(x509_st* certificate);

/// Makes a store one whose authorities vouch for others and whose other certificates each for itself alone; what is
/// trusted need not be a root.
/// @param revoked  count for nothing, trusted or not; VerifyChain refuses a chain that holds one of them. Of two
///                 trusted ones of the same name the one that is not revoked vouches
void LetOnlyAuthoritiesVouch(x509_store_st* trusted, std::shared_ptr<const RevocationList> revoked);

/// As X509_verify_cert for a check over such a store, which it asks once more of the chain that was found.
/// @return 1, or 0 with the reason in the context; 0 with X509_V_ERR_INVALID_CA when only somebody vouches who is no
///         authority, and with X509_V_ERR_CERT_REVOKED when somebody in the chain is revoked, the trusted end included.
///         That is asked last: of who would not be let in anyway nobody hears whether he is in the list
int VerifyChain(x509_store_ctx_st* check);

/// Of a check that VerifyChain refused: whether the issuer that lacks, or whose key does not fit, bears the name of an
/// authority that is trusted. That is another one then.
bool IsNamesakeTrusted(x509_store_ctx_st* check);

/// When a proof ends.
using ProofEnd = std::chrono::system_clock::time_point;

/// The earliest end in a chain (a STACK_OF(X509)) that was verified; 1970 for none.
ProofEnd EndOfChain(const void* chain);

/// What VerifyChain says of a certificate that a client shows; X509_V_OK when it is let in.
/// @param chain          what came with it (a STACK_OF(X509)); may be null
/// @param securityLevel  that of the TLS library (SSL_CTX_set_security_level)
/// @param end            set when it is let in: until then it would be by the same trusted ones; may be null
int VerdictOnClient(x509_st* certificate, void* chain, x509_store_st* trusted, int securityLevel,
                    ProofEnd* end = nullptr);

}  // namespace LumSecCore
