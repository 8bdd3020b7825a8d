#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <future>
#include <thread>

#include "EchoServer.h"
#include "RawHttp.h"

using LumVoxMsg::HttpLimits;
using namespace std::chrono_literals;

namespace {

std::string Repeat(const std::string& text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
}

const std::string kHost = "Host: a\r\n";
const std::string kChunked = "POST /echo HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n";

/// Whether the peer has closed, without waiting for it.
bool HasEnded(const RawSocket& connection) {
    char byte = 0;
    const ssize_t count = recv(connection.GetDescriptor(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return count == 0 || (count < 0 && errno == ECONNRESET);
}

struct Row {
    const char* what;
    std::string bytes;
    int status;  ///< 0: the connection is closed without an answer
};

HttpLimits SmallLimits() {
    HttpLimits limits;
    limits.headerBytes = 4096;
    limits.bodyBytes = 65536;
    return limits;
}

const Row kRows[] = {
    {"both lengths",
     "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400},
    {"both lengths, the other way",
     "POST /echo HTTP/1.1\r\n" + kHost + "Transfer-Encoding: chunked\r\nContent-Length: 5\r\n\r\n0\r\n\r\n", 400},
    {"two lengths", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\nContent-Length: 6\r\n\r\nhello", 400},
    {"two equal lengths", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\nContent-Length: 5\r\n\r\nhello",
     400},
    {"a list of lengths", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5,5\r\n\r\nhello", 400},
    {"a negative length", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: -5\r\n\r\nhello", 400},
    {"a signed length", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: +5\r\n\r\nhello", 400},
    {"a length beyond 64 bits", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 18446744073709551617\r\n\r\n",
     400},
    {"a length of 64 bits", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 18446744073709551615\r\n\r\n", 413},
    {"a length beyond the limit", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 65537\r\n\r\n", 413},
    {"a blank before the colon of a length", "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length : 5\r\n\r\nhello",
     400},
    {"a coding hidden by a blank before its colon",
     "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\nTransfer-Encoding : chunked\r\n\r\nhello", 400},
    {"a coding hidden by a folded line",
     "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\nX: a\r\n Transfer-Encoding: chunked\r\n\r\nhello", 400},
    {"a coding hidden by a line end without CR",
     "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\nX: a\nTransfer-Encoding: chunked\r\n\r\nhello", 400},
    {"a coding hidden by a CR alone",
     "POST /echo HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\nX: a\rTransfer-Encoding: chunked\r\n\r\nhello", 400},
    {"a coding behind a vertical tab",
     "POST /echo HTTP/1.1\r\n" + kHost +
         "Transfer-Encoding: \x0B"
         "chunked\r\n\r\n0\r\n\r\n",
     400},
    {"a coding of two words",
     "POST /echo HTTP/1.1\r\n" + kHost + "Transfer-Encoding: identity, chunked\r\n\r\n0\r\n\r\n", 501},
    {"an unknown coding", "POST /echo HTTP/1.1\r\n" + kHost + "Transfer-Encoding: xchunked\r\n\r\n0\r\n\r\n", 501},
    {"a coding in HTTP/1.0", "POST /echo HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400},
    {"no length", "POST /echo HTTP/1.1\r\n" + kHost + "\r\n", 411},
    {"no host", "POST /echo HTTP/1.1\r\nContent-Length: 0\r\n\r\n", 400},
    {"two hosts", "POST /echo HTTP/1.1\r\nHost: a\r\nHost: b\r\nContent-Length: 0\r\n\r\n", 400},
    {"a chunk of no number", kChunked + "x\r\n", 400},
    {"a negative chunk", kChunked + "-1\r\nx\r\n0\r\n\r\n", 400},
    {"a chunk of more than 64 bits", kChunked + "fffffffffffffffff\r\nx", 400},
    {"a chunk of 64 bits", kChunked + "ffffffffffffffff\r\nx", 413},
    {"a chunk beyond the limit", kChunked + "10001\r\nx", 413},
    {"chunks beyond the limit", kChunked + Repeat("1000\r\n" + std::string(4096, 'x') + "\r\n", 17), 413},
    {"a chunk longer than it says", kChunked + "1\r\nxy\r\n0\r\n\r\n", 400},
    {"a chunk line without CR", kChunked + "1\nx\n0\n\n\r\n", 400},
    {"a chunk with a prefix", kChunked + "0x1\r\nx\r\n0\r\n\r\n", 400},
    {"a chunk with an endless extension", kChunked + "1;" + std::string(100000, 'e'), 431},
    {"small chunks with long extensions", kChunked + Repeat("1;" + std::string(8000, 'e') + "\r\nx\r\n", 200), 413},
    {"an unknown expectation", "POST /echo HTTP/1.1\r\n" + kHost + "Expect: coffee\r\nContent-Length: 5\r\n\r\n", 417},
    {"HTTP/2", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 505},
    {"HTTP/1.2", "POST /echo HTTP/1.2\r\n" + kHost + "Content-Length: 0\r\n\r\n", 505},
    {"an impossible host", "POST /echo HTTP/1.1\r\nHost: a b\r\nContent-Length: 0\r\n\r\n", 400},
    {"an impossible port", "POST /echo HTTP/1.1\r\nHost: a:70000\r\nContent-Length: 0\r\n\r\n", 400},
    {"HTTP/3.0", "POST /echo HTTP/3.0\r\n" + kHost + "\r\n", 505},
    {"HTTP/1.9", "GET /echo HTTP/1.9\r\n" + kHost + "\r\n", 505},
    {"HTTP/0.9", "GET /\r\n\r\n", 400},
    {"no version", "POST /echo\r\n" + kHost + "\r\n", 400},
    {"a TLS handshake", std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xFC\x03\x03", 11), 400},
    {"bytes of any kind", std::string("\x00\xFF\x00\xFF\r\n\r\n", 8), 400},
    {"NUL in a field", std::string("POST /echo HTTP/1.1\r\nHost: a\0b\r\n\r\n", 34), 400},
    {"a long target", "GET /" + std::string(5000, 'a') + " HTTP/1.1\r\n" + kHost + "\r\n", 431},
    {"a long value", "POST /echo HTTP/1.1\r\nX: " + std::string(5000, 'a') + "\r\n\r\n", 431},
    {"a long name", "POST /echo HTTP/1.1\r\n" + std::string(5000, 'a') + ": b\r\n\r\n", 431},
    {"many fields", "POST /echo HTTP/1.1\r\n" + Repeat("a: b\r\n", 1000) + "\r\n", 431},
    {"many trailers", kChunked + "0\r\n" + Repeat("a: b\r\n", 20000) + "\r\n", 431},
    {"a header without end", "POST /echo HTTP/1.1\r\nX: " + std::string(10000, 'a'), 431},
    {"empty lines without end", Repeat("\r\n", 1000), 400},
};

}  // namespace

TEST(HostileRequests, AreRefusedOneByOneAndAGoodOneIsServedAfterEach) {
    EchoServer server(SmallLimits());
    int good = 0;
    for (const Row& row : kRows) {
        RawHttp hostile(server.GetPort());
        hostile.Send(row.bytes);
        EXPECT_EQ(hostile.Receive().status, row.status) << row.what;
        EXPECT_TRUE(hostile.IsClosed()) << row.what;
        EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", "good")).body, "good") << row.what;
        EXPECT_EQ(server.served, ++good) << row.what;
    }
}

TEST(HostileRequests, NothingBehindARefusedOneIsServed) {
    EchoServer server(SmallLimits());
    for (const Row& row : kRows) {
        RawHttp hostile(server.GetPort());
        hostile.Send(row.bytes + PostOf("/echo", "smuggled"));
        hostile.Receive();
        EXPECT_TRUE(hostile.IsClosed()) << row.what;
        EXPECT_EQ(server.served, 0) << row.what;
    }
}

TEST(HostileRequests, AHeaderAtTheLimitIsServedAndOneByteMoreIsNot) {
    EchoServer server(SmallLimits());
    const std::size_t rest = PostOf("/echo", "", "X: \r\n").size();
    EXPECT_EQ(
        RawHttp(server.GetPort()).Exchange(PostOf("/echo", "", "X: " + std::string(4096 - rest, 'a') + "\r\n")).status,
        200);
    EXPECT_EQ(
        RawHttp(server.GetPort()).Exchange(PostOf("/echo", "", "X: " + std::string(4097 - rest, 'a') + "\r\n")).status,
        431);
}

TEST(HostileRequests, ABodyAtTheLimitIsServedAndOneByteMoreIsNot) {
    EchoServer server(SmallLimits());
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", std::string(65536, 'a'))).status, 200);
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", std::string(65537, 'a'))).status, 413);
}

TEST(HostileRequests, CallersWithoutANameShareAQuarterOfTheMemoryForBodies) {
    HttpLimits limits;
    limits.allBodiesBytes = 4u << 20;
    EchoServer server(limits);
    const std::string body((1u << 20) + 1, 'x');
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", body)).status, 503);
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", body, "Authorization: somebody\r\n")).status, 200);
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", body.substr(1))).status, 200);
}

TEST(HostileRequests, LargeHeadersShareTheMemoryForBodies) {
    HttpLimits limits;
    limits.allBodiesBytes = 1u << 20;
    EchoServer server(limits);
    const std::string fields = Repeat("a:\r\n", 1500), more = "Expect: 100-continue\r\nContent-Length: 1\r\n\r\n";
    RawHttp first(server.GetPort()), second(server.GetPort());
    first.Send("POST /echo HTTP/1.1\r\nHost: a\r\n" + fields + more);
    EXPECT_EQ(first.Receive().status, 100) << "it has most of the 262,144 bytes of strangers";
    second.Send("POST /echo HTTP/1.1\r\nHost: a\r\n" + fields + more);
    EXPECT_EQ(second.Receive().status, 503);
    EXPECT_TRUE(second.IsClosed());
    first.Send("x");
    EXPECT_EQ(first.Receive().body, "x");
    EXPECT_EQ(first.Exchange(PostOf("/echo", "a", fields)).body, "a") << "given back with the answer";
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", "b")).body, "b");
}

TEST(HostileRequests, AConnectionBeyondTheLimitGets503WhenAllAreAtWork) {
    HttpLimits limits;
    limits.connections = 2;
    EchoServer server(limits);
    std::promise<LumVoxMsg::HttpReply> given;
    server.onServe = [&](LumVoxMsg::HttpRequest&, LumVoxMsg::HttpReply reply) { given.set_value(std::move(reply)); };
    RawHttp served(server.GetPort()), sending(server.GetPort());
    served.Send(PostOf("/echo", "a"));
    LumVoxMsg::HttpReply reply = given.get_future().get();
    sending.Send("POST /echo HTTP/1.1\r\nExpect: 100-continue\r\nHost: a\r\nContent-Length: 1\r\n\r\n");
    EXPECT_EQ(sending.Receive().status, 100) << "it sends its body now";
    RawHttp third(server.GetPort());
    EXPECT_EQ(third.Receive().status, 503);
    EXPECT_TRUE(third.IsClosed());
    reply(LumVoxMsg::HttpResponse{200, {}, {}, LumVoxMsg::MakeBlocks("done")});
    reply = nullptr;
    EXPECT_EQ(served.Receive().body, "done");
}

TEST(HostileRequests, AConnectionBeyondTheLimitTakesThePlaceOfTheOneThatHasWaitedLongest) {
    HttpLimits limits;
    limits.connections = 2;
    limits.ioThreads = 1;
    EchoServer server(limits);
    RawHttp first(server.GetPort()), second(server.GetPort());
    EXPECT_EQ(second.Exchange(PostOf("/echo", "a")).status, 200);
    EXPECT_EQ(first.Exchange(PostOf("/echo", "a")).status, 200) << "from now on second has waited longer";
    RawHttp third(server.GetPort());
    EXPECT_EQ(third.Exchange(PostOf("/echo", "a")).status, 200);
    EXPECT_TRUE(second.IsClosed());
    EXPECT_EQ(first.Exchange(PostOf("/echo", "a")).status, 200);
}

TEST(HostileRequests, AnyNumberOfIdleConnectionsKeepsNobodyOut) {
    HttpLimits limits;
    limits.connections = 5;
    EchoServer server(limits);
    std::vector<std::unique_ptr<RawHttp>> idle;
    for (int i = 0; i < 50; ++i) {
        idle.push_back(std::make_unique<RawHttp>(server.GetPort()));
        EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", "a")).status, 200) << i;
    }
    EXPECT_LE(server.server.GetConnectionCount(), 5u);
}

TEST(HostileRequests, AProvenCallerKeepsHisConnectionHoweverManyStrangersCome) {
    HttpLimits limits;
    limits.connections = 8;
    EchoServer server(limits);
    const std::string proof = "Authorization: somebody\r\n";
    std::vector<std::unique_ptr<RawHttp>> proven, strangers;
    for (int i = 0; i < 2; ++i) {
        proven.push_back(std::make_unique<RawHttp>(server.GetPort()));
        EXPECT_EQ(proven.back()->Exchange(PostOf("/echo", "a", proof)).status, 200);
    }
    for (int i = 0; i < 50; ++i) {
        strangers.push_back(std::make_unique<RawHttp>(server.GetPort()));
        if (i % 2 == 0) continue;
        EXPECT_EQ(strangers.back()->Exchange(PostOf("/echo", "a")).status, 200) << i;
    }
    for (const auto& caller : proven) EXPECT_EQ(caller->Exchange(PostOf("/echo", "a", proof)).status, 200);
    RawHttp another(server.GetPort());
    EXPECT_EQ(another.Exchange(PostOf("/echo", "a", proof)).status, 200);
    EXPECT_LE(server.server.GetConnectionCount(), 8u);
}

TEST(HostileRequests, ProvenCallersWhoWaitMakeRoomForOneAnother) {
    HttpLimits limits;
    limits.connections = 4;
    EchoServer server(limits);
    std::vector<std::unique_ptr<RawHttp>> proven;
    for (int i = 0; i < 20; ++i) {
        proven.push_back(std::make_unique<RawHttp>(server.GetPort()));
        EXPECT_EQ(proven.back()->Exchange(PostOf("/echo", "a", "Authorization: somebody\r\n")).status, 200) << i;
    }
    EXPECT_LE(server.server.GetConnectionCount(), 4u);
}

TEST(HostileRequests, StrangersWhoseRequestsNeverEndLoseTheirPlaces) {
    HttpLimits limits;
    limits.connections = 4;
    limits.headerTime = 600s;
    EchoServer server(limits);
    std::vector<std::unique_ptr<RawHttp>> slow;
    for (int i = 0; i < 3; ++i) {
        slow.push_back(std::make_unique<RawHttp>(server.GetPort()));
        slow.back()->Send("POST /echo HTTP/1.1\r\n");
    }
    const auto countEnded = [&] {
        return std::count_if(slow.begin(), slow.end(), [](const auto& one) { return HasEnded(*one); });
    };
    const auto waitUntil = [end = std::chrono::steady_clock::now() + 60s](const auto& holds) {
        while (!holds() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    };
    waitUntil([&] { return server.server.GetConnectionCount() == slow.size(); });
    // The first ones are refused: those who came before have only just begun.
    waitUntil([&] { return RawHttp(server.GetPort()).Exchange(PostOf("/echo", "a")).status == 200; });
    waitUntil([&] { return countEnded() > 0; });
    EXPECT_EQ(countEnded(), 1) << "any of them: they began at the same time";
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", "a")).status, 200);
}

TEST(HostileRequests, APeerThatIsTooSlowIsClosedInEveryPhase) {
    const struct {
        const char* what;
        std::chrono::milliseconds HttpLimits::*limit;
        std::string bytes;
    } rows[] = {
        {"nothing", &HttpLimits::idleTime, ""},
        {"half a header", &HttpLimits::headerTime, "POST /echo HTTP/1.1\r\nHo"},
        {"an empty line", &HttpLimits::headerTime, "\r\n"},
        {"half a body", &HttpLimits::bodyTime, PostOf("/echo", "body").substr(0, PostOf("/echo", "body").size() - 1)},
        {"half a chunk", &HttpLimits::bodyTime, kChunked + "5\r\nab"},
    };
    for (const auto& row : rows) {
        HttpLimits limits;
        limits.*row.limit = 100ms;
        EchoServer server(limits);
        RawHttp slow(server.GetPort());
        slow.Send(row.bytes);
        EXPECT_TRUE(slow.IsClosed()) << row.what;
        EXPECT_EQ(server.served, 0) << row.what;
    }
}

TEST(HostileRequests, AClientThatTakesNoAnswerIsClosed) {
    HttpLimits limits;
    limits.writeTime = 100ms;
    limits.bytesPerSecond = 1u << 30;
    EchoServer server(limits);
    server.onServe = [](LumVoxMsg::HttpRequest&, const LumVoxMsg::HttpReply& reply) {
        reply({200, {}, {}, LumVoxMsg::MakeBlocks(std::string(64u << 20, 'x'))});
    };
    RawHttp client(server.GetPort());
    client.Send(PostOf("/echo", "a"));
    while (server.server.GetConnectionCount() > 0 || server.served == 0) std::this_thread::yield();
}

TEST(HostileRequests, ABodyThatKeepsThePaceMayTakeLongerThanTheLimit) {
    HttpLimits limits;
    limits.bodyTime = 200ms;
    limits.bytesPerSecond = 1000;
    EXPECT_EQ(limits.WithBytes(limits.bodyTime, 0), 200ms);
    EXPECT_EQ(limits.WithBytes(limits.bodyTime, 5000), 5200ms);
}
