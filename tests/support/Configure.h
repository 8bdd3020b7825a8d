/// @file
/// The node's configuration in tests, and waiting for what other threads make of it.
#pragma once

#include <chrono>
#include <thread>

#include "LumPalConfig.h"
#include "LumPalStr.h"

/// Sets one attribute of the node's local settings; who listens is told a moment later.
inline void Configure(const char* nameSpace, const char* key, const char* value) {
    LumPalConfig::Configuration_t configuration{LumPalStr::String_t(nameSpace)};
    configuration.SetAttrValue(key, value);
    LumPalConfig::ConfigUpdate_t update(LumPalStr::String_t::Null());
    update.SetConfig(configuration);
    update.Apply();
}

/// Whether the condition comes true; gives up after ten seconds.
template <class Condition>
bool Eventually(Condition&& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
