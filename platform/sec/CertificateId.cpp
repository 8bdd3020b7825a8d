// CertificateId of LumSecRevoked.h.
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <new>

#include "Crypto.h"
#include "Revoked.h"

namespace LumSecCore {

namespace {

constexpr std::size_t kLongestName = 1024;
constexpr char kHexDigits[] = "0123456789abcdef";

std::string Hex(const unsigned char* bytes, std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += kHexDigits[bytes[i] >> 4];
        text += kHexDigits[bytes[i] & 15];
    }
    return text;
}

char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Empty for one that cannot be written.
std::string Written(const X509_NAME* name) {
    const CryptoPtr<BIO> out(BIO_new(BIO_s_mem()));
    if (!out) throw std::bad_alloc();
    const bool isWritten = X509_NAME_print_ex(out.get(), name, 0, XN_FLAG_RFC2253) >= 0;
    ERR_clear_error();
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return isWritten ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

std::string Hashed(const X509_NAME* name) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (X509_NAME_digest(name, EVP_sha256(), digest, &length) != 1) throw std::bad_alloc();
    return '#' + Hex(digest, length);
}

std::string TextOf(const X509_NAME* name) {
    std::string text = Written(name);
    const auto isPlain = [](unsigned char c) { return c >= 0x20 && c < 0x7F; };
    const bool isUsable =
        !text.empty() && text.size() <= kLongestName && std::all_of(text.begin(), text.end(), isPlain);
    return isUsable ? text : Hashed(name);
}

std::string SerialOf(const X509* certificate) {
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> number(
        ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr), BN_free);
    const std::unique_ptr<char, void (*)(char*)> text(number ? BN_bn2hex(number.get()) : nullptr,
                                                      [](char* bytes) { OPENSSL_free(bytes); });
    if (!text) throw std::bad_alloc();
    return CertificateId::SerialFrom(text.get());
}

CertificateId IdOf(const X509* certificate) {
    return {SerialOf(certificate), TextOf(X509_get_issuer_name(certificate))};
}

const X509* Required(const X509Certificate& certificate) {
    if (!certificate.IsNull()) return certificate.GetImpl()->certificate.get();
    throw SecCoreException(LumPalMsg::CreateError_t("There is no certificate."));
}

}  // namespace

CertificateId CertificateId::Of(const X509Certificate& certificate) {
    return IdOf(Required(certificate));
}

std::string CertificateId::NameOf(const X509Certificate& certificate) {
    return TextOf(X509_get_subject_name(Required(certificate)));
}

std::string CertificateId::SerialFrom(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative ? 1 : 0);
    if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
    std::string digits;
    for (const char c : text) {
        if (c == ':' && !digits.empty()) continue;
        if (std::string_view(kHexDigits).find(ToLower(c)) == std::string_view::npos) return {};
        digits += ToLower(c);
    }
    if (digits.empty()) return {};
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    return isNegative ? '-' + digits : digits;
}

bool IsRevoked(const RevocationList& list, const X509* certificate) noexcept try {
    return !list.Get().empty() && list.Holds(IdOf(certificate));
} catch (const std::exception&) {
    return true;
}

}  // namespace LumSecCore
