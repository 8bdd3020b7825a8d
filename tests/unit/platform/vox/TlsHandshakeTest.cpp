// Who gets through the handshake of a server with a certificate, by what protocol, and under which name.
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <filesystem>
#include <optional>

#include "Configure.h"
#include "Files.h"
#include "NamingServer.h"
#include "RawHttp.h"
#include "TestPki.h"
#include "TlsClient.h"

using LumVoxMsg::HttpReply;
using LumVoxMsg::HttpRequest;
using LumVoxMsg::HttpResponse;

namespace {

struct TlsHandshake : NamingServer {
    static void RemoveTrust(const std::string& alias) {
        const std::string store = LumSecCore::KeyStoreDirectory().ToUtf8();
        std::filesystem::remove(store + "trusted/" + alias + ".pem");
    }
};

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(TlsHandshake, ACertificateThatNobodyVouchesForIsRefusedAndTheLogSaysWhy) {
    const TestAuthority sameName("authority"), other("other");
    const struct {
        const char* what;
        TestIdentity shown;
        const char *alert, *logged;
    } rows[] = {
        {"a stranger's", other.Issue("operator", ""), "tlsv1 alert unknown ca", "unable to get local issuer"},
        {"of another authority of the same name", sameName.Issue("operator", ""), "tlsv1 alert decrypt error",
         "certificate signature failure"},
        {"an expired one", authority.Issue("operator", "", -1), "sslv3 alert certificate expired",
         "certificate has expired"},
        {"one that is not yet valid", authority.IssueLater("operator", 2), "sslv3 alert bad certificate",
         "certificate is not yet valid"},
    };
    for (const auto& row : rows) {
        for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
            server = NewServer();
            EXPECT_EQ(TlsClient(server->GetPort()).Versions(version, version).Show(row.shown).Exchange(), row.alert)
                << row.what;
            EXPECT_EQ(server->served, 0) << row.what;
        }
        EXPECT_TRUE(IsLogged(std::string("the client's certificate is refused: ") + row.logged)) << row.what;
    }
}

TEST_F(TlsHandshake, WhatSomebodyCertifiesWhoIsNoAuthorityIsRefused) {
    const TestIdentity operators = authority.Issue("operator", "");
    TestIdentity forged = TestAuthority(operators).Issue("node-2", "");
    forged.certificate += operators.certificate;
    for (const bool trusted : {false, true}) {
        if (trusted) InstallTrust("operator", operators.certificate);
        server = NewServer();
        EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(forged).Exchange(), "alert")) << trusted;
        EXPECT_EQ(server->served, 0) << trusted;
    }
    EXPECT_TRUE(IsLogged("invalid CA certificate"));
}

TEST_F(TlsHandshake, WhatIsTrustedVouchesForItselfAloneUnlessItSaysThatItIsAnAuthority) {
    for (const TestAuthorityKind& kind : kNoAuthorities) {
        const TestAuthority trusted("trusted", kind);
        const TestIdentity issued = trusted.Issue("operator", "");
        InstallTrust("trusted", trusted.Certificate());
        TestIdentity withIssuer = issued;
        withIssuer.certificate += trusted.Certificate();
        for (const TestIdentity& shown : {issued, withIssuer}) {
            for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
                server = NewServer();
                const std::string before = log.Text();
                const std::string answer =
                    TlsClient(server->GetPort()).Versions(version, version).Show(shown).Exchange();
                EXPECT_TRUE(Has(answer, "alert")) << kind.what << ": " << answer;
                EXPECT_EQ(server->served, 0) << kind.what;
                EXPECT_TRUE(Eventually([&] { return Has(log.Text().substr(before.size()), "invalid CA certificate"); }))
                    << kind.what << ": " << log.Text().substr(before.size());
            }
        }
        InstallTrust("leaf", issued.certificate);
        server = NewServer();
        EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(issued).Exchange(), "from <operator>")) << kind.what;
        RemoveTrust("leaf");
    }
}

