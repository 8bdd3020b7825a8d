/// @file
/// The node's identity on a TLS connection, and the name of the peer.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "LumSecCore.h"

// The library's own names for SSL_CTX, SSL and X509, so that none of its headers shows here.
struct ssl_ctx_st;
struct ssl_st;
struct x509_st;
struct X509_name_st;

namespace LumSecCore {

/// Makes a context a server's: TLS 1.2 or newer, forward-secret ciphers, no renegotiation, compression or
/// resumption; the node's certificate and key; a client's certificate is asked for, not demanded, and one that
/// no trusted certificate vouches for ends the handshake.
/// Whoever is revoked (RevocationList) is refused likewise.
/// @throws KeyStoreException naming the file that cannot be used
void ConfigureServer(ssl_ctx_st* context, const NodeIdentity& identity);

/// The certificate that a context shows, with the chain behind it; none for a context without.
std::vector<X509Certificate> ShownCertificates(ssl_ctx_st* context);

/// Whether a client that was let in still would be: neither its certificate nor one above it has ended, and the trusted
/// ones of the context vouch for it. A client without a certificate has nothing to lose.
/// @param isChecked  the context vouched for it before: only the end of its proof is looked at
/// @param end        of its proof, kept by the caller from one call for the connection to the next; 1970 at first
/// @param refusal    why not, for a log
bool IsStillLetIn(const ssl_st* connection, ssl_ctx_st* context, bool isChecked,
                  std::chrono::system_clock::time_point& end, std::string& refusal);

/// The subject common name as UTF-8: empty when there is not exactly one, when it holds a control character or
/// NUL, is longer than 255 bytes, or is reserved (LumSecAuth::IsReservedId).
/// @param refusal  why the name is empty, for a log
std::string SenderId(const x509_st* certificate, std::string& refusal);

/// Who is at the other end of a connection.
struct Peer {
    std::string id;       ///< as SenderId; empty for nobody
    bool isNode = false;  ///< it is this node itself: it bears the node's id and has proved the node's key
};

/// Lets the keys of a context that this one takes the place of, if it bore the same id, pass for the node's own for a
/// while: a tool of the node may have read the pair before it was renewed, and connect behind that. Those that passed
/// there go on to pass, each to its end.
/// @param context  one that ConfigureServer has made, which serves nobody yet
void LetFormerKeysPass(ssl_ctx_st* context, const ssl_ctx_st* former, std::chrono::steady_clock::time_point until);
/// How long.
inline constexpr std::chrono::seconds kFormerKeyPasses{30};

/// The peer of a connection whose handshake is done. The node's own id is known by the key alone, that of the context,
/// one that was renewed a moment ago, or the one that lies in the key store now: whoever bears the id with another key
/// is nobody, whichever authority says so.
/// @param context  one that ConfigureServer has made
/// @param refusal  why a certificate names nobody, for a log
Peer PeerOf(const ssl_st* connection, const ssl_ctx_st* context, std::string& refusal);

/// Why a certificate names nobody to this node, by the same rules, where it was not shown on a connection: its name is
/// that of nobody, or that of this node without its key. Empty when it names somebody.
std::string WhyNobody(const x509_st* certificate, const NodeIdentity& node);

/// The common name of a subject or issuer as UTF-8: empty when there is not exactly one, or one that does not convert.
std::string OnlyCommonName(const X509_name_st* name);
/// Whether the text holds a control character (C0, DEL, C1).
bool HoldsControl(const std::string& utf8);

}  // namespace LumSecCore
