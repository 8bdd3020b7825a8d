/// @file
/// What the files of the key store say to whoever reads them before the daemon does.
#pragma once

#include <string>
#include <vector>

#include "LumSecCore.h"

namespace lumtools {

/// Sentences.
struct CertificateFindings {
    std::vector<std::string> problems;    ///< the node cannot work so
    std::vector<std::string> hindrances;  ///< it serves, but its own tools cannot call it
    std::vector<std::string> warnings;    ///< it can work, but hardly as it is meant
};

/// Whose key store it is.
enum class Whose {
    Node,
    Caller  ///< nobody calls there, so that its certificate need not be for any host
};

/// Looks at the times of the certificates, at those that are revoked, at who is trusted, and at who may read the keys.
/// What a server would not take at all is not told here. @throws LumPalIo::IOException_t, LumSecCore::KeyStoreException
CertificateFindings FindInCertificates(Whose whose);

/// Why the tools of a node with this certificate cannot call it as they do, and what to do; empty where they can.
std::string WhyNotForOwnTools(const LumSecCore::X509Certificate& certificate);

}  // namespace lumtools
