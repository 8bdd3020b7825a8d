// Keys, requests and certificates that an administrator makes and takes in.
#include "LumSecPki.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <string>

#include "Crypto.h"
#include "LumSecRights.h"
#include "TestPki.h"

namespace LumSecPki {
namespace {

using LumPalArray::CharArray_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using LumSecCore::Key;
using LumSecCore::SecCoreException;
using LumSecCore::X509Certificate;

CharArray_t Bytes(const std::string& text) {
    return CharArray_t(text.data(), text.size());
}

struct Made {
    Key key = NewKey();
    X509Certificate certificate = NewAuthority(key, "authority", 2);
};

TEST(Pki, AnAuthorityIssuesWhatIsRequested) {
    const Made authority;
    const Key key = NewKey();
    const CharArray_t request = NewRequest(key, String_t::FromUtf8("Größe"), {"localhost", "127.0.0.1", "::1"});
    const X509Certificate issued = Issue(authority.certificate, authority.key, request, 1);
    EXPECT_EQ(issued.GetSubjectCN(), String_t::FromUtf8("Größe"));
    EXPECT_EQ(issued.GetIssuerCN(), "authority");
    EXPECT_TRUE(issued.CheckValidity());
    EXPECT_TRUE(issued.Verify(authority.certificate.GetPublicKey()));
    EXPECT_TRUE(Match(issued, key));
    EXPECT_FALSE(Match(issued, authority.key));
    EXPECT_TRUE(IsAuthority(authority.certificate));
    EXPECT_FALSE(IsAuthority(issued));
    EXPECT_GT(SecondsLeft(issued), 86000);
    EXPECT_LE(SecondsLeft(issued), 86400);
}

TEST(Pki, KeysAndCertificatesComeBackFromTheirTexts) {
    const Made authority;
    EXPECT_TRUE(Match(ReadCertificate(ToPem(authority.certificate)), ReadPrivateKey(ToPem(authority.key))));
    CharArray_t der;
    authority.certificate.GetEncoded(der);
    EXPECT_EQ(ToPem(ReadCertificate(der)).View(), ToPem(authority.certificate).View());
}

TEST(Pki, AChainIsReadAsAWhole) {
    const Made one, two;
    const std::string both = std::string(ToPem(one.certificate).View()) + "words\n" +
                             std::string(ToPem(two.key).View()) + std::string(ToPem(two.certificate).View());
    const auto chain = ReadCertificates(Bytes(both + "and more words\n"));
    ASSERT_EQ(chain.size(), 2u);
    EXPECT_TRUE(Match(chain[0], one.key));
    EXPECT_TRUE(Match(chain[1], two.key));
    EXPECT_TRUE(Match(ReadCertificate(Bytes(both)), one.key));
    EXPECT_THROW(ReadCertificates(Bytes(both + "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n")),
                 SecCoreException);
    EXPECT_THROW(ReadCertificates(Bytes(both + "-----BEGIN CERTIFICATE-----\nMIIB")), SecCoreException);
}

TEST(Pki, ReadsEachKindOfKeyAndIssuesForIt) {
    const Made authority;
    const TestAuthority other("other");
    for (const char* kind : {"RSA:2048", "EC:P-256", "EC:P-384", "ED25519"}) {
        const TestIdentity identity = other.IssueFor(kind, "node");
        const Key key = ReadPrivateKey(Bytes(identity.key));
        EXPECT_TRUE(Match(ReadCertificate(Bytes(identity.certificate)), key)) << kind;
        const X509Certificate issued = Issue(authority.certificate, authority.key, NewRequest(key, "node", {}), 1);
        EXPECT_TRUE(Match(issued, key)) << kind;
    }
}

TEST(Pki, AKeyWhoseHalvesDoNotBelongTogetherMatchesNoCertificate) {
    const TestIdentity identity = TestAuthority("authority").IssueFor("EC:P-256", "node");
    const X509Certificate certificate = ReadCertificate(Bytes(identity.certificate));
    ASSERT_TRUE(Match(certificate, ReadPrivateKey(Bytes(identity.key))));
    // The second line of the text begins within the private half; the public one follows it.
    std::string damaged = identity.key;
    const std::size_t inPrivateHalf = damaged.find('\n', damaged.find('\n') + 1) + 5;
    damaged[inPrivateHalf] = damaged[inPrivateHalf] == 'A' ? 'B' : 'A';
    EXPECT_FALSE(Match(certificate, ReadPrivateKey(Bytes(damaged))));
}

TEST(Pki, TextsThatHoldNothingOfTheKindAreRefused) {
    const Made authority;
    const CharArray_t request = NewRequest(authority.key, "node", {});
    for (const std::string& text :
         {std::string(), std::string("text"), std::string("-----BEGIN X\nAAAA\n-----END X\n"),
          std::string("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"), std::string(request.View())}) {
        EXPECT_THROW(ReadCertificate(Bytes(text)), SecCoreException) << text;
        EXPECT_THROW(ReadPrivateKey(Bytes(text)), SecCoreException) << text;
    }
    EXPECT_THROW(Issue(authority.certificate, authority.key, Bytes("text"), 1), SecCoreException);
    EXPECT_THROW(ToPem(Key()), SecCoreException);
    EXPECT_THROW(ToPem(X509Certificate()), SecCoreException);
    EXPECT_THROW(SecondsLeft(X509Certificate()), SecCoreException);
    EXPECT_FALSE(Match(X509Certificate(), authority.key));
    EXPECT_FALSE(Match(authority.certificate, Key()));
    EXPECT_FALSE(IsAuthority(X509Certificate()));
}

TEST(Pki, ARequestThatWasChangedIsNotIssued) {
    const Made authority;
    std::string request(NewRequest(NewKey(), "node", {}).View());
    const std::size_t middle = request.size() / 2;
    request[middle] = request[middle] == 'A' ? 'B' : 'A';
    EXPECT_THROW(Issue(authority.certificate, authority.key, Bytes(request), 1), SecCoreException);
}

TEST(Pki, AnAuthorityNeedsItsOwnKey) {
    const Made authority;
    const CharArray_t request = NewRequest(authority.key, "node", {});
    EXPECT_THROW(Issue(authority.certificate, NewKey(), request, 1), SecCoreException);
    EXPECT_THROW(Issue(X509Certificate(), authority.key, request, 1), SecCoreException);
}

TEST(Pki, NamesAndHostsThatAreNoneAreRefused) {
    const Key key = NewKey();
    EXPECT_NO_THROW(NewRequest(key, String_t::FromUtf8(std::string(64, 'n')), {}));
    for (const std::string& name : {std::string(), std::string(65, 'n'), std::string("a\nb"), std::string("a\0b", 3)}) {
        EXPECT_THROW(NewRequest(key, String_t::FromUtf8(name), {}), IllegalArgumentError_t) << name;
        EXPECT_THROW(NewAuthority(key, String_t::FromUtf8(name), 1), IllegalArgumentError_t) << name;
    }
    for (const std::string& host : {std::string(), std::string("a b"), std::string("a,DNS:b"), std::string("a\0b", 3),
                                    std::string("h\xC3\xB6st"), std::string(254, 'h'), std::string("*.example"),
                                    std::string("a..b"), std::string("-a"), std::string(64, 'h')}) {
        EXPECT_THROW(NewRequest(key, "node", {String_t::FromUtf8(host)}), IllegalArgumentError_t) << host;
    }
}

/// A request as another program makes it, with a list of names of its own.
std::string RequestFor(const std::string& names) {
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    const std::unique_ptr<X509_REQ, decltype(&X509_REQ_free)> request(X509_REQ_new(), X509_REQ_free);
    X509_NAME_add_entry_by_txt(X509_REQ_get_subject_name(request.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("node"), -1, -1, 0);
    X509_REQ_set_pubkey(request.get(), key.get());
    STACK_OF(X509_EXTENSION)* extensions = sk_X509_EXTENSION_new_null();
    for (std::size_t at = 0; at < names.size();) {
        const std::size_t end = std::min(names.find(';', at), names.size());
        const std::string part = names.substr(at, end - at);
        sk_X509_EXTENSION_push(extensions, X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, part.c_str()));
        at = end + 1;
    }
    X509_REQ_add_extensions(request.get(), extensions);
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
    X509_REQ_sign(request.get(), key.get(), EVP_sha256());
    const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), BIO_free);
    PEM_write_bio_X509_REQ(out.get(), request.get());
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return std::string(text, static_cast<std::size_t>(length));
}

