/// @file
/// What the files of the key store say to whoever reads them before the daemon does.
#pragma once

#include <string>
#include <vector>

namespace lumconfd {

/// Sentences.
struct CertificateFindings {
    std::vector<std::string> problems;  ///< the node cannot work so
    std::vector<std::string> warnings;  ///< it can, but hardly as it is meant
};

/// Looks at the times of the certificates, at those that are revoked, at who is trusted, and at who may read the keys.
/// What a server would not take at all is not told here. @throws LumPalIo::IOException_t, LumSecCore::KeyStoreException
CertificateFindings FindInCertificates();

}  // namespace lumconfd
