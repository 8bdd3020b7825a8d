/// @file
/// The proof of data files that lie beside their header document, and who a document names as its signer.
#pragma once

#include "Export.h"
#include "LumPalIo.h"
#include "LumPalStr.h"
#include "PolicyHeader.h"

namespace LumConf {

/// Who a document says has signed its data files. It is shown as it stands there: only a proof makes it true. A value.
struct LUMCONF_API PolicySigner {
    /// Whether there is a certificate that can be read; nothing else is reported without one.
    bool found = false;
    LumPalStr::String_t subject, issuer;
    /// The end of the certificate's validity as "2026-11-21T10:00:00Z".
    LumPalStr::String_t notAfter;
    /// Whether the subject may sign policies for this node.
    bool maySign = false;

    /// Also for a document without a certificate, or with a broken one.
    static PolicySigner Of(const PolicyHeader& header);
};

/// What STRICT_SIGNERS makes of the signer whom a document names. Without it an authority whose time is over, or has
/// not come, still proves signers, and what else a certificate forbids is not looked at. A value.
struct LUMCONF_API StrictSigners {
    /// Whether it is switched on: then whoever is refused here proves nothing.
    bool demanded = false;
    /// What it finds wrong; empty for nothing, and for a signer whose issuer is not trusted, whom no proof accepts.
    LumPalStr::String_t refusal;

    /// @throws what reading the configuration throws
    static StrictSigners Of(const PolicyHeader& header);
};

/// Proves data files of policies that no container holds. Any thread.
class LUMCONF_API PolicyProof {
public:
    /// Proves one data file as PolicyHeader::GetData does, with the key store and the rights of this node, but takes
    /// the file from a folder. What is proven is the content and its signer, not the header: nothing signs that.
    /// @param folder  where the data files lie, as a rule the folder of the header document
    /// @throws LumPalMsg::IllegalArgumentError_t 16 for a bad index; LumPalIo::FileNotFoundException_t 18, also for a
    ///         name that would leave the folder; LumPalIo::IOException_t 19; LumSecCore::SecCoreException 32, 33
    static void Prove(const PolicyHeader& header, int index, const LumPalIo::File_t& folder);
};

}  // namespace LumConf