TEST_F(TlsHandshake, ACertificateOfVersionOneVouchesForItself) {
    const TestAuthority trusted("trusted", kNoAuthorities.front());
    InstallTrust("trusted", trusted.Certificate());
    server = NewServer();
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(trusted.Self()).Exchange(), "from <trusted>"));
}

TEST_F(TlsHandshake, AnIntermediateAuthorityVouchesAlsoBesideOneOfItsNameThatIsNone) {
    const TestAuthority impostor("authority", kNoAuthorities.front());
    InstallTrust("another", impostor.Certificate());
    server = NewServer();
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(authority.Issue("operator", "")).Exchange(), "from <operator>"));
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(impostor.Issue("operator", "")).Exchange(), "alert"));
}

TEST_F(TlsHandshake, OnlyTheNodesOwnKeyMakesACallerTheNode) {
    server->onServe = [](HttpRequest& request, const HttpReply& reply) {
        const std::string who = "from <" + request.peer.commonName + ">" + (request.peer.isNode ? " the node" : "");
        reply(HttpResponse{200, "text/plain", {}, LumVoxMsg::MakeBlocks(who)});
    };
    const std::string own = LumSecCore::KeyStoreDirectory().ToUtf8() + "own/node-1";
    const TestIdentity node{ReadText(own + ".pem"), ReadText(own + ".key")};
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(node).Exchange(), "from <node-1> the node"));
    const TestAuthority other("other");
    InstallTrust("other", other.Certificate());
    server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
    for (const TestIdentity& stranger : {authority.Issue("node-1", "DNS:localhost"), other.Issue("node-1", "")}) {
        EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(stranger).Exchange(), "from <>"));
    }
    EXPECT_TRUE(IsLogged("the common name is this node's own id, and the key is not its key")) << log.Text();
    const std::string operators = TlsClient(server->GetPort()).Show(authority.Issue("operator", "")).Exchange();
    EXPECT_TRUE(Has(operators, "from <operator>") && !Has(operators, "the node")) << operators;
}

TEST_F(TlsHandshake, TheNodeItselfIsKnownBeforeAndBehindTheRenewalOfItsKey) {
    const std::string own = LumSecCore::KeyStoreDirectory().ToUtf8() + "own/node-1";
    const TestIdentity former{ReadText(own + ".pem"), ReadText(own + ".key")};
    const TestIdentity next = authority.Issue("node-1", "DNS:localhost");
    TlsClient kept(server->GetPort());
    ASSERT_TRUE(Has(kept.Show(former).Exchange(), "from <node-1>"));
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(next).Exchange(), "from <>"));
    InstallIdentity("node-1", next);
    for (const bool reloaded : {false, true}) {
        if (reloaded) server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
        for (const TestIdentity& pair : {former, next})
            EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(pair).Exchange(), "from <node-1>")) << reloaded;
        EXPECT_TRUE(Has(kept.ExchangeAgain(), "from <node-1>")) << reloaded;
    }
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(authority.Issue("node-1", "")).Exchange(), "from <>"));
}

TEST_F(TlsHandshake, WhoIsNamedAsTheNodeIsFromNowOnIsNobodyOnAnOpenConnectionToo) {
    TlsClient client(server->GetPort());
    ASSERT_TRUE(Has(client.Show(authority.Issue("node-2", "")).Exchange(), "from <node-2>"));
    InstallIdentity("node-2", authority.Issue("node-2", "DNS:localhost"));
    server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
    const std::string again = client.ExchangeAgain();
    EXPECT_TRUE(Has(again, "from <>")) << again;
}

TEST_F(TlsHandshake, ACertificateForServersAloneIsNoClients) {
    const TestIdentity servers = authority.IssueOnlyFor("serverAuth", "operator", "DNS:localhost");
    EXPECT_EQ(TlsClient(server->GetPort()).Show(servers).Exchange(), "sslv3 alert unsupported certificate");
    EXPECT_EQ(server->served, 0);
    const TestIdentity clients = authority.IssueOnlyFor("clientAuth", "operator", "");
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(clients).Exchange(), "from <operator>"));
}

