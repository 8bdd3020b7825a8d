#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "EchoServer.h"
#include "LumPalNet.h"
#include "RawHttp.h"

using LumVoxMsg::HttpLimits;
using LumVoxMsg::HttpReply;
using LumVoxMsg::HttpRequest;
using LumVoxMsg::HttpResponse;
using namespace std::chrono_literals;

TEST(HttpServer, AnswersSeveralRequestsOnOneConnection) {
    EchoServer server;
    RawHttp client(server.GetPort());
    for (const std::string body : {"one", "", "three"}) {
        const RawAnswer answer = client.Exchange(PostOf("/echo", body));
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.body, body);
    }
}

TEST(HttpServer, SaysItsNameWithoutAVersionAndTheLength) {
    EchoServer server;
    const RawAnswer answer = RawHttp(server.GetPort()).Exchange(PostOf("/echo", "body"));
    EXPECT_NE(answer.head.find("\r\nServer: lumconfd\r\n"), std::string::npos) << answer.head;
    EXPECT_NE(answer.head.find("\r\nContent-Length: 4\r\n"), std::string::npos) << answer.head;
    EXPECT_NE(answer.head.find("\r\nDate: "), std::string::npos) << answer.head;
}

TEST(HttpServer, AnswersPipelinedRequestsInTheirOrder) {
    EchoServer server;
    RawHttp client(server.GetPort());
    client.Send(PostOf("/echo", "a") + PostOf("/echo", "b") + PostOf("/echo", "c"));
    for (const char* body : {"a", "b", "c"}) EXPECT_EQ(client.Receive().body, body);
}

TEST(HttpServer, TakesARequestByteByByte) {
    EchoServer server;
    RawHttp client(server.GetPort());
    for (const char byte : PostOf("/echo", "slow")) client.Send(std::string(1, byte));
    EXPECT_EQ(client.Receive().body, "slow");
}

TEST(HttpServer, TakesAnEmptyLineBeforeARequest) {
    EchoServer server;
    RawHttp client(server.GetPort());
    EXPECT_EQ(client.Exchange("\r\n" + PostOf("/echo", "a")).body, "a");
    EXPECT_EQ(client.Exchange("\r\n" + PostOf("/echo", "b")).body, "b");
}

TEST(HttpServer, TakesABodyInChunks) {
    EchoServer server;
    RawHttp client(server.GetPort());
    const std::string head = "POST /echo HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n";
    EXPECT_EQ(client.Exchange(head + "3\r\nabc\r\n2;x=y\r\nde\r\n0\r\n\r\n").body, "abcde");
    EXPECT_EQ(client.Exchange(head + "0\r\nTrailer: a\r\n\r\n").status, 200);
    EXPECT_EQ(client.Exchange(PostOf("/echo", "next")).body, "next");
}

TEST(HttpServer, TakesAndSendsALargeBody) {
    EchoServer server;
    std::string body;
    while (body.size() < 9u << 20) body += std::to_string(body.size()) + " ";
    RawHttp client(server.GetPort());
    std::thread sender([&] { client.Send(PostOf("/echo", body)); });
    const RawAnswer answer = client.Receive();
    sender.join();
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == body);
}

TEST(HttpServer, AsksForTheBodyOfAClientThatWaitsForThat) {
    EchoServer server;
    RawHttp client(server.GetPort());
    client.Send("POST /echo HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 4\r\n\r\n");
    EXPECT_EQ(client.Receive().status, 100);
    EXPECT_EQ(client.Exchange("body").body, "body");
}

TEST(HttpServer, RefusesABodyBeforeItIsSent) {
    EchoServer server;
    RawHttp client(server.GetPort());
    const std::string rest = " HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: ";
    EXPECT_EQ(client.Exchange("POST /other" + rest + "4\r\n\r\n").status, 404);
    EXPECT_TRUE(client.IsClosed());
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange("POST /echo" + rest + "67108865\r\n\r\n").status, 413);
    EXPECT_EQ(server.served, 0);
}

TEST(HttpServer, AnswersHttp10AndCloses) {
    EchoServer server;
    RawHttp client(server.GetPort());
    const RawAnswer answer =
        client.Exchange("POST /echo HTTP/1.0\r\nConnection: keep-alive\r\nContent-Length: 4\r\n\r\nbody");
    EXPECT_EQ(answer.body, "body");
    EXPECT_NE(answer.head.find("Connection: close"), std::string::npos) << answer.head;
    EXPECT_TRUE(client.IsClosed());
}

TEST(HttpServer, ClosesWhenItIsAskedTo) {
    EchoServer server;
    RawHttp client(server.GetPort());
    EXPECT_EQ(client.Exchange(PostOf("/echo", "a", "Connection: close\r\n")).status, 200);
    EXPECT_TRUE(client.IsClosed());
}

TEST(HttpServer, ARefusalWithoutABodyKeepsTheConnection) {
    EchoServer server;
    RawHttp client(server.GetPort());
    EXPECT_EQ(client.Exchange("GET /other HTTP/1.1\r\nHost: a\r\n\r\n").status, 404);
    EXPECT_EQ(client.Exchange(PostOf("/echo", "a")).status, 200);
}

TEST(HttpServer, AClientThatGoesAwayAnywhereDisturbsNobody) {
    EchoServer server;
    const std::string request = PostOf("/echo", "a body that is cut");
    for (std::size_t length = 0; length < request.size(); ++length) {
        RawHttp client(server.GetPort());
        client.Send(std::string_view(request).substr(0, length));
    }
    EXPECT_EQ(server.served, 0);
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(request).status, 200);
}

