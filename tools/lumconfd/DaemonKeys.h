/// @file
/// The keys of "conf.server" that the daemon itself follows.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalPlainMutex.h"
#include "LumPalStr.h"

namespace lumconfd {

/// Their values, with the default where a key is not there or holds what it cannot.
struct DaemonKeys {
    bool formatPolicyList = false;      ///< FORMAT_POLICY_LIST
    LumPalStr::String_t listName;       ///< MERGED_POLICY_LIST_FILENAME, a plain file name
    std::vector<std::string> servers;   ///< PING_SERVER, each once, as written
    bool locateServer = false;          ///< LOCATE_SERVER
    std::chrono::seconds waitTime{60};  ///< WAIT_TIME

    static DaemonKeys Read(const LumPalConfig::Configuration_t& configuration);
    bool operator==(const DaemonKeys& other) const;
};

/// The keys as they are now. Any thread.
class LiveKeys final : public LumPalConfig::ConfigChangeHandler_i {
public:
    /// @param changed  called after each change of a value, on the watcher's thread; quick
    /// @throws what ConfigNamespace_t::Open throws
    explicit LiveKeys(std::function<void()> changed);
    ~LiveKeys() override;
    LiveKeys(const LiveKeys&) = delete;
    LiveKeys& operator=(const LiveKeys&) = delete;

    DaemonKeys Get() const;
    void Update(const LumPalConfig::ChangedConfiguration_t& changes,
                const LumPalConfig::Configuration_t& configuration) override;

private:
    const LumPalConfig::ConfigNamespace_t nameSpace;
    const std::function<void()> changed;
    mutable LumPalThread::PlainMutex_t mutex;
    DaemonKeys keys LUMPAL_GUARDED_BY(mutex);
};

}  // namespace lumconfd
