/// @file
/// The choice whether settings policies are cached.
#pragma once

#include <atomic>

#include "LumPalConfig.h"

namespace LumConfPar {

/// Holds the live value of CACHE_CONFIGSETTINGS_POLICIES, from its making to its end. Any thread.
class ConfParHandler : public LumPalConfig::ConfigChangeHandler_i {
public:
    /// Reads the value and registers for changes. A configuration that cannot be read counts as "no cache".
    ConfParHandler();
    ConfParHandler(const ConfParHandler&) = delete;
    ConfParHandler& operator=(const ConfParHandler&) = delete;
    ~ConfParHandler() override;
    void Update(const LumPalConfig::ChangedConfiguration_t& changes,
                const LumPalConfig::Configuration_t& configuration) override;
    bool IsCacheOn() const noexcept { return cache; }

private:
    LumPalConfig::ConfigNamespace_t nameSpace;
    std::atomic<bool> cache{false};
};

}  // namespace LumConfPar
