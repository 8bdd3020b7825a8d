/// @file
/// What a node notes of its own condition while it works.
#pragma once

#include <atomic>
#include <cstddef>

#include "LumPalMetrics.h"
#include "LumPalMsg.h"
#include "LumPalPlainMutex.h"
#include "LumPalStr.h"

namespace LumConf {

/// Noted where it happens, read by whoever tells the operator. One for the process, whose counters are told from its
/// first use on. Any thread.
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
    NodeHealth();

    LumPalMetrics::Counter_t notificationsFailed{"lumconf_notifications_failed_total",
                                                 "Events that did not reach a consumer, or had none."};
    LumPalMetrics::Counter_t mergesFailed{"lumconf_settings_merge_failures_total",
                                          "Times that the settings policies were not merged."};
    std::atomic<std::size_t> queued{0};
    mutable LumPalThread::PlainMutex_t mutex;
    LumPalStr::String_t broken LUMPAL_GUARDED_BY(mutex);
};

}  // namespace LumConf
