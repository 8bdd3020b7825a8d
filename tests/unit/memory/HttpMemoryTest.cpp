// Memory runs out on the server's own threads: that costs the connection that needed it, and nothing else.
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include "EchoServer.h"
#include "FailingMemory.h"
#include "LumSecCore.h"
#include "RawHttp.h"
#include "TempRoot.h"
#include "TestPki.h"

namespace {

const char* const kIo = "LumVox:Io";
const char* const kAccept = "LumVox:Accept";

LumVoxMsg::HttpLimits OneThread() {
    LumVoxMsg::HttpLimits limits;
    limits.ioThreads = 1;
    limits.bodyBytes = 1u << 20;
    return limits;
}

/// Everything that a server does for callers: each row on a connection of its own, the second request on a kept one.
const std::string kRows[] = {
    PostOf("/echo", "small"),
    PostOf("/echo", std::string(300000, 'x')),
    PostOf("/echo", "with a long field", "X-Long: " + std::string(5000, 'y') + "\r\n"),
    "POST /echo HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n",
    "POST /echo HTTP/1.1\r\nHost: a\r\nContent-Length: 9999999\r\n\r\n",
    "GET /other HTTP/1.1\r\nHost: a\r\n\r\n",
    "nonsense\r\n\r\n",
};

void CallOnce(unsigned port, const std::string& row) {
    RawHttp client(port);
    client.Exchange(row);
    client.Exchange(PostOf("/echo", "again"));
}

void CallAll(unsigned port) {
    for (const std::string& row : kRows) CallOnce(port, row);
}

void ExpectServed(EchoServer& server) {
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", "well")).body, "well");
    while (server.server.GetConnectionCount() > 0) std::this_thread::yield();
}

}  // namespace

TEST(HttpMemory, AnIoThreadWithoutMemoryLosesAConnectionAtMost) {
    EchoServer server(OneThread());
    ForEachAllocation(
        kIo, [&] { CallAll(server.GetPort()); }, [&] { ExpectServed(server); });
}

TEST(HttpMemory, AThreadThatTakesConnectionsGoesOnWithoutMemory) {
    EchoServer server(OneThread());
    ForEachAllocation(
        kAccept, [&] { CallOnce(server.GetPort(), kRows[0]); }, [&] { ExpectServed(server); });
}

TEST(HttpMemory, WhatHandsOverAnAnswerNeedsNoMemory) {
    EchoServer server(OneThread());
    for (const char* const end : {"answered", "dropped"}) {
        LumVoxMsg::HttpReply kept;
        std::atomic<bool> arrived{false};
        server.onServe = [&](LumVoxMsg::HttpRequest&, LumVoxMsg::HttpReply reply) {
            kept = std::move(reply);
            arrived = true;
        };
        RawHttp client(server.GetPort());
        client.Send(PostOf("/echo", "a"));
        while (!arrived) std::this_thread::yield();
        LumVoxMsg::HttpResponse response{200, {}, {}, LumVoxMsg::MakeBlocks("done")};
        {
            const FailingMemory memory(FailingMemory::ThisThread(), 1, MemoryFault::FromThenOn);
            if (end[0] == 'a') kept(std::move(response));
            kept = nullptr;
            EXPECT_FALSE(memory.Fired());
        }
        EXPECT_EQ(client.Receive().status, end[0] == 'a' ? 200 : 503) << end;
    }
}

TEST(HttpMemory, EndingNeedsNoMemory) {
    EchoServer server(OneThread());
    RawHttp idle(server.GetPort()), half(server.GetPort());
    half.Send("POST /echo HTTP/1.1\r\n");
    EXPECT_EQ(idle.Exchange(PostOf("/echo", "a")).status, 200);
    {
        const FailingMemory memory(FailingMemory::ThisThread(), 1, MemoryFault::FromThenOn);
        server.server.StopAccepting();
        server.server.Finish();
        EXPECT_FALSE(memory.Fired());
    }
    EXPECT_TRUE(idle.IsClosed());
    EXPECT_TRUE(half.IsClosed());
}

TEST(HttpMemory, AConnectionThatFindsNoRoomMakesSomeWithoutMemory) {
    LumVoxMsg::HttpLimits limits = OneThread();
    limits.connections = 2;
    EchoServer server(limits);
    RawHttp first(server.GetPort()), second(server.GetPort());
    EXPECT_EQ(first.Exchange(PostOf("/echo", "a")).status, 200);
    EXPECT_EQ(second.Exchange(PostOf("/echo", "a")).status, 200);
    {
        const FailingMemory memory(kAccept, 1, MemoryFault::FromThenOn);
        EXPECT_TRUE(RawHttp(server.GetPort()).IsClosed()) << "there is room, but no memory to hand it over";
        EXPECT_TRUE(first.IsClosed());
    }
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", "a")).status, 200);
}
