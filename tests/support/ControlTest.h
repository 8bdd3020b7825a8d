/// @file
/// The tests of the control service: a service that is started by the test, and a component that answers.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "LumCtrl.h"
#include "LumPalConfig.h"
#include "TempRoot.h"

namespace LumCtrl {

using LumPalStr::String_t;

inline constexpr std::uint32_t kLongMs = 60000;

inline void SetAttr(const char* nameSpace, const char* name, const char* value) {
    LumPalConfig::Configuration_t configuration{String_t(nameSpace)};
    configuration.SetAttrValue(name, value);
    LumPalConfig::ConfigUpdate_t update{String_t()};
    update.SetConfig(configuration);
    update.Apply();
}

/// A component on a thread of its own that acknowledges what comes and remembers it.
class Consumer {
public:
    Consumer(const char* name, const String_t& event, std::size_t count)
        : component(name, &event, 1), thread([this, count] { Run(count); }) {}
    ~Consumer() { Join(); }
    void Join() {
        if (thread.joinable()) thread.join();
    }
    std::vector<std::string> seen;

private:
    void Run(std::size_t count) {
        String_t event, value;
        while (seen.size() < count && component.Next(event, value, kLongMs)) {
            seen.push_back((event + "=" + value).ToUtf8());
            component.Acknowledge();
        }
    }
    Component component;
    std::thread thread;
};

struct ControlTest : testing::Test {
    TempRoot root;
    Service service;
    Control::Options synchronous, asynchronous = Control::Options().SetAsynchronous(true);
    String_t event, value;
    const String_t all{"*"};
};

inline std::string TextOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const LumPalMsg::Exception_t& failure) {
        return failure.GetMessageList().GetMessage(0).GetMessageText().ToUtf8();
    }
    return "nothing was raised";
}

}  // namespace LumCtrl
