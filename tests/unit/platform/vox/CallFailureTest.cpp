// What a call that came to nothing is said to have come to.
#include "CallFailure.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <tuple>

namespace LumVoxRpc {
namespace {

SeenFailure Seen(int code) {
    SeenFailure seen;
    seen.code = code;
    seen.words = "raw words";
    seen.host = "node";
    return seen;
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(CallFailure, RawWordsNeverStandAlone) {
    for (int code = 1; code < CURL_LAST; ++code) {
        const Explanation why = Explain(Seen(code));
        EXPECT_FALSE(why.cause.empty()) << code;
        EXPECT_NE(why.cause, "raw words") << code;
        EXPECT_FALSE(why.cause.ends_with('.')) << why.cause;
    }
}

TEST(CallFailure, EachVerdictOnACertificateSaysWhoseItIsAndWhatToDo) {
    for (int verdict = X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT; verdict < 100; ++verdict) {
        SeenFailure seen = Seen(CURLE_PEER_FAILED_VERIFICATION);
        seen.verdict = verdict;
        const Explanation why = Explain(seen);
        EXPECT_TRUE(why.cause.starts_with("the certificate of the host was refused: ")) << why.cause;
        EXPECT_TRUE(why.advice.ends_with('.')) << verdict;
        EXPECT_FALSE(Has(why.cause, "{")) << why.cause;
    }
}

TEST(CallFailure, AnIssuerThatIsOnlyCalledLikeATrustedOneIsAnotherOne) {
    for (const int verdict : {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN,
                              X509_V_ERR_CERT_SIGNATURE_FAILURE}) {
        SeenFailure seen = Seen(CURLE_PEER_FAILED_VERIFICATION);
        seen.verdict = verdict;
        seen.issuer = "authority";
        seen.isOfNamesake = true;
        const Explanation why = Explain(seen);
        EXPECT_TRUE(
            Has(why.cause, "its issuer 'authority' is another authority than the trusted one of the same name"));
        EXPECT_TRUE(Has(why.advice, "--alias"));
    }
}

TEST(CallFailure, OnlyAPortOfThisNodeIsToldHowItsDaemonIsStarted) {
    for (const auto& [host, tls, told] : {std::tuple("localhost", true, true), std::tuple("127.0.0.1", false, true),
                                          std::tuple("127.0.0.1", true, false), std::tuple("node", true, false)}) {
        SeenFailure seen = Seen(CURLE_COULDNT_CONNECT);
        seen.host = host;
        seen.tls = tls;
        seen.system = "Connection refused";
        EXPECT_EQ(Has(Explain(seen).advice, "start it"), told) << host;
        seen.system = "Network is unreachable";
        EXPECT_EQ(Explain(seen).advice, "") << host;
    }
}

TEST(CallFailure, EveryAlertThatHasARowIsOfTheHost) {
    for (const int alert : {SSL3_AD_CERTIFICATE_EXPIRED, TLS1_AD_UNKNOWN_CA, SSL3_AD_CERTIFICATE_REVOKED,
                            SSL3_AD_BAD_CERTIFICATE, TLS13_AD_CERTIFICATE_REQUIRED, TLS1_AD_PROTOCOL_VERSION}) {
        SeenFailure seen = Seen(CURLE_RECV_ERROR);
        seen.alert = alert;
        seen.ownIssuer = "own authority";
        const Explanation why = Explain(seen);
        EXPECT_TRUE(why.cause.starts_with("the host ")) << why.cause;
        EXPECT_FALSE(why.advice.empty());
        EXPECT_EQ(Has(why.cause, "'own authority'"), alert == TLS1_AD_UNKNOWN_CA) << why.cause;
    }
}

TEST(CallFailure, AnOwnCertificateThatHasEndedIsToldWhateverTheHostSays) {
    for (const int alert : {-1, SSL3_AD_CERTIFICATE_EXPIRED, SSL3_AD_CERTIFICATE_UNKNOWN}) {
        SeenFailure seen = Seen(CURLE_SEND_ERROR);
        seen.alert = alert;
        seen.ownEnd = "2021-01-01T00:00:00Z";
        EXPECT_EQ(Explain(seen).cause, "the certificate of this node has ended on 2021-01-01T00:00:00Z");
    }
    SeenFailure unreached = Seen(CURLE_COULDNT_CONNECT);
    unreached.ownEnd = "2021-01-01T00:00:00Z";
    unreached.system = "Connection refused";
    EXPECT_EQ(Explain(unreached).cause, "Connection refused");
}

TEST(CallFailure, AnOwnCertificateThatIsNotValidYetIsToldWhateverTheHostSays) {
    for (const int alert : {-1, SSL3_AD_BAD_CERTIFICATE, SSL3_AD_CERTIFICATE_EXPIRED, SSL3_AD_CERTIFICATE_UNKNOWN}) {
        SeenFailure seen = Seen(CURLE_SEND_ERROR);
        seen.alert = alert;
        seen.ownStart = "2090-01-01T00:00:00Z";
        EXPECT_EQ(Explain(seen).cause, "the certificate of this node is not valid before 2090-01-01T00:00:00Z");
        EXPECT_TRUE(Has(Explain(seen).advice, "clock"));
    }
    SeenFailure unreached = Seen(CURLE_COULDNT_CONNECT);
    unreached.ownStart = "2090-01-01T00:00:00Z";
    unreached.system = "Connection refused";
    EXPECT_EQ(Explain(unreached).cause, "Connection refused");
}

TEST(CallFailure, AnotherNameIsToldWithThoseOfTheCertificate) {
    SeenFailure seen = Seen(CURLE_PEER_FAILED_VERIFICATION);
    seen.hostNames = "'a', 'b'";
    EXPECT_TRUE(Has(Explain(seen).cause, "it is not for 'node' but for 'a', 'b'"));
    EXPECT_TRUE(Has(Explain(seen).advice, "--host node"));
}

TEST(CallFailure, AnotherKindOfPortIsToldFromBothSides) {
    SeenFailure seen = Seen(CURLE_SSL_CONNECT_ERROR);
    seen.isOther = true;
    EXPECT_EQ(Explain(seen).cause, "what serves there speaks no TLS");
    seen.tls = false;
    EXPECT_TRUE(Has(Explain(seen).cause, "what serves there speaks TLS"));
}

TEST(CallFailure, ATooLargeRequestIsToldWithItsSizeAndTheKey) {
    EXPECT_EQ(ExplainStatus(413, 77).cause, "its body of 77 bytes is too large");
    EXPECT_TRUE(Has(ExplainStatus(413, 77).advice, "BODY_LIMIT"));
    EXPECT_FALSE(ExplainStatus(299, 0).cause.empty());
}

}  // namespace
}  // namespace LumVoxRpc