TEST_F(TlsHandshake, AGoodCertificateNamesTheSenderAndNoneNamesNobody) {
    const TestIdentity shown = authority.Issue("operator", "");
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        TlsClient client(server->GetPort());
        EXPECT_TRUE(Has(client.Versions(version, version).Show(shown).Exchange(), "from <operator>"));
    }
    EXPECT_TRUE(Has(TlsClient(server->GetPort()).Exchange(), "from <>"));
}

TEST_F(TlsHandshake, ACertificateWithoutAUsableNameNamesNobodyAndTheLogSaysWhy) {
    const struct {
        std::vector<std::string> names;
        const char* why;
    } rows[] = {
        {{}, "exactly one"},
        {{"operator", "node-1"}, "exactly one"},
        {{"operator", "operator"}, "exactly one"},
        {{std::string("operator\0.evil", 14)}, "control character"},
        {{"oper\nator"}, "control character"},
        {{"operator\x1B[31m"}, "control character"},
        {{"operator\xC2\x9B"}, "control character"},
        {{" "}, "reserved"},
        {{"conf.cluster"}, "reserved"},
        {{"Conf.Cluster"}, "reserved"},
        {{"local administrator"}, "reserved"},
        {{"LOCAL ADMINISTRATOR "}, "reserved"},
    };
    for (const auto& row : rows) {
        server = NewServer();
        const std::string before = log.Text();
        const std::string name = row.names.empty() ? "none" : row.names.front();
        EXPECT_TRUE(Has(TlsClient(server->GetPort()).Show(authority.IssueNamed(row.names)).Exchange(), "from <>"))
            << name;
        const std::string said = log.Text().substr(before.size());
        EXPECT_TRUE(Has(said, "A client certificate names no sender")) << name << "\n" << said;
        EXPECT_TRUE(Has(said, row.why)) << name << "\n" << said;
    }
}

TEST_F(TlsHandshake, WhoIsTrustedNoLongerIsRefusedOnAnOpenConnectionToo) {
    const TestAuthority other("other");
    InstallTrust("other", other.Certificate());
    server = NewServer();
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        InstallTrust("other", other.Certificate());
        server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
        TlsClient leaving(server->GetPort()), staying(server->GetPort()), nobody(server->GetPort());
        leaving.Versions(version, version).Show(other.Issue("leaver", ""));
        ASSERT_TRUE(Has(leaving.Exchange(), "from <leaver>"));
        ASSERT_TRUE(Has(staying.Show(authority.Issue("operator", "")).Exchange(), "from <operator>"));
        ASSERT_TRUE(Has(nobody.Exchange(), "from <>"));
        server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
        ASSERT_TRUE(Has(leaving.ExchangeAgain(), "from <leaver>"));  // a reload that changes nothing
        RemoveTrust("other");
        server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
        const int before = server->served;
        const std::string answer = leaving.ExchangeAgain();
        EXPECT_TRUE(Has(answer, "HTTP/1.1 403") && Has(answer, "Connection: close")) << answer;
        EXPECT_EQ(server->served, before);
        EXPECT_TRUE(Has(staying.ExchangeAgain(), "from <operator>"));
        EXPECT_TRUE(Has(nobody.ExchangeAgain(), "from <>"));
        EXPECT_TRUE(IsLogged("A client is let in no longer")) << log.Text();
    }
}

