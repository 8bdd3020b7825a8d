/// @file
/// What a node notes of its own condition while it works.
#pragma once

#include <atomic>
#include <cstddef>

#include "LumPalMsg.h"
#include "LumPalPlainMutex.h"
#include "LumPalStr.h"

namespace LumConf {

/// Noted where it happens, read by whoever tells the operator. One for the process. Any thread.
class NodeHealth {
public:
    static NodeHealth& GetInstance();

    /// How many changes wait for the next notification.
    void SetQueued(std::size_t count) noexcept { queued = count; }
    std::size_t GetQueued() const noexcept { return queued; }
    /// A consumer could not be told.
    void NotificationFailed() noexcept;

    /// The settings policies are merged as they are installed, or could not be.
    void SettingsMerged() noexcept;
    void SettingsFailed(const LumPalMsg::MessageList_t& why) noexcept;
    /// Why they could not be; empty when they are.
    LumPalStr::String_t WhySettingsAreBroken() const;

private:
    std::atomic<std::size_t> queued{0};
    mutable LumPalThread::PlainMutex_t mutex;
    LumPalStr::String_t broken LUMPAL_GUARDED_BY(mutex);
};

}  // namespace LumConf
