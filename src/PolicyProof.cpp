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

/// None for an issuer that is not trusted, or whose entry cannot be read.
X509Certificate TrustedIssuerOf(const X509Certificate& certificate) {
    X509Certificate trusted;
    try {
        LumSecCore::KeyStore().GetTrustedCertificate(certificate.GetIssuerCN(), trusted);
    } catch (const LumSecCore::SecCoreException&) {
        return {};
    }
    return trusted;
}

LumPalStr::String_t RefusalOf(const X509Certificate& certificate) {
    const X509Certificate trusted = certificate.IsNull() ? X509Certificate() : TrustedIssuerOf(certificate);
    if (trusted.IsNull()) return {};
    try {
        certificate.RequireVouchedBy(trusted);
    } catch (const LumSecCore::SecCoreException& e) {
        return e.GetMessageList().GetMessage(0).Format(LumPalMsg::BareText);
    }
    return {};
}

}  // namespace

StrictSigners StrictSigners::Of(const PolicyHeader& header) {
    return {PolicyData::IsStrict(), RefusalOf(CertificateIn(header))};
}

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
