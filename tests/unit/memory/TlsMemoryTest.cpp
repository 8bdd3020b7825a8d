// Memory runs out during handshakes and on TLS connections, for the crypto library too.
#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include <csignal>

#include "Configure.h"
#include "EchoServer.h"
#include "FailingMemory.h"
#include "LumSecCore.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TlsClient.h"

namespace {

// The library takes these only before it has taken any memory.
const bool cryptoMemoryFails = CRYPTO_set_mem_functions(
    [](std::size_t size, const char*, int) { return FailingMemory::Allocate(size); },
    [](void* memory, std::size_t size, const char*, int) { return FailingMemory::Reallocate(memory, size); },
    [](void* memory, const char*, int) { std::free(memory); });

struct TlsMemory : testing::Test {
    TempRoot root;
    TestAuthority authority{"authority"};
    const TestIdentity shown = authority.Issue("operator", "");

    LumSecCore::NodeIdentity Identity() {
        InstallIdentity("node-1", authority.Issue("node-1", "DNS:localhost"));
        InstallTrust("authority", authority.Certificate());
        return LumSecCore::NodeIdentity::Load();
    }
    std::string Exchange(unsigned port) { return TlsClient(port).Show(shown).Exchange(); }
};

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr std::chrono::milliseconds kTimeToTalk(1500);  // a handshake takes ten times as long
#else
constexpr std::chrono::milliseconds kTimeToTalk(300);
#endif

}  // namespace

TEST_F(TlsMemory, AnIoThreadWithoutMemoryLosesAConnectionAtMost) {
    ASSERT_TRUE(cryptoMemoryFails);
    std::signal(SIGPIPE, SIG_IGN);  // the client writes to connections that the server gave up
    LumVoxMsg::HttpLimits limits;
    limits.ioThreads = 1;
    // The crypto library without memory may just stop to talk: then the time for it ends the connection.
    limits.handshakeTime = limits.idleTime = kTimeToTalk;
    const LumSecCore::NodeIdentity identity = Identity();
    EchoServer server(limits, &identity);
    ASSERT_TRUE(Exchange(server.GetPort()).starts_with("HTTP/1.1 200"));
    ForEachAllocation(
        "LumVox:Io", [&] { Exchange(server.GetPort()); },
        [&] {
            EXPECT_TRUE(Eventually([&] { return Exchange(server.GetPort()).starts_with("HTTP/1.1 200"); }));
            while (server.server.GetConnectionCount() > 0) std::this_thread::yield();
        },
        5);
}
