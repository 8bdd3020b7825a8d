#include "PolicyProof.h"

#include "LumSecCore.h"
#include "PolicyData.h"

namespace LumConf {

using LumSecCore::X509Certificate;

namespace {

/// None for a document without a certificate that can be read.
X509Certificate CertificateIn(const PolicyHeader& header) {
    try {
        return X509Certificate(header.GetCertificate());
    } catch (const LumPalMsg::Exception_t&) {
        return {};
    }
}

}  // namespace

PolicySigner PolicySigner::Of(const PolicyHeader& header) {
    PolicySigner signer;
    const X509Certificate certificate = CertificateIn(header);
    if (certificate.IsNull()) return signer;
    signer.found = true;
    signer.subject = certificate.GetSubjectCN();
    signer.issuer = certificate.GetIssuerCN();
    signer.notAfter = certificate.GetNotAfter();
    signer.maySign = PolicyData::MaySign(signer.subject);
    return signer;
}

void PolicyProof::Prove(const PolicyHeader& header, int index, const LumPalIo::File_t& folder) {
    PolicyData::Prove(*header.GetImpl(), index, folder);
}

}  // namespace LumConf
