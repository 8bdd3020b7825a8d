/// @file
/// Certificates that are revoked on this node.
#pragma once

#include "lumtrust/Command.h"
#include "lumtrust/Meant.h"

namespace lumtrust {

/// Refuses a certificate on every road from now on; what it vouches for falls with it.
/// @param force  also one without which the node itself is let in nowhere
/// @return the exit code
int RevokeCertificate(const CertificateChoice& choice, bool force);

/// @throws LumPalMsg::RuntimeException_t for one that is revoked: it would be installed or trusted in vain
void RequireNotRevoked(const LumSecCore::X509Certificate& certificate);

}  // namespace lumtrust
