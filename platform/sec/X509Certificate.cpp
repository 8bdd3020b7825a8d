// X509Certificate of LumSecCore.h.
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <memory>
#include <new>
#include <string>

#include "Crypto.h"
#include "LumSecRevoked.h"
#include "TlsIdentity.h"
#include "Vouching.h"

namespace LumSecCore {

using LumPalArray::CharArray_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

namespace {

/// That of RSA keys with 2048 bits.
constexpr int kLeastStrengthBits = 112;

[[noreturn]] void Fail(const char* text) {
    CreateError_t message{String_t(text)};
    message.AddDetails(LastFailure());
    throw SecCoreException(message);
}

CryptoPtr<X509> Parse(const CharArray_t& der) {
    const auto* at = reinterpret_cast<const unsigned char*>(der.GetData());
    const auto* const end = at + der.GetLength();
    CryptoPtr<X509> parsed(d2i_X509(nullptr, &at, static_cast<long>(der.GetLength())));
    if (!parsed) Fail("These bytes are no certificate.");
    if (at != end) Fail("Behind the certificate there are other bytes.");
    return parsed;
}

String_t CommonName(const X509_NAME* name) {
    const std::string utf8 = OnlyCommonName(name);
    return HoldsControl(utf8) ? String_t("") : String_t::FromUtf8(utf8);
}

/// Whether a key of this kind makes signatures of the certificate's kind.
bool CanHaveSigned(const X509* certificate, EVP_PKEY* key) {
    const int algorithm = X509_get_signature_nid(certificate), kind = EVP_PKEY_get_base_id(key);
    int wanted = NID_undef;
    if (EVP_PKEY_missing_parameters(key) || OBJ_find_sigid_algs(algorithm, nullptr, &wanted) != 1) return false;
    return EVP_PKEY_type(wanted) == kind || (algorithm == NID_rsassaPss && kind == EVP_PKEY_RSA);
}

/// With a digest like MD5 or SHA-1, or a short key, a signature proves nothing: others can make it too.
bool IsStrong(X509* certificate, const EVP_PKEY* key) {
    int bits = 0;
    const bool known = X509_get_signature_info(certificate, nullptr, nullptr, &bits, nullptr) == 1;
    return known && bits >= kLeastStrengthBits && EVP_PKEY_get_security_bits(key) >= kLeastStrengthBits;
}

/// The strength that the TLS library demands of a peer's chain unless it is told otherwise.
constexpr int kSecurityLevel = 2;

bool MaySignData(X509* certificate) {
    return (X509_get_key_usage(certificate) & (KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION)) != 0;
}

/// Empty for one that a client could show too.
std::string WhyNoSigner(X509* certificate, X509* authority) {
    const std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> trusted(X509_STORE_new(), X509_STORE_free);
    if (!trusted || X509_STORE_add_cert(trusted.get(), authority) != 1) throw std::bad_alloc();
    LetOnlyAuthoritiesVouch(trusted.get(), RevocationList::Load());
    const int verdict = VerdictOnClient(certificate, nullptr, trusted.get(), kSecurityLevel);
    ERR_clear_error();
    if (verdict != X509_V_OK) return X509_verify_cert_error_string(verdict);
    return MaySignData(certificate) ? WhyNobody(certificate, NodeIdentity::Load())
                                    : "its key usage lets it sign nothing";
}

[[noreturn]] void RefuseArgument(const char* text) {
    CreateError_t message{String_t(text)};
    message.AddDetails(LastFailure());
    throw LumPalMsg::IllegalArgumentError_t(message);
}

}  // namespace

void FreeCrypto::operator()(evp_pkey_st* object) const noexcept {
    EVP_PKEY_free(object);
}
void FreeCrypto::operator()(x509_st* object) const noexcept {
    X509_free(object);
}
void FreeCrypto::operator()(evp_md_ctx_st* object) const noexcept {
    EVP_MD_CTX_free(object);
}
void FreeCrypto::operator()(bio_st* object) const noexcept {
    BIO_free(object);
}

Key MakeKey(CryptoPtr<EVP_PKEY> key) {
    return Key(std::make_shared<const Key::Impl>(Key::Impl{std::move(key)}));
}

X509Certificate MakeCertificate(CryptoPtr<X509> certificate) {
    using Impl = X509Certificate::Impl;
    return X509Certificate(std::make_shared<const Impl>(Impl{std::move(certificate)}));
}

LumPalMsg::MessageList_t LastFailure() {
    LumPalMsg::MessageList_t list;
    if (const unsigned long code = ERR_peek_last_error()) {
        char text[256] = "";
        ERR_error_string_n(code, text, sizeof text);
        list.Add(CreateError_t(String_t::FromUtf8(text)));
    }
    ERR_clear_error();
    return list;
}

X509Certificate::X509Certificate(const CharArray_t& der) : X509Certificate(MakeCertificate(Parse(der))) {}

bool X509Certificate::CheckValidity() const {
    if (IsNull()) Fail("There is no certificate.");
    const X509* certificate = impl->certificate.get();
    const int begun = X509_cmp_current_time(X509_get0_notBefore(certificate));
    const int ended = X509_cmp_current_time(X509_get0_notAfter(certificate));
    if (begun == 0 || ended == 0) Fail("The certificate tells no time of validity.");
    if (begun > 0) Fail("The certificate is not valid yet.");
    if (ended < 0) Fail("The certificate is not valid any more.");
    return true;
}

String_t X509Certificate::GetSubjectCN() const {
    return IsNull() ? String_t("") : CommonName(X509_get_subject_name(impl->certificate.get()));
}

String_t X509Certificate::GetIssuerCN() const {
    return IsNull() ? String_t("") : CommonName(X509_get_issuer_name(impl->certificate.get()));
}

String_t X509Certificate::GetNotAfter() const {
    std::tm end{};
    if (IsNull() || ASN1_TIME_to_tm(X509_get0_notAfter(impl->certificate.get()), &end) != 1) return "";
    char text[32] = "";
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &end);
    return String_t(text);
}