TEST_F(TlsHandshake, AClientWhoseCertificateEndsIsRefusedOnAnOpenConnectionToo) {
    std::string first;
    std::optional<TlsClient> client;
    // A machine under load may meet the end before the handshake.
    for (long seconds = 2; seconds < 300 && !Has(first, "from <operator>"); seconds *= 2) {
        client.emplace(server->GetPort());
        first = client->Show(authority.IssueForSeconds(seconds, "operator")).Exchange();
    }
    ASSERT_TRUE(Has(first, "from <operator>")) << first;
    std::string last;
    EXPECT_TRUE(Eventually([&] { return !Has(last = client->ExchangeAgain(), "from <operator>"); }));
    EXPECT_TRUE(Has(last, "HTTP/1.1 403")) << last;
    EXPECT_TRUE(IsLogged("certificate has expired"));
}

namespace {

/// The same authority with a certificate that ends soon.
TestAuthority Ending(const TestAuthority& authority, long seconds) {
    TestIdentity identity = authority.Self();
    const auto input = [](const std::string& text) {
        return BIO_new_mem_buf(text.data(), static_cast<int>(text.size()));
    };
    BIO *const keyText = input(identity.key), *const text = input(identity.certificate),
               *const out = BIO_new(BIO_s_mem());
    EVP_PKEY* const key = PEM_read_bio_PrivateKey(keyText, nullptr, nullptr, nullptr);
    X509* const certificate = PEM_read_bio_X509(text, nullptr, nullptr, nullptr);
    X509_gmtime_adj(X509_getm_notAfter(certificate), seconds);
    X509_sign(certificate, key, EVP_sha256());
    PEM_write_bio_X509(out, certificate);
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out, &bytes);
    identity.certificate.assign(bytes, static_cast<std::size_t>(length));
    X509_free(certificate);
    EVP_PKEY_free(key);
    for (BIO* const one : {keyText, text, out}) BIO_free(one);
    return TestAuthority(identity);
}

}  // namespace

TEST_F(TlsHandshake, AClientWhoseAuthorityEndsIsRefusedOnAnOpenConnectionToo) {
    std::string first;
    std::optional<TlsClient> client;
    for (long seconds = 2; seconds < 300 && !Has(first, "from <operator>"); seconds *= 2) {
        const TestAuthority ending = Ending(TestAuthority("ending"), seconds);
        InstallTrust("ending", ending.Certificate());
        server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
        client.emplace(server->GetPort());
        first = client->Show(ending.Issue("operator", "")).Exchange();
    }
    ASSERT_TRUE(Has(first, "from <operator>")) << first;
    std::string last;
    EXPECT_TRUE(Eventually([&] { return !Has(last = client->ExchangeAgain(), "from <operator>"); }));
    EXPECT_TRUE(Has(last, "HTTP/1.1 403")) << last;
    EXPECT_TRUE(IsLogged("certificate has expired"));
}

TEST_F(TlsHandshake, WhoIsProvenByAnAuthorityOfTheSameKeyStaysUntilThatOneEnds) {
    const TestAuthority lasting("twice");
    InstallTrust("twice", lasting.Certificate());
    server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
    TlsClient client(server->GetPort());
    ASSERT_TRUE(Has(client.Show(lasting.Issue("operator", "")).Exchange(), "from <operator>"));
    // The same key, vouched for anew with an end that comes sooner.
    InstallTrust("twice", Ending(lasting, 3).Certificate());
    server->server.SetIdentity(LumSecCore::NodeIdentity::Load());
    std::string answer;
    EXPECT_TRUE(Eventually([&] { return !Has(answer = client.ExchangeAgain(), "from <operator>"); }));
    EXPECT_TRUE(Has(answer, "HTTP/1.1 403")) << answer;
}

TEST_F(TlsHandshake, OldProtocolsAreRefused) {
    for (const int version : {SSL3_VERSION, TLS1_VERSION, TLS1_1_VERSION}) {
        TlsClient client(server->GetPort());
        const std::string reason = client.Versions(version, version).Show(authority.Issue("operator", "")).Exchange();
        // The crypto library of the client may itself refuse the oldest of them.
        EXPECT_EQ(reason, version == SSL3_VERSION ? "no protocols available" : "tlsv1 alert protocol version");
    }
    EXPECT_EQ(server->served, 0);
}

