/// @file
/// Certificates that the node at the current root accepts no longer.
#pragma once

#include "LumSecPki.h"
#include "LumSecRevoked.h"
#include "TestPki.h"

/// @param pem  the first certificate of it
inline LumSecCore::RevocationList::Entry RevocationOf(const std::string& pem) {
    const auto certificate = LumSecPki::ReadCertificate(LumPalArray::CharArray_t(pem.data(), pem.size()));
    return {LumSecCore::CertificateId::Of(certificate), "2026-11-21T10:00:00Z", certificate.GetSubjectCN().ToUtf8()};
}

/// Makes these the revoked ones.
inline void Revoke(const std::vector<std::string>& pems) {
    LumSecCore::RevocationList list;
    for (const std::string& pem : pems) list.Add(RevocationOf(pem));
    WriteKeyStore("revoked.list", list.ToText());
}
