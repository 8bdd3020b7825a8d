// Any bytes as an encoded certificate, and as a text that an administrator takes in: the reader ends with what it read
// or with a failure of its own; a certificate that was read is encoded as bytes that are read as the same one.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "LumSecCore.h"
#include "LumSecPki.h"

namespace {

using LumPalArray::CharArray_t;
using LumSecCore::Key;
using LumSecCore::SecCoreException;
using LumSecCore::Signature;
using LumSecCore::X509Certificate;

CharArray_t Encoded(const X509Certificate& certificate) {
    CharArray_t der;
    certificate.GetEncoded(der);
    return der;
}

/// Whether the action ends; false when it fails as it may.
template <class Failure, class Action>
bool Done(Action&& action) {
    try {
        action();
        return true;
    } catch (const Failure&) {
        return false;
    }
}

/// No bytes of somebody else are a signature of these.
void TryKey(const Key& key, const CharArray_t& input) {
    Signature signature(0);
    if (!Done<LumSecCore::InvalidKeyException>([&] { signature.InitVerify(key); })) return;
    signature.Update(input);
    bool right = false;
    Done<LumSecCore::SignatureException>([&] { right = signature.Verify(CharArray_t(256)); });
    if (right) std::abort();
}

void Try(const X509Certificate& certificate, const CharArray_t& input) {
    const CharArray_t der = Encoded(certificate);
    const X509Certificate again(der);
    if (!(Encoded(again) == der) || !(again.GetSubjectCN() == certificate.GetSubjectCN()) ||
        !(again.GetIssuerCN() == certificate.GetIssuerCN()) || !(again.GetNotAfter() == certificate.GetNotAfter())) {
        std::abort();
    }
    Done<SecCoreException>([&] { certificate.CheckValidity(); });
    Done<SecCoreException>([&] { LumSecPki::SecondsLeft(certificate); });
    LumSecPki::IsAuthority(certificate);
    const Key key = certificate.GetPublicKey();
    Done<LumPalMsg::IllegalArgumentError_t>([&] { certificate.Verify(key); });
    TryKey(key, input);
    if (!(LumSecPki::ReadCertificates(LumSecPki::ToPem(certificate)).size() == 1)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CharArray_t input(reinterpret_cast<const char*>(data), size);
    Done<SecCoreException>([&] { Try(X509Certificate(input), input); });
    Done<SecCoreException>([&] {
        for (const X509Certificate& certificate : LumSecPki::ReadCertificates(input)) Try(certificate, input);
    });
    return 0;
}