TEST(Pki, TheHostNamesOfARequestAreTakenOverWhenTheyAreSome) {
    const Made authority;
    const std::string label(63, 'a');
    for (const std::string& names :
         {std::string("DNS:localhost"), std::string("DNS:a-b.example,DNS:n_1,IP:127.0.0.1,IP:::1"), "DNS:" + label}) {
        const X509Certificate issued = Issue(authority.certificate, authority.key, Bytes(RequestFor(names)), 1);
        const std::string host = names.substr(4, names.find(',') - 4);
        EXPECT_EQ(X509_check_host(issued.GetImpl()->certificate.get(), host.c_str(), 0, 0, nullptr), 1) << host;
    }
    EXPECT_FALSE(Issue(authority.certificate, authority.key, Bytes(RequestFor("")), 1).IsNull());
}

TEST(Pki, ANameOfARequestThatIsNoHostIsNotIssued) {
    const Made authority;
    for (const std::string& names :
         {std::string("DNS:*.example"), std::string("DNS:*"), std::string("DNS:a b"), std::string("DNS:a..b"),
          std::string("DNS:.a"), std::string("DNS:a."), std::string("DNS:-a"), std::string("DNS:a-"),
          std::string("DNS:a/b"), std::string("DNS:user@host"), "DNS:" + std::string(64, 'a'),
          std::string("DNS:good,email:root@example"), std::string("URI:https://good/"), std::string("RID:1.2.3"),
          std::string("DNS:one;DNS:two")}) {
        EXPECT_THROW(Issue(authority.certificate, authority.key, Bytes(RequestFor(names)), 1), SecCoreException)
            << names;
    }
}

