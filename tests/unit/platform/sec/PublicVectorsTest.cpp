// Signatures and certificates that others published: see tests/data/vectors/README.md.
#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <memory>

#include "Crypto.h"
#include "LumSecCore.h"
#include "Vectors.h"

namespace LumSecCore {
namespace {

using LumPalArray::CharArray_t;
using LumPalStr::String_t;

struct FreeParts {
    void operator()(BIGNUM* object) const { BN_free(object); }
    void operator()(OSSL_PARAM_BLD* object) const { OSSL_PARAM_BLD_free(object); }
    void operator()(OSSL_PARAM* object) const { OSSL_PARAM_free(object); }
    void operator()(EVP_PKEY_CTX* object) const { EVP_PKEY_CTX_free(object); }
};
template <class Object>
using Part = std::unique_ptr<Object, FreeParts>;

CharArray_t Array(const std::string& bytes) {
    return CharArray_t(bytes.data(), bytes.size());
}

const unsigned char* Octets(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

/// A null key when the library itself refuses the parts.
Key KeyFrom(const char* kind, OSSL_PARAM_BLD* parts) {
    const Part<OSSL_PARAM> parameters(OSSL_PARAM_BLD_to_param(parts));
    const Part<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_name(nullptr, kind, nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    if (EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get()) != 1) return {};
    return MakeKey(CryptoPtr<EVP_PKEY>(key));
}

Key RsaKey(const Vector& vector) {
    const std::string modulus = vector.Bytes("N"), exponent = vector.Bytes("E");
    const Part<BIGNUM> n(BN_bin2bn(Octets(modulus), static_cast<int>(modulus.size()), nullptr));
    const Part<BIGNUM> e(BN_bin2bn(Octets(exponent), static_cast<int>(exponent.size()), nullptr));
    const Part<OSSL_PARAM_BLD> parts(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_BN(parts.get(), OSSL_PKEY_PARAM_RSA_N, n.get());
    OSSL_PARAM_BLD_push_BN(parts.get(), OSSL_PKEY_PARAM_RSA_E, e.get());
    return KeyFrom("RSA", parts.get());
}

Key EcKey(const Vector& vector) {
    const std::string point = vector.Bytes("Q");
    const Part<OSSL_PARAM_BLD> parts(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_utf8_string(parts.get(), OSSL_PKEY_PARAM_GROUP_NAME, vector.Text("Curve").c_str(), 0);
    OSSL_PARAM_BLD_push_octet_string(parts.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size());
    return KeyFrom("EC", parts.get());
}

Key EdwardsKey(const std::string& bytes) {
    return MakeKey(
        CryptoPtr<EVP_PKEY>(EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, Octets(bytes), bytes.size())));
}

/// "valid", "invalid" or "key", when that is refused.
std::string Verdict(const Key& key, const std::string& message, const std::string& signature) {
    Signature verifier(0);
    try {
        verifier.InitVerify(key);
    } catch (const InvalidKeyException&) {
        return "key";
    }
    verifier.Update(Array(message));
    try {
        return verifier.Verify(Array(signature)) ? "valid" : "invalid";
    } catch (const SignatureException&) {
        return "invalid";
    }
}

/// Every record comes out as it says. @return how many said "valid"
int RunAll(const std::string& file, std::size_t count, Key (*keyOf)(const Vector&)) {
    const std::vector<Vector> vectors = ReadVectors(file);
    EXPECT_EQ(vectors.size(), count);
    int valid = 0;
    for (const Vector& vector : vectors) {
        const std::string verdict = Verdict(keyOf(vector), vector.Bytes("Msg"), vector.Bytes("Sig"));
        EXPECT_EQ(verdict, vector.Text("Result")) << vector.place;
        valid += verdict == "valid";
    }
    return valid;
}

TEST(PublicVectors, OfRsaSignatures) {
    EXPECT_EQ(RunAll("rsa_pkcs1_sha256_nist.txt", 56, RsaKey), 9);
}

TEST(PublicVectors, OfRsaSignaturesAtTheEdgeOfWhatIsAllowed) {
    EXPECT_EQ(RunAll("rsa_pkcs1_sha256_edges.txt", 16, RsaKey), 7);
}

TEST(PublicVectors, OfEcdsaSignatures) {
    EXPECT_EQ(RunAll("ecdsa_sha256_nist.txt", 30, EcKey), 6);
}

TEST(PublicVectors, OfEcdsaSignaturesAtTheEdgeOfWhatIsAllowed) {
    EXPECT_EQ(RunAll("ecdsa_sha256_edges.txt", 15, EcKey), 12);
}

TEST(PublicVectors, OfEd25519SignaturesThatAreAlsoMadeAlike) {
    const std::vector<Vector> vectors = ReadVectors("ed25519_rfc8032.txt");
    EXPECT_EQ(vectors.size(), 66u);
    for (const Vector& vector : vectors) {
        const std::string seed = vector.Bytes("Seed"), message = vector.Bytes("Msg"), signature = vector.Bytes("Sig");
        EXPECT_EQ(Verdict(EdwardsKey(vector.Bytes("Pub")), message, signature), "valid") << vector.place;
        Signature signer(0);
        signer.InitSign(MakeKey(
            CryptoPtr<EVP_PKEY>(EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, Octets(seed), seed.size()))));
        signer.Update(Array(message));
        CharArray_t made;
        EXPECT_EQ(signer.Sign(made), 64u) << vector.place;
        EXPECT_EQ(made.View(), signature) << vector.place;
    }
}

/// The second half plus the order of the group: the same number to who does not look at its size.
std::string WithTheOrderAdded(std::string signature) {
    const unsigned char order[] = {0xed, 0xd3, 0xf5, 0x5c, 0x1a, 0x63, 0x12, 0x58, 0xd6, 0x9c, 0xf7,
                                   0xa2, 0xde, 0xf9, 0xde, 0x14, 0,    0,    0,    0,    0,    0,
                                   0,    0,    0,    0,    0,    0,    0,    0,    0,    0x10};
    unsigned carry = 0;
    for (std::size_t i = 0; i < sizeof order; ++i) {
        carry += order[i] + static_cast<unsigned char>(signature[32 + i]);
        signature[32 + i] = static_cast<char>(carry & 0xFF);
        carry >>= 8;
    }
    return signature;
}

TEST(PublicVectors, ChangedEd25519SignaturesAreWrong) {
    for (const Vector& vector : ReadVectors("ed25519_rfc8032.txt")) {
        const Key key = EdwardsKey(vector.Bytes("Pub"));
        const std::string message = vector.Bytes("Msg"), signature = vector.Bytes("Sig");
        EXPECT_EQ(Verdict(key, message, WithTheOrderAdded(signature)), "invalid") << vector.place;
        EXPECT_EQ(Verdict(key, message + "x", signature), "invalid") << vector.place;
        EXPECT_EQ(Verdict(key, message, signature + "x"), "invalid") << vector.place;
        EXPECT_EQ(Verdict(key, message, signature.substr(1)), "invalid") << vector.place;
        for (std::size_t at = 0; at < signature.size(); at += 7) {
            std::string changed = signature;
            changed[at] = static_cast<char>(changed[at] ^ 1);
            EXPECT_EQ(Verdict(key, message, changed), "invalid") << vector.place << " at " << at;
        }
    }
}

/// "yes", "no", or "never" for a key that cannot verify it.
std::string SignedBy(const X509Certificate& certificate, const X509Certificate& signer) {
    try {
        return certificate.Verify(signer.GetPublicKey()) ? "yes" : "no";
    } catch (const LumPalMsg::IllegalArgumentError_t&) {
        return "never";
    }
}

void CheckCertificate(const Vector& vector, const std::map<std::string, X509Certificate>& above,
                      const X509Certificate& certificate) {
    EXPECT_EQ(certificate.GetSubjectCN().ToUtf8(), vector.Text("Subject"));
    EXPECT_EQ(certificate.GetNotAfter().ToUtf8(), vector.Text("NotAfter"));
    CharArray_t encoded;
    certificate.GetEncoded(encoded);
    EXPECT_EQ(encoded.View(), vector.Bytes("Der"));
    // One that is valid now will not be one day: only those say something that never will be again, or not for long.
    if (vector.Has("Time")) {
        EXPECT_THROW(certificate.CheckValidity(), SecCoreException);
    }
    if (!vector.Has("Signer")) return;
    const auto signer = above.find(vector.Text("Signer"));
    ASSERT_NE(signer, above.end());
    const std::string verdict = vector.Text("Signed");
    EXPECT_EQ(SignedBy(certificate, signer->second), verdict == "weak" ? "no" : verdict);
    if (verdict == "yes" || verdict == "weak") {
        EXPECT_EQ(certificate.GetIssuerCN().ToUtf8(), vector.Text("Signer"));
    }
}

TEST(PublicVectors, OfCertificates) {
    std::map<std::string, X509Certificate> above;
    int broken = 0;
    for (const Vector& vector : ReadVectors("certificates.txt")) {
        SCOPED_TRACE(vector.place + " " + vector.Text("File"));
        const CharArray_t der = Array(vector.Bytes("Der"));
        if (vector.Has("Broken")) {
            EXPECT_THROW(X509Certificate{der}, SecCoreException);
            ++broken;
            continue;
        }
        const X509Certificate certificate(der);
        above.emplace(vector.Text("Subject"), certificate);
        CheckCertificate(vector, above, certificate);
    }
    EXPECT_EQ(above.size(), 28u);  // two have no common name, two the same one
    EXPECT_EQ(broken, 2);
}

TEST(PublicVectors, OfCertificatesAreNoneWhenTheyAreCutOrLengthened) {
    for (const Vector& vector : ReadVectors("certificates.txt")) {
        const std::string der = vector.Bytes("Der");
        EXPECT_THROW(X509Certificate(Array(der + '\0')), SecCoreException) << vector.place;
        for (std::size_t length = 0; length < der.size(); length += 13) {
            EXPECT_THROW(X509Certificate(Array(der.substr(0, length))), SecCoreException) << vector.place;
        }
    }
}

/// The key of a certificate verifies, or is refused as a whole.
TEST(PublicVectors, OfCertificatesHaveKeysThatVerifyOrAreRefused) {
    int usable = 0;
    for (const Vector& vector : ReadVectors("certificates.txt")) {
        if (vector.Has("Broken")) continue;
        const X509Certificate certificate(Array(vector.Bytes("Der")));
        const std::string verdict = Verdict(certificate.GetPublicKey(), "message", std::string(256, '\1'));
        EXPECT_NE(verdict, "valid") << vector.place;
        usable += verdict == "invalid";
    }
    EXPECT_GT(usable, 10);
}

}  // namespace
}  // namespace LumSecCore
