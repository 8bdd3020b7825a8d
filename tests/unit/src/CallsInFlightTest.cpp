#include "CallsInFlight.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "Configure.h"

namespace {

using namespace LumConf;

/// A handler whose end can be watched.
class Handler final : public CallsInFlight {
public:
    explicit Handler(std::atomic<bool>& ending, std::uint32_t patienceMs = 1000)
        : ending(ending), patienceMs(patienceMs) {}
    ~Handler() override {
        ending = true;
        WaitForCalls(patienceMs);
    }
    void Process(LumVoxRpc::RpcServerCall&) override {}

private:
    std::atomic<bool>& ending;
    const std::uint32_t patienceMs;
};

constexpr std::uint32_t kMinuteMs = 60000;

TEST(CallsInFlight, AHandlerWithoutCallsEndsAtOnce) {
    std::atomic<bool> ending{false};
    auto handler = std::make_unique<Handler>(ending, 0xFFFFFFFF);
    handler->CallStarted();
    handler->CallStarted();
    handler->CallFinished();
    handler->CallFinished();
    handler.reset();  // would wait for weeks
    EXPECT_TRUE(ending);
}

TEST(CallsInFlight, AHandlerWithACallThatNeverEndsIsGivenUp) {
    std::atomic<bool> ending{false};
    auto handler = std::make_unique<Handler>(ending);
    handler->CallStarted();
    handler.reset();
    EXPECT_TRUE(ending);
}

TEST(CallsInFlight, AHandlerOutlivesACallThatEnds) {
    std::atomic<bool> ending{false}, ended{false};
    auto handler = std::make_unique<Handler>(ending, kMinuteMs);
    handler->CallStarted();
    std::thread call([&, raw = handler.get()] {
        EXPECT_TRUE(Eventually([&] { return ending.load(); }));
        ended = true;
        raw->CallFinished();
    });
    handler.reset();
    EXPECT_TRUE(ended);
    call.join();
}

TEST(CallsInFlight, TheLastOfSeveralCallsLetsTheHandlerGo) {
    std::atomic<bool> ending{false};
    std::atomic<int> ended{0};
    auto handler = std::make_unique<Handler>(ending, kMinuteMs);
    std::vector<std::thread> calls;
    for (int i = 0; i < 4; ++i) handler->CallStarted();
    for (int i = 0; i < 4; ++i) {
        calls.emplace_back([&, raw = handler.get()] {
            EXPECT_TRUE(Eventually([&] { return ending.load(); }));
            ++ended;
            raw->CallFinished();
        });
    }
    handler.reset();
    EXPECT_EQ(ended, 4);
    for (std::thread& call : calls) call.join();
}

/// A handler that ends only when all its calls have.
class PatientHandler final : public CallsInFlight {
public:
    PatientHandler(std::atomic<bool>& ending, std::uint32_t stepMs) : ending(ending), stepMs(stepMs) {}
    ~PatientHandler() override {
        ending = true;
        WaitForAllCalls(stepMs);
    }
    void Process(LumVoxRpc::RpcServerCall&) override {}

private:
    std::atomic<bool>& ending;
    const std::uint32_t stepMs;
};

TEST(CallsInFlight, AHandlerThatWaitsForAllCallsWithoutAnyEndsAtOnce) {
    std::atomic<bool> ending{false};
    auto handler = std::make_unique<PatientHandler>(ending, 0xFFFFFFFF);
    handler->CallStarted();
    handler->CallFinished();
    handler.reset();
    EXPECT_TRUE(ending);
}

TEST(CallsInFlight, AHandlerThatWaitsForAllCallsOutlivesThemThroughManySteps) {
    std::atomic<bool> ending{false};
    std::atomic<int> ended{0};
    auto handler = std::make_unique<PatientHandler>(ending, 1);
    std::vector<std::thread> calls;
    for (int i = 0; i < 3; ++i) handler->CallStarted();
    for (int i = 0; i < 3; ++i) {
        calls.emplace_back([&, i, raw = handler.get()] {
            EXPECT_TRUE(Eventually([&] { return ending.load() && ended == i; }));
            // Many times the step of the one who waits.
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            ++ended;
            raw->CallFinished();
        });
    }
    handler.reset();
    EXPECT_EQ(ended, 3);
    for (std::thread& call : calls) call.join();
}

TEST(CallsInFlight, AHandlerThatWaitsForAllCallsIsWokenByTheLastOne) {
    std::atomic<bool> ending{false}, ended{false};
    auto handler = std::make_unique<PatientHandler>(ending, 0xFFFFFFFF);
    handler->CallStarted();
    std::thread call([&, raw = handler.get()] {
        EXPECT_TRUE(Eventually([&] { return ending.load(); }));
        ended = true;
        raw->CallFinished();
    });
    handler.reset();  // would wait for weeks
    EXPECT_TRUE(ended);
    call.join();
}

}  // namespace