TEST(HttpServer, AReplyThatNeverComesIsA503) {
    EchoServer server;
    server.onServe = [](HttpRequest&, const HttpReply&) {};
    RawHttp client(server.GetPort());
    const RawAnswer answer = client.Exchange(PostOf("/echo", "a"));
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.body, "The node cannot serve this now.");
    EXPECT_TRUE(client.IsClosed());
}

TEST(HttpServer, ARequestThatNobodyBeganWithBeforeTheEndIsA503ThatSaysSo) {
    EchoServer server;
    std::promise<HttpReply> reply;
    server.onServe = [&](HttpRequest&, HttpReply given) { reply.set_value(std::move(given)); };
    RawHttp client(server.GetPort());
    // A second request right behind it must not turn the end of the connection into a reset.
    client.Send(PostOf("/echo", "a") + PostOf("/echo", "b"));
    HttpReply pending = reply.get_future().get();
    server.server.StopAccepting();
    pending = nullptr;
    server.server.Finish();
    const RawAnswer answer = client.Receive();
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.body, "The node is stopping.");
    EXPECT_TRUE(client.IsClosed());
}

TEST(HttpServer, OnlyTheFirstReplyCounts) {
    EchoServer server;
    server.onServe = [](HttpRequest&, const HttpReply& reply) {
        reply(HttpResponse{200, {}, {}, LumVoxMsg::MakeBlocks("first")});
        reply(HttpResponse{200, {}, {}, LumVoxMsg::MakeBlocks("second")});
    };
    RawHttp client(server.GetPort());
    EXPECT_EQ(client.Exchange(PostOf("/echo", "a")).body, "first");
    EXPECT_EQ(client.Exchange(PostOf("/echo", "a")).body, "first");
}

TEST(HttpServer, AHandlerThatThrowsLosesOneConnectionOnly) {
    EchoServer server;
    server.onServe = [](HttpRequest& request, const HttpReply& reply) {
        if (request.body->GetSize() == 1) throw std::runtime_error("a fault of the handler");
        reply(HttpResponse{200, {}, {}, request.body});
    };
    RawHttp client(server.GetPort());
    EXPECT_EQ(client.Exchange(PostOf("/echo", "1")).status, 503);
    EXPECT_EQ(RawHttp(server.GetPort()).Exchange(PostOf("/echo", "22")).body, "22");
}

TEST(HttpServer, ATakenPortIsNamed) {
    EchoServer first;
    EchoServer other;
    LumVoxMsg::HttpServer second{HttpLimits(), other};
    try {
        second.Bind("127.0.0.1", first.GetPort());
        FAIL() << "the port was taken";
    } catch (const LumPalNet::ConnectException_t& e) {
        const std::string text = e.what();
        EXPECT_NE(text.find("127.0.0.1"), std::string::npos) << text;
        EXPECT_NE(text.find(std::to_string(first.GetPort())), std::string::npos) << text;
    }
}

TEST(HttpServer, ClosingAnswersWhatIsBeingServedAndRefusesTheRest) {
    EchoServer server;
    std::promise<HttpReply> reply;
    server.onServe = [&](HttpRequest&, HttpReply given) { reply.set_value(std::move(given)); };
    RawHttp idle(server.GetPort()), half(server.GetPort()), served(server.GetPort());
    half.Send("POST /echo HTTP/1.1\r\n");
    served.Send(PostOf("/echo", "a"));
    HttpReply pending = reply.get_future().get();
    server.server.StopAccepting();
    EXPECT_THROW(RawHttp(server.GetPort()), std::runtime_error);
    EXPECT_TRUE(idle.IsClosed());
    EXPECT_TRUE(half.IsClosed());
    std::move(pending)(HttpResponse{200, {}, {}, LumVoxMsg::MakeBlocks("done")});
    pending = nullptr;
    server.server.Finish();
    const RawAnswer answer = served.Receive();
    EXPECT_EQ(answer.body, "done");
    EXPECT_NE(answer.head.find("Connection: close"), std::string::npos) << answer.head;
}

TEST(HttpServer, ClosingDoesNotWaitForAClientThatTakesNoAnswer) {
    HttpLimits limits;
    limits.closeTime = 100ms;
    EchoServer server(limits);
    std::promise<void> sent;
    server.onServe = [&](HttpRequest&, const HttpReply& reply) {
        reply(HttpResponse{200, {}, {}, LumVoxMsg::MakeBlocks(std::string(64u << 20, 'x'))});
        sent.set_value();
    };
    RawHttp client(server.GetPort());
    client.Send(PostOf("/echo", "a"));
    sent.get_future().wait();
    server.Close();
    EXPECT_EQ(server.server.GetConnectionCount(), 0u);
}

TEST(HttpServer, ConnectionsAreCountedDownToZero) {
    EchoServer server;
    {
        std::vector<std::unique_ptr<RawHttp>> clients;
        for (int i = 0; i < 20; ++i) {
            clients.push_back(std::make_unique<RawHttp>(server.GetPort()));
            EXPECT_EQ(clients.back()->Exchange(PostOf("/echo", "a")).status, 200);
        }
        EXPECT_EQ(server.server.GetConnectionCount(), 20u);
    }
    while (server.server.GetConnectionCount() > 0) std::this_thread::yield();
}