TEST(Pki, TheEndOfACertificateIsToldInSeconds) {
    const Made authority;
    EXPECT_NEAR(static_cast<double>(EndSeconds(authority.certificate)),
                static_cast<double>(std::time(nullptr)) + 172800, 60);
    EXPECT_THROW(EndSeconds(X509Certificate()), SecCoreException);
}

TEST(Pki, ACertificateThatHasEndedHasLessThanNothingLeft) {
    const TestIdentity ended = TestAuthority("authority").Issue("node", "", -1);
    EXPECT_LT(SecondsLeft(ReadCertificate(Bytes(ended.certificate))), 0);
}

TEST(RightWords, AreReadByNameAndNumberAndToldByName) {
    const struct {
        const char *word, *names;
        unsigned bits;
    } rows[] = {{"install", "install", 1}, {"Remove", "remove", 2}, {"0x10", "list", 16},  {"48", "list modify", 48},
                {"all", "all", 511},       {"511", "all", 511},     {"sign", "sign", 256}, {"0", "", 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(LumSecAuth::RightBits(row.word), row.bits) << row.word;
        EXPECT_EQ(LumSecAuth::RightNames(row.bits), row.names) << row.word;
    }
    for (const char* word : {"", "fly", "512", "-1", "1 2", "0x", "install,list"}) {
        EXPECT_FALSE(LumSecAuth::RightBits(word)) << word;
    }
}

}  // namespace
}  // namespace LumSecPki
