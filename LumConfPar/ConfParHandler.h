/// @file
/// The choice whether settings policies are cached.
#pragma once

#include <atomic>

#include "LumPalConfig.h"
#include "LumPalThread.h"

namespace LumConfPar {

/// Holds the live value of CACHE_CONFIGSETTINGS_POLICIES, from its making to its end. Any thread.
class ConfParHandler final : public LumPalConfig::ConfigChangeHandler_i {
public:
    /// Registers for changes and reads the value. A configuration that cannot be read, or watched, is logged in the
    /// application log and counts as "no cache". @throws std::bad_alloc, with nothing registered
    ConfParHandler();
    ConfParHandler(const ConfParHandler&) = delete;
    ConfParHandler& operator=(const ConfParHandler&) = delete;
    ~ConfParHandler() override;
    void Update(const LumPalConfig::ChangedConfiguration_t& changes,
                const LumPalConfig::Configuration_t& configuration) override;
    bool IsCacheOn() const noexcept { return cache; }

private:
    void Read();

    LumPalConfig::ConfigNamespace_t nameSpace;
    // unmarked: held while the value is taken up, so that an older one never comes last; readers take the atomic
    LumPalThread::Mutex_t mutex;
    std::atomic<bool> cache{false};
};

}  // namespace LumConfPar
