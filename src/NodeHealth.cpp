#include "NodeHealth.h"

#include "LumPalMetrics.h"

namespace LumConf {

using LumPalMetrics::Counter_t;
using LumPalStr::String_t;

NodeHealth& NodeHealth::GetInstance() {
    static NodeHealth& instance = *new NodeHealth;  // never destroyed: threads note until the process is over
    return instance;
}

void NodeHealth::NotificationFailed() noexcept {
    static Counter_t failed("lumconf_notifications_failed_total", "Events that did not reach a consumer, or had none.");
    failed.Add();
}

void NodeHealth::SettingsMerged() noexcept {
    const LumPalThread::PlainLock_t lock(mutex);
    broken = String_t();
}

void NodeHealth::SettingsFailed(const LumPalMsg::MessageList_t& why) noexcept {
    static Counter_t failed("lumconf_settings_merge_failures_total",
                            "Times that the settings policies were not merged.");
    failed.Add();
    LumPalMetrics::Guarded([&] {
        const String_t text = why.Format(LumPalMsg::Text | LumPalMsg::Details);
        const LumPalThread::PlainLock_t lock(mutex);
        broken = text;
    });
}

String_t NodeHealth::WhySettingsAreBroken() const {
    const LumPalThread::PlainLock_t lock(mutex);
    return broken;
}

}  // namespace LumConf
