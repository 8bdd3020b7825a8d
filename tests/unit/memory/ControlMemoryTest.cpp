// Memory runs out on the control service's thread: that costs programs that speak to it their connection.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "FailingMemory.h"
#include "LumCtrl.h"
#include "LumPalIo.h"
#include "Notify.h"
#include "TempRoot.h"

using namespace LumCtrl;
using LumPalStr::String_t;

namespace {

const char* const kService = "LumCtrl:Service";
constexpr std::uint32_t kLongMs = 60000;

/// Runs a step whose connection may be given up.
void Try(const std::function<void()>& step) {
    try {
        step();
    } catch (const LumPalMsg::Exception_t&) {
        // This is the connection that it cost.
    }
}

/// A component that acknowledges at once until it goes, or its connection does.
class Prompt {
public:
    Prompt() : component("prompt", &kAll, 1), thread([this] { Run(); }) {}
    ~Prompt() {
        stopping = true;
        thread.join();
    }
    std::atomic<int> heard{0};

private:
    void Run() {
        String_t event, value;
        Try([&] {
            while (!stopping) {
                if (!component.Next(event, value, 1)) continue;
                ++heard;
                component.Acknowledge();
            }
        });
    }
    static inline const String_t kAll{"*"};
    Component component;
    std::atomic<bool> stopping{false};
    std::thread thread;
};

struct ControlMemory : testing::Test {
    ControlMemory() { service.Start(); }

    void Notify(const char* event, bool asynchronous) {
        const auto options = Control::Options().SetAsynchronous(asynchronous);
        Try([&] { NotifyWithin(event, "value", "", options, asynchronous ? 0 : kLongMs); });
    }
    /// What components and programs do, each step on its own.
    void Talk() {
        Try([&] {
            const Prompt prompt;
            Notify("E", false);
            Notify("F", true);
            const String_t name("*");
            Try([&] { Component("prompt", &name, 1); });
        });
        Try([&] { Leave(); });
        Notify("NOBODY", true);
    }
    /// A component goes without an acknowledgement while somebody waits for it.
    void Leave() {
        const String_t all("*");
        auto component = std::make_unique<Component>("leaver", &all, 1);
        std::atomic<bool> ended{false};
        std::thread notifier([&] {
            Notify("G", false);
            ended = true;
        });
        String_t event, value;
        Try([&] {
            while (!ended && !component->Next(event, value, 1)) {
            }
        });
        component.reset();
        notifier.join();
    }
    void ExpectServed() {
        const Prompt prompt;
        EXPECT_NO_THROW(NotifyWithin("H", "v", "", Control::Options(), kLongMs));
        EXPECT_EQ(prompt.heard, 1);
    }

    TempRoot root;
    Service service;
};

}  // namespace

TEST_F(ControlMemory, TheServiceGoesOnWithoutMemory) {
    ForEachAllocation(
        kService, [&] { Talk(); }, [&] { ExpectServed(); }, 10);
}

TEST_F(ControlMemory, ToWaitNoLongerAndToStopNeedNoMemory) {
    const String_t all("*");
    Component component("silent", &all, 1);
    std::thread notifier([&] { Notify("E", false); });
    String_t event, value;
    ASSERT_TRUE(component.Next(event, value, kLongMs));
    {
        const FailingMemory memory(FailingMemory::ThisThread(), 1, MemoryFault::FromThenOn);
        service.StopWaiting();
        notifier.join();
        service.Stop();
        EXPECT_FALSE(memory.Fired());
    }
}
