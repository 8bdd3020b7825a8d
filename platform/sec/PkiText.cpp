// Keys and certificates from and to texts.
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <ctime>

#include "Crypto.h"
#include "LumSecPki.h"
#include "PkiFailure.h"

namespace LumSecPki {

using LumPalArray::CharArray_t;
using LumSecCore::CryptoPtr;
using LumSecCore::Key;
using LumSecCore::X509Certificate;

namespace {

int NoPassphrase(char*, int, int, void*) {
    return -1;
}

CryptoPtr<BIO> Input(const CharArray_t& bytes) {
    ERR_clear_error();
    return CryptoPtr<BIO>(BIO_new_mem_buf(bytes.GetData(), static_cast<int>(bytes.GetLength())));
}

bool IsPem(const CharArray_t& bytes) {
    return bytes.View().find("-----BEGIN") != std::string_view::npos;
}

/// @param from  null: now
/// A time is null for now.
std::int64_t SecondsBetween(const ASN1_TIME* from, const ASN1_TIME* to) {
    constexpr std::int64_t daySeconds = 86400;
    int days = 0, seconds = 0;
    if (ASN1_TIME_diff(&days, &seconds, from, to) != 1) Fail("The certificate tells no time of validity.");
    return days * daySeconds + seconds;
}

std::int64_t SecondsToEnd(const X509Certificate& certificate, const ASN1_TIME* from) {
    if (certificate.IsNull()) Fail("There is no certificate.");
    return SecondsBetween(from, X509_get0_notAfter(certificate.GetImpl()->certificate.get()));
}

/// Whether what the private key signs is proven by the public one. The halves of one key file need not belong together.
bool ProvesWhatIsSigned(EVP_PKEY* privateKey, EVP_PKEY* publicKey) {
    static constexpr unsigned char probe[] = "probe";
    const EVP_MD* const digest = DigestFor(privateKey);
    const CryptoPtr<EVP_MD_CTX> signer(EVP_MD_CTX_new()), verifier(EVP_MD_CTX_new());
    std::size_t length = 0;
    if (EVP_DigestSignInit(signer.get(), nullptr, digest, nullptr, privateKey) != 1 ||
        EVP_DigestSign(signer.get(), nullptr, &length, probe, sizeof probe) != 1)
        return false;
    std::vector<unsigned char> made(length);
    return EVP_DigestSign(signer.get(), made.data(), &length, probe, sizeof probe) == 1 &&
           EVP_DigestVerifyInit(verifier.get(), nullptr, digest, nullptr, publicKey) == 1 &&
           EVP_DigestVerify(verifier.get(), made.data(), length, probe, sizeof probe) == 1;
}

}  // namespace

const EVP_MD* DigestFor(const EVP_PKEY* key) {
    return EVP_PKEY_is_a(key, "ED25519") || EVP_PKEY_is_a(key, "ED448") ? nullptr : EVP_sha256();
}

CharArray_t Collect(const std::function<int(BIO*)>& write) {
    const CryptoPtr<BIO> out(BIO_new(BIO_s_mem()));
    if (!out || write(out.get()) != 1) Fail("The text cannot be made.");
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return CharArray_t(text, static_cast<std::size_t>(length));
}

std::vector<X509Certificate> ReadCertificates(const CharArray_t& bytes) {
    if (!IsPem(bytes)) return {X509Certificate(bytes)};
    const CryptoPtr<BIO> input = Input(bytes);
    std::vector<X509Certificate> read;
    while (CryptoPtr<X509> next{PEM_read_bio_X509(input.get(), nullptr, NoPassphrase, nullptr)}) {
        read.push_back(LumSecCore::MakeCertificate(std::move(next)));
    }
    // The text's end is told as a missing beginning; everything else is a broken certificate.
    const bool ended = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
    if (read.empty() || !ended) Fail("The text holds no certificate, or a broken one.");
    ERR_clear_error();
    return read;
}

X509Certificate ReadCertificate(const CharArray_t& bytes) {
    return ReadCertificates(bytes).front();
}

Key ReadPrivateKey(const CharArray_t& pem) {
    CryptoPtr<EVP_PKEY> read(PEM_read_bio_PrivateKey(Input(pem).get(), nullptr, NoPassphrase, nullptr));
    if (!read) Fail("The text holds no private key that can be read without a passphrase.");
    return LumSecCore::MakeKey(std::move(read));
}

CharArray_t ToPem(const X509Certificate& certificate) {
    if (certificate.IsNull()) Fail("There is no certificate.");
    return Collect([&](BIO* out) { return PEM_write_bio_X509(out, certificate.GetImpl()->certificate.get()); });
}

CharArray_t ToPem(const Key& privateKey) {
    if (privateKey.IsNull()) Fail("There is no key.");
    return Collect([&](BIO* out) {
        return PEM_write_bio_PKCS8PrivateKey(out, privateKey.GetImpl()->key.get(), nullptr, nullptr, 0, nullptr,
                                             nullptr);
    });
}

bool Match(const X509Certificate& certificate, const Key& privateKey) {
    if (certificate.IsNull() || privateKey.IsNull()) return false;
    X509* const x509 = certificate.GetImpl()->certificate.get();
    EVP_PKEY* const key = privateKey.GetImpl()->key.get();
    const bool match = X509_check_private_key(x509, key) == 1 && ProvesWhatIsSigned(key, X509_get0_pubkey(x509));
    ERR_clear_error();
    return match;
}

bool NamesHost(const X509Certificate& certificate, const LumPalStr::String_t& host) {
    const std::string name = host.ToUtf8();
    if (certificate.IsNull() || name.empty()) return false;
    X509* const names = certificate.GetImpl()->certificate.get();
    const bool isNamed =
        X509_check_ip_asc(names, name.c_str(), 0) == 1 ||
        X509_check_host(names, name.data(), name.size(), X509_CHECK_FLAG_NEVER_CHECK_SUBJECT, nullptr) == 1;
    ERR_clear_error();
    return isNamed;
}

bool IsAuthority(const X509Certificate& certificate) {
    return certificate.MayIssue();
}

LumPalStr::String_t FingerprintOf(const X509Certificate& certificate) {
    if (certificate.IsNull()) Fail("There is no certificate.");
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (X509_digest(certificate.GetImpl()->certificate.get(), EVP_sha256(), digest, &length) != 1)
        Fail("The certificate has no fingerprint.");
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        constexpr char digits[] = "0123456789abcdef";
        text += digits[digest[i] >> 4];
        text += digits[digest[i] & 15];
    }
    return LumPalStr::String_t::FromUtf8(text);
}

LumPalStr::String_t StartToCome(const X509Certificate& certificate) {
    if (certificate.IsNull()) Fail("There is no certificate.");
    const ASN1_TIME* start = X509_get0_notBefore(certificate.GetImpl()->certificate.get());
    std::tm parts{};
    if (SecondsBetween(nullptr, start) <= 0 || ASN1_TIME_to_tm(start, &parts) != 1) return "";
    char text[32] = "";
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return LumPalStr::String_t(text);
}

std::int64_t SecondsLeft(const X509Certificate& certificate) {
    return SecondsToEnd(certificate, nullptr);
}

std::int64_t EndSeconds(const X509Certificate& certificate) {
    const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> epoch(ASN1_TIME_set(nullptr, 0), ASN1_TIME_free);
    if (!epoch) Fail("There is no memory.");
    return SecondsToEnd(certificate, epoch.get());
}

}  // namespace LumSecPki