Key X509Certificate::GetPublicKey() const {
    if (IsNull()) return {};
    CryptoPtr<EVP_PKEY> key(X509_get_pubkey(impl->certificate.get()));
    if (key) return MakeKey(std::move(key));
    ERR_clear_error();
    return {};
}

bool X509Certificate::Verify(const Key& key) const {
    if (IsNull() || key.IsNull()) RefuseArgument("A certificate and a key are needed to verify.");
    X509* const certificate = impl->certificate.get();
    EVP_PKEY* const verifier = key.GetImpl()->key.get();
    ERR_clear_error();
    if (!CanHaveSigned(certificate, verifier)) RefuseArgument("The certificate cannot be verified with such a key.");
    if (!IsStrong(certificate, verifier)) return false;
    // Below 0 also for a signature that is malformed: that one is wrong, and the key is not to blame.
    const bool right = X509_verify(certificate, verifier) == 1;
    ERR_clear_error();
    return right;
}

void X509Certificate::RequireVouchedBy(const X509Certificate& authority) const {
    if (IsNull() || authority.IsNull()) Fail("There is no certificate.");
    const std::string refusal = WhyNoSigner(impl->certificate.get(), authority.impl->certificate.get());
    if (refusal.empty()) return;
    throw SecCoreException(CreateError_t("A certificate of '%1' is refused: %2.")
                           << GetSubjectCN() << String_t::FromUtf8(refusal));
}

bool X509Certificate::MayIssue() const {
    return !IsNull() && IsAuthority(impl->certificate.get());
}

void X509Certificate::GetEncoded(CharArray_t& der) const {
    der = CharArray_t();
    if (IsNull()) return;
    unsigned char* bytes = nullptr;
    const int length = i2d_X509(impl->certificate.get(), &bytes);
    if (length < 0) Fail("The certificate cannot be encoded.");
    der = CharArray_t(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    OPENSSL_free(bytes);
}

}  // namespace LumSecCore
