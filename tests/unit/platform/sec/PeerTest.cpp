// Who the peer of a connection is, and how long the node's former key makes somebody the node.
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <memory>

#include "TempRoot.h"
#include "TestPki.h"
#include "TlsIdentity.h"

using namespace std::chrono_literals;
using LumSecCore::Peer;

namespace {

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;
using Connection = std::unique_ptr<SSL, decltype(&SSL_free)>;
using Clock = std::chrono::steady_clock;

class PeerTest : public testing::Test {
protected:
    /// That of the node as it is in the key store now.
    static Context ServerNow() {
        Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
        LumSecCore::ConfigureServer(context.get(), LumSecCore::NodeIdentity::Load());
        return context;
    }
    static Context ClientOf(const TestIdentity& identity) {
        Context context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
        const std::unique_ptr<BIO, decltype(&BIO_free)> pem(BIO_new_mem_buf(identity.certificate.data(), -1), BIO_free),
            key(BIO_new_mem_buf(identity.key.data(), -1), BIO_free);
        const std::unique_ptr<X509, decltype(&X509_free)> certificate(
            PEM_read_bio_X509(pem.get(), nullptr, nullptr, nullptr), X509_free);
        const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> own(
            PEM_read_bio_PrivateKey(key.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
        SSL_CTX_use_certificate(context.get(), certificate.get());
        SSL_CTX_use_PrivateKey(context.get(), own.get());
        return context;
    }
    /// What the server makes of a client with this certificate.
    static Peer PeerAt(const Context& server, const TestIdentity& identity) {
        const Context context = ClientOf(identity);
        const Connection client(SSL_new(context.get()), SSL_free), served(SSL_new(server.get()), SSL_free);
        BIO *one = nullptr, *other = nullptr;
        BIO_new_bio_pair(&one, 0, &other, 0);
        SSL_set_bio(client.get(), one, one);
        SSL_set_bio(served.get(), other, other);
        for (int i = 0; i < 20 && !SSL_is_init_finished(served.get()); ++i) {
            SSL_connect(client.get());
            SSL_accept(served.get());
        }
        EXPECT_TRUE(SSL_is_init_finished(served.get()));
        std::string refusal;
        const Peer peer = LumSecCore::PeerOf(served.get(), server.get(), refusal);
        EXPECT_EQ(refusal.empty(), !peer.id.empty()) << refusal;
        return peer;
    }
    TestIdentity Renew(const std::string& id = "node-1") const {
        const TestIdentity next = authority.Issue(id, "DNS:localhost");
        InstallIdentity(id, next);
        return next;
    }

    TempRoot root;
    TestAuthority authority{"authority"};
    const TestIdentity first = authority.Issue("node-1", "DNS:localhost");

    void SetUp() override {
        InstallTrust("authority", authority.Certificate());
        InstallIdentity("node-1", first);
    }
};

}  // namespace

TEST_F(PeerTest, IsTheNodeByItsFormerKeyUntilThatEnds) {
    const Context before = ServerNow();
    const TestIdentity second = Renew();
    for (const bool ended : {false, true}) {
        const Context now = ServerNow();
        LumSecCore::LetFormerKeysPass(now.get(), before.get(), Clock::now() + (ended ? -1s : 3600s));
        EXPECT_EQ(PeerAt(now, first).isNode, !ended);
        EXPECT_EQ(PeerAt(now, first).id, ended ? "" : "node-1");
        EXPECT_TRUE(PeerAt(now, second).isNode);
    }
}

TEST_F(PeerTest, OfSeveralRenewalsEachKeyHasItsOwnEnd) {
    const Context one = ServerNow();
    const TestIdentity second = Renew();
    const Context two = ServerNow();
    LumSecCore::LetFormerKeysPass(two.get(), one.get(), Clock::now() + 3600s);
    Renew();
    const Context three = ServerNow();
    LumSecCore::LetFormerKeysPass(three.get(), two.get(), Clock::now() - 1s);
    EXPECT_TRUE(PeerAt(three, first).isNode);
    EXPECT_FALSE(PeerAt(three, second).isNode);
}

TEST_F(PeerTest, OfANodeThatWasRenamedNoFormerKeyPasses) {
    const Context before = ServerNow();
    Renew("node-2");
    const Context now = ServerNow();
    LumSecCore::LetFormerKeysPass(now.get(), before.get(), Clock::now() + 3600s);
    EXPECT_FALSE(PeerAt(now, first).isNode);
    EXPECT_EQ(PeerAt(now, first).id, "node-1");
}

TEST_F(PeerTest, WithTheNodesKeyAndAnotherNameIsNotTheNode) {
    Configure("sec.core", "CORE_ID", "node-2");
    WriteKeyStore("own/node-2.pem", first.certificate);
    WriteKeyStore("own/node-2.key", first.key);
    const Peer peer = PeerAt(ServerNow(), first);
    EXPECT_EQ(peer.id, "node-1");
    EXPECT_FALSE(peer.isNode);
}

TEST_F(PeerTest, ANameThatAReaderTakesForTheNodesOwnMakesNobodyWhateverTheKey) {
    for (const char* name : {"node-1", "NODE-1", " node-1", "node-1 ", "Node-1 "}) {
        const Peer peer = PeerAt(ServerNow(), authority.Issue(name, ""));
        EXPECT_EQ(peer.id, "") << name;
        EXPECT_FALSE(peer.isNode) << name;
    }
    for (const char* name : {"node-2", "node-11", "xnode-1"}) {
        EXPECT_EQ(PeerAt(ServerNow(), authority.Issue(name, "")).id, name);
    }
}