TEST_F(TlsHandshake, WeakCiphersAreRefused) {
    int tried = 0;
    for (const char* list : {"NULL", "eNULL", "aNULL", "ADH", "AECDH", "kRSA", "AES128-SHA", "AES256-GCM-SHA384",
                             "ECDHE-ECDSA-AES128-SHA", "ECDHE-ECDSA-AES256-SHA384", "ECDHE-RSA-AES128-SHA256",
                             "DHE-RSA-AES128-GCM-SHA256", "PSK", "SRP", "CAMELLIA", "ARIA"}) {
        TlsClient client(server->GetPort());
        const std::string reason = client.Versions(TLS1_VERSION, TLS1_2_VERSION).Ciphers(list).Exchange();
        EXPECT_TRUE(reason == "sslv3 alert handshake failure" || reason == "no ciphers available") << list << reason;
        tried += reason == "sslv3 alert handshake failure";
    }
    EXPECT_GE(tried, 10);
    EXPECT_EQ(server->served, 0);
}

TEST_F(TlsHandshake, WhatIsAgreedOnIsForwardSecretAndAuthenticatesItsRecords) {
    int agreed = 0;
    const CryptoPtr<SSL_CTX> context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_cipher_list(context.get(), "ALL:COMPLEMENTOFALL");
    STACK_OF(SSL_CIPHER)* all = SSL_CTX_get_ciphers(context.get());
    for (int i = 0; i < sk_SSL_CIPHER_num(all); ++i) {
        const SSL_CIPHER* cipher = sk_SSL_CIPHER_value(all, i);
        if (std::string(SSL_CIPHER_get_version(cipher)) == "TLSv1.3") continue;
        TlsClient client(server->GetPort());
        client.Versions(TLS1_2_VERSION, TLS1_2_VERSION).Ciphers(SSL_CIPHER_get_name(cipher));
        if (!client.Connect()) continue;
        ++agreed;
        EXPECT_EQ(SSL_CIPHER_get_kx_nid(cipher), NID_kx_ecdhe) << SSL_CIPHER_get_name(cipher);
        EXPECT_EQ(SSL_CIPHER_is_aead(cipher), 1) << SSL_CIPHER_get_name(cipher);
        EXPECT_GE(SSL_CIPHER_get_bits(cipher, nullptr), 128) << SSL_CIPHER_get_name(cipher);
        EXPECT_EQ(SSL_get_current_compression(client.Get()), nullptr);
    }
    EXPECT_GE(agreed, 3);
}

TEST_F(TlsHandshake, ARenegotiationIsRefused) {
    TlsClient client(server->GetPort());
    client.Versions(TLS1_2_VERSION, TLS1_2_VERSION).Show(authority.Issue("operator", ""));
    ASSERT_TRUE(Has(client.Exchange(), "from <operator>"));
    ERR_clear_error();
    ASSERT_EQ(SSL_renegotiate(client.Get()), 1);
    EXPECT_NE(SSL_do_handshake(client.Get()), 1);
    EXPECT_EQ(TlsClient::Reason(), "no renegotiation");
}

TEST_F(TlsHandshake, NoSessionIsResumed) {
    TlsClient first(server->GetPort());
    first.Versions(TLS1_2_VERSION, TLS1_2_VERSION);
    ASSERT_TRUE(Has(first.Exchange(), "from <>"));
    EXPECT_EQ(SSL_SESSION_is_resumable(SSL_get0_session(first.Get())), 0);
    TlsClient newer(server->GetPort());
    newer.Versions(TLS1_3_VERSION, TLS1_3_VERSION);
    ASSERT_TRUE(Has(newer.Exchange(), "from <>"));
    EXPECT_EQ(SSL_SESSION_is_resumable(SSL_get0_session(newer.Get())), 0);
}

}  // namespace
