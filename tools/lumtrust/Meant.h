/// @file
/// Which certificate a person means.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "LumPalIo.h"
#include "LumSecRevoked.h"

namespace lumtrust {

/// What was given of it: a file or a fingerprint, or serial number and issuer.
struct CertificateChoice {
    std::string what, serial, issuer;
    bool IsGiven() const { return !what.empty() || !serial.empty() || !issuer.empty(); }
};

/// --serial and --issuer.
void AddSerialAndIssuer(CLI::App& command, CertificateChoice& choice);

/// Whether a text is more likely a certificate than the name of a sender: a fingerprint, or the path of a file.
bool LooksLikeCertificate(const std::string& text);

/// What the list of revoked certificates knows it by.
struct MeantCertificate {
    LumSecCore::CertificateId id;
    std::string subject;  ///< empty where nobody can tell
};

/// @throws CLI::ValidationError for too little, too much or no number; LumPalMsg::RuntimeException_t naming a file that
/// cannot be read or holds several, a fingerprint that nothing in the key store has, and an issuer that is not known
MeantCertificate FindMeant(const CertificateChoice& choice);

/// Whether this node shows the certificate, or one that it vouches for: its own tools and its peers would be refused.
bool ServesThisNode(const LumSecCore::CertificateId& id);

/// Whether nothing else that is trusted vouches for what this node shows: without it, its own tools and its peers would
/// refuse it.
/// @param trusted  a file of the key store's trusted certificates
bool IsLeftWithout(const LumPalIo::File_t& trusted);

}  // namespace lumtrust
