#include "BareProof.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <utility>

namespace bench {
namespace {

using LumPalArray::CharArray_t;

struct Free {
    void operator()(X509* object) const { X509_free(object); }
    void operator()(EVP_MD_CTX* object) const { EVP_MD_CTX_free(object); }
    void operator()(std::FILE* object) const { std::fclose(object); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Free>;

void Demand(bool done, const char* what) {
    if (!done) throw std::runtime_error(std::string("bare proof: ") + what);
}

std::string Encode(const CharArray_t& bytes) {
    std::string text(bytes.GetLength() / 3 * 4 + 5, ' ');
    text.resize(static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                                         reinterpret_cast<const unsigned char*>(bytes.GetData()),
                                                         static_cast<int>(bytes.GetLength()))));
    return text;
}

std::string Decode(const std::string& text) {
    std::string bytes(text.size() / 4 * 3, ' ');
    const int length =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    Demand(length >= 0, "base64");
    const std::size_t padding = text.size() - text.find_last_not_of('=') - 1;
    bytes.resize(static_cast<std::size_t>(length) - padding);
    return bytes;
}

std::string ReadAll(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    Demand(file >= 0 && fstat(file, &status) == 0, "open");
    std::string content(static_cast<std::size_t>(status.st_size), ' ');
    const ssize_t length = read(file, content.data(), content.size());
    Demand(close(file) == 0 && length == status.st_size, "read");
    return content;
}

Owned<X509> ParseCertificate(const std::string& der) {
    const auto* at = reinterpret_cast<const unsigned char*>(der.data());
    Owned<X509> certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
    Demand(certificate != nullptr, "certificate");
    Demand(X509_cmp_current_time(X509_get0_notBefore(certificate.get())) < 0 &&
               X509_cmp_current_time(X509_get0_notAfter(certificate.get())) > 0,
           "time");
    return certificate;
}

Owned<X509> ReadIssuer(const std::string& path) {
    const Owned<std::FILE> file(std::fopen(path.c_str(), "rbe"));
    Demand(file != nullptr, "issuer");
    Owned<X509> issuer(PEM_read_X509(file.get(), nullptr, nullptr, nullptr));
    Demand(issuer != nullptr, "issuer");
    return issuer;
}

void Verify(X509* certificate, const std::string& content, const std::string& signature) {
    EVP_PKEY* const key = X509_get0_pubkey(certificate);
    const EVP_MD* const digest = EVP_PKEY_is_a(key, "ED25519") ? nullptr : EVP_sha256();
    const Owned<EVP_MD_CTX> context(EVP_MD_CTX_new());
    Demand(EVP_DigestVerifyInit(context.get(), nullptr, digest, nullptr, key) == 1, "key");
    Demand(EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(signature.data()), signature.size(),
                            reinterpret_cast<const unsigned char*>(content.data()), content.size()) == 1,
           "signature");
}

}  // namespace

SignedFile::SignedFile(std::string path, const CharArray_t& certificate, const CharArray_t& signature,
                       std::string issuerPath)
    : path(std::move(path)),
      certificate(Encode(certificate)),
      signature(Encode(signature)),
      issuerPath(std::move(issuerPath)) {}

void BareProve(const SignedFile& file) {
    const std::string content = ReadAll(file.path);
    const Owned<X509> certificate = ParseCertificate(Decode(file.certificate));
    const Owned<X509> issuer = ReadIssuer(file.issuerPath);
    Demand(X509_verify(certificate.get(), X509_get0_pubkey(issuer.get())) == 1, "chain");
    Verify(certificate.get(), content, Decode(file.signature));
}

}  // namespace bench
