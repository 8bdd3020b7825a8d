#include "NodeHealth.h"

namespace LumConf {

using LumPalStr::String_t;

NodeHealth::NodeHealth() {
    notificationsFailed.BeginAtZero();
    mergesFailed.BeginAtZero();
}

NodeHealth& NodeHealth::GetInstance() {
    static NodeHealth& instance = *new NodeHealth;  // never destroyed: threads note until the process is over
    return instance;
}

void NodeHealth::NotificationFailed() noexcept {
    notificationsFailed.Add();
}

void NodeHealth::SettingsMerged() noexcept {
    const LumPalThread::PlainLock_t lock(mutex);
    broken = String_t();
}

void NodeHealth::SettingsFailed(const LumPalMsg::MessageList_t& why) noexcept {
    mergesFailed.Add();
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
