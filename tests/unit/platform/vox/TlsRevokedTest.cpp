// Certificates that are revoked, at a server that would let them in otherwise.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Configure.h"
#include "NamingServer.h"
#include "TestPki.h"
#include "TestRevocations.h"
#include "TlsClient.h"

using testing::HasSubstr;

namespace {

struct TlsRevoked : NamingServer {
    const TestIdentity operators = authority.Issue("operator", "");

    void Reload() { server->server.SetIdentity(LumSecCore::NodeIdentity::Load()); }
    std::string Answer(const TestIdentity& shown) { return TlsClient(server->GetPort()).Show(shown).Exchange(); }
};

constexpr char kAlert[] = "sslv3 alert certificate revoked";

/// Behind it the certificate of the one who issued it.
TestIdentity WithChain(TestIdentity identity, const std::string& issuer) {
    identity.certificate += issuer;
    return identity;
}

using Certificate = CryptoPtr<X509>;

Certificate Parse(const TestIdentity& identity) {
    return {PEM_read_bio_X509(Input(identity.certificate).get(), nullptr, nullptr, nullptr), X509_free};
}

std::string Text(const Certificate& certificate) {
    const CryptoPtr<BIO> out(BIO_new(BIO_s_mem()), BIO_free_all);
    PEM_write_bio_X509(out.get(), certificate.get());
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out.get(), &bytes);
    return std::string(bytes, static_cast<std::size_t>(length));
}

void Sign(const Certificate& certificate, const TestIdentity& signer) {
    const CryptoPtr<EVP_PKEY> key(PEM_read_bio_PrivateKey(Input(signer.key).get(), nullptr, nullptr, nullptr),
                                  EVP_PKEY_free);
    EXPECT_GT(X509_sign(certificate.get(), key.get(), EVP_sha256()), 0);
}

/// An authority that another one vouches for.
TestAuthority Below(const TestAuthority& above, const std::string& name) {
    const TestIdentity own = TestAuthority(name).Self();
    const Certificate certificate = Parse(own), issuer = Parse(above.Self());
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(issuer.get()));
    Sign(certificate, above.Self());
    return TestAuthority(TestIdentity{Text(certificate), own.key});
}

}  // namespace

TEST_F(TlsRevoked, ACertificateIsRefusedUntilItIsTakenBackAndOthersOfItsNameAreNot) {
    const TestIdentity another = authority.Issue("operator", "");
    Revoke({operators.certificate});
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        Reload();
        EXPECT_EQ(TlsClient(server->GetPort()).Versions(version, version).Show(operators).Exchange(), kAlert);
    }
    EXPECT_EQ(server->served, 0);
    EXPECT_TRUE(IsLogged("the client's certificate is refused: certificate revoked")) << log.Text();
    EXPECT_THAT(Answer(another), HasSubstr("from <operator>"));
    Revoke({});
    Reload();
    EXPECT_THAT(Answer(operators), HasSubstr("from <operator>"));
}

TEST_F(TlsRevoked, AConnectionThatStaysOpenIsRefusedFromTheReloadOn) {
    TlsClient leaving(server->GetPort()), staying(server->GetPort());
    ASSERT_THAT(leaving.Show(operators).Exchange(), HasSubstr("from <operator>"));
    ASSERT_THAT(staying.Show(authority.Issue("staying", "")).Exchange(), HasSubstr("from <staying>"));
    Revoke({operators.certificate});
    EXPECT_THAT(leaving.ExchangeAgain(), HasSubstr("from <operator>"));
    Reload();
    const int before = server->served;
    const std::string answer = leaving.ExchangeAgain();
    EXPECT_THAT(answer, HasSubstr("HTTP/1.1 403"));
    EXPECT_THAT(answer, HasSubstr("Connection: close"));
    EXPECT_EQ(server->served, before);
    EXPECT_THAT(staying.ExchangeAgain(), HasSubstr("from <staying>"));
    EXPECT_TRUE(IsLogged("A client is let in no longer")) << log.Text();
}

TEST_F(TlsRevoked, WithAnAuthorityFallsAllThatItVouchedFor) {
    const TestAuthority between = Below(authority, "between");
    const TestIdentity below = WithChain(between.Issue("below", ""), between.Certificate());
    ASSERT_THAT(Answer(below), HasSubstr("from <below>"));
    Revoke({between.Certificate()});
    Reload();
    EXPECT_EQ(Answer(below), kAlert);
    EXPECT_THAT(Answer(operators), HasSubstr("from <operator>"));
    Revoke({authority.Certificate()});
    Reload();
    EXPECT_EQ(Answer(below), kAlert);
    EXPECT_EQ(Answer(operators), kAlert);
}

