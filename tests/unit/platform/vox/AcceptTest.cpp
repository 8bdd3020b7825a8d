// The server takes connections again, whatever kept it from it for a while.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string_view>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "EchoServer.h"
#include "ForkedProcess.h"
#include "LumPalFault.h"
#include "RawHttp.h"
#include "TempRoot.h"

using namespace std::chrono_literals;

namespace {

/// While it lives, accepting fails as without descriptors, so many times.
class FailingAccept {
public:
    explicit FailingAccept(int times) {
        left = times;
        LumPalIo::SetFaultHookForTest(
            [](const char* operation, const char*) { return std::string_view(operation) == "accept" && --left >= 0; });
    }
    ~FailingAccept() { LumPalIo::SetFaultHookForTest(nullptr); }
    static bool IsOver() { return left < 0; }

private:
    static inline std::atomic<int> left{0};
};

int StatusOf(unsigned port) {
    return RawHttp(port).Exchange(PostOf("/echo", "a")).status;
}

}  // namespace

TEST(Accept, WithoutDescriptorsAConnectionWaitsUntilThereAreSomeAgainFromTheFirstOneOn) {
    for (const int times : {1, 3}) {
        TempRoot root;
        const CapturedLog log(root.Native());
        EchoServer server;
        const FailingAccept failing(times);
        EXPECT_EQ(StatusOf(server.GetPort()), 200) << times;
        EXPECT_TRUE(failing.IsOver());
        EXPECT_EQ(StatusOf(server.GetPort()), 200);
        EXPECT_TRUE(log.Holds("A connection cannot be accepted: Too many open files"));
    }
}

TEST(Accept, WithoutDescriptorsTheServerTriesAgainAfterAPauseAndSaysItOnce) {
    TempRoot root;
    const CapturedLog log(root.Native());
    EchoServer server;
    const auto begun = std::chrono::steady_clock::now();
    const FailingAccept failing(4);
    EXPECT_EQ(StatusOf(server.GetPort()), 200);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, 300ms) << "it keeps the processor busy";
    const std::string text = log.Text();
    EXPECT_EQ(text.find("cannot be accepted"), text.rfind("cannot be accepted")) << text;
}

TEST(Accept, AServerThatCannotTakeConnectionsEndsAllTheSame) {
    EchoServer server;
    const FailingAccept failing(1 << 30);
    RawHttp waiting(server.GetPort());
    server.Close();
    EXPECT_TRUE(waiting.IsClosed());
}

TEST(Accept, AProcessWhoseDescriptorsAreUsedUpServesWhenSomeAreFreeAgain) {
    ForkedProcess process([] {
        const rlimit limit{100, 100};
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0) throw std::runtime_error("the limit cannot be set");
        static std::atomic<int> attempts{0};
        LumPalIo::SetFaultHookForTest([](const char*, const char*) { return ++attempts == 0; });
        EchoServer server;
        std::vector<int> all;
        for (int one = dup(0); one >= 0; one = dup(0)) all.push_back(one);
        close(all.back());
        all.pop_back();
        RawHttp client(server.GetPort());  // takes the last one
        client.Send(PostOf("/echo", "a"));
        while (attempts < 2) std::this_thread::yield();
        for (const int one : all) close(one);
        if (client.Receive().status != 200) throw std::runtime_error("it does not serve");
        if (StatusOf(server.GetPort()) != 200) throw std::runtime_error("it serves once only");
    });
    EXPECT_EQ(process.Wait(), 0);
}

TEST(Accept, WhatIsKeptForFilesIsNotTakenByConnections) {
    ForkedProcess process([] {
        EchoServer server;
        std::vector<std::unique_ptr<RawHttp>> clients;
        clients.push_back(std::make_unique<RawHttp>(server.GetPort()));
        if (clients.back()->Exchange(PostOf("/echo", "a")).status != 200) throw std::runtime_error("it does not serve");
        // All that are free now are kept ones: those above the highest one that is taken, and no lower one is free.
        int highest = 0;
        for (int one = 0; one < 32; ++one)
            if (fcntl(one, F_GETFD) >= 0) highest = one;
        while (dup(0) < highest) {
        }
        const auto few = static_cast<rlim_t>(2 * (highest + 1));
        const rlimit limit{few, few};
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0) throw std::runtime_error("the limit cannot be set");
        // The first one only waits: its descriptor is to be had, once the server has seen that its answer is away.
        constexpr int tries = 1000;
        int status = 0;
        for (int one = 0; one < tries && status != 200; ++one) {
            clients.resize(1);
            clients.push_back(std::make_unique<RawHttp>(server.GetPort()));
            status = clients.back()->Exchange(PostOf("/echo", "b")).status;
        }
        if (status != 200) throw std::runtime_error("it makes no room");
        if (!clients.front()->IsClosed()) throw std::runtime_error("room came from nowhere");
        if (server.server.GetConnectionCount() != 1) throw std::runtime_error("too many are open");
    });
    EXPECT_EQ(process.Wait(), 0);
}