TEST_F(TlsRevoked, OneThatIsTrustedForItselfIsRefusedToo) {
    const TestAuthority alone("alone", kNoAuthorities.front());
    InstallTrust("alone", alone.Certificate());
    Reload();
    ASSERT_THAT(Answer(alone.Self()), HasSubstr("from <alone>"));
    Revoke({alone.Certificate()});
    Reload();
    EXPECT_EQ(Answer(alone.Self()), kAlert);
}

namespace {

/// The same name and key with another serial number.
TestAuthority Renewed(const TestAuthority& authority, long serial) {
    const TestIdentity own = authority.Self();
    const Certificate certificate = Parse(own);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    Sign(certificate, own);
    return TestAuthority(TestIdentity{Text(certificate), own.key});
}

/// The same certificate with the other one of the two signatures that its key could have made; nobody needs that key.
TestIdentity WithTheOtherSignature(const TestIdentity& identity) {
    const Certificate certificate = Parse(identity);
    const ASN1_BIT_STRING* bits = nullptr;
    X509_get0_signature(&bits, nullptr, certificate.get());
    const unsigned char* at = bits->data;
    const CryptoPtr<ECDSA_SIG> signature(d2i_ECDSA_SIG(nullptr, &at, bits->length), ECDSA_SIG_free);
    const CryptoPtr<EC_GROUP> group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1), EC_GROUP_free);
    BIGNUM* const other = BN_new();
    BN_sub(other, EC_GROUP_get0_order(group.get()), ECDSA_SIG_get0_s(signature.get()));
    ECDSA_SIG_set0(signature.get(), BN_dup(ECDSA_SIG_get0_r(signature.get())), other);
    unsigned char* bytes = nullptr;
    const int length = i2d_ECDSA_SIG(signature.get(), &bytes);
    ASN1_BIT_STRING_set(const_cast<ASN1_BIT_STRING*>(bits), bytes, length);
    const_cast<ASN1_BIT_STRING*>(bits)->flags = ASN1_STRING_FLAG_BITS_LEFT;
    OPENSSL_free(bytes);
    return {Text(certificate), identity.key};
}

}  // namespace

TEST_F(TlsRevoked, AnAuthorityThatWasRenewedVouchesInsteadOfTheRevokedOne) {
    InstallTrust("renewed", Renewed(authority, 4711).Certificate());
    Revoke({authority.Certificate()});
    Reload();
    EXPECT_THAT(Answer(operators), HasSubstr("from <operator>"));
}

TEST_F(TlsRevoked, WhoHoldsARevokedCertificateGainsNothingByAnotherSignatureOfIt) {
    const TestIdentity twin = WithTheOtherSignature(operators);
    ASSERT_NE(twin.certificate, operators.certificate);
    ASSERT_THAT(Answer(twin), HasSubstr("from <operator>"));
    Revoke({operators.certificate});
    Reload();
    EXPECT_EQ(Answer(twin), kAlert);
}

TEST_F(TlsRevoked, WhoWouldNotBeLetInAnywayIsNotToldWhetherHeIsRevoked) {
    const TestIdentity stranger = TestAuthority("other").Issue("operator", ""),
                       ended = authority.Issue("operator", "", -1);
    Revoke({stranger.certificate, ended.certificate});
    Reload();
    EXPECT_EQ(Answer(stranger), "tlsv1 alert unknown ca");
    EXPECT_EQ(Answer(ended), "sslv3 alert certificate expired");
}

TEST_F(TlsRevoked, AServerThatCannotReadTheListKeepsTheLastGoodOneAndNoneStartsWithIt) {
    Revoke({operators.certificate});
    Reload();
    WriteKeyStore("revoked.list", "broken\n");
    EXPECT_THROW(Reload(), LumSecCore::KeyStoreException);
    EXPECT_EQ(Answer(operators), kAlert);
    EXPECT_THAT(Answer(authority.Issue("another", "")), HasSubstr("from <another>"));
    EXPECT_THROW(NewServer(), LumSecCore::KeyStoreException);
    EXPECT_THROW(LumSecCore::NodeIdentity::Load().RequireUsable(), LumSecCore::KeyStoreException);
}

TEST_F(TlsRevoked, TenThousandOthersCostACallerNothing) {
    LumSecCore::RevocationList list;
    for (int i = 0; i < 10000; ++i) {
        char serial[32];
        std::snprintf(serial, sizeof serial, "%x", 0x1000000 + i);
        list.Add({{serial, "CN=authority"}, "2026-11-21T10:00:00Z", "operator"});
    }
    list.Add(RevocationOf(operators.certificate));
    WriteKeyStore("revoked.list", list.ToText());
    Reload();
    EXPECT_EQ(Answer(operators), kAlert);
    EXPECT_THAT(Answer(authority.Issue("operator", "")), HasSubstr("from <operator>"));
}
