#include "Hub.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "LumPalLog.h"

namespace LumCtrl {
namespace {

constexpr std::size_t kLongestName = 1000;

bool IsControl(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20 || code == 0x7F;
}

bool IsName(std::string_view text) {
    return !text.empty() && text.size() <= kLongestName && std::none_of(text.begin(), text.end(), IsControl);
}

bool Matches(const std::string& pattern, std::string_view event) {
    if (pattern.back() != '*') return pattern == event;
    return event.starts_with(std::string_view(pattern).substr(0, pattern.size() - 1));
}

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "'" : ", '") + name + "'";
    return text;
}

std::string Quoted(const std::string& name) {
    return "'" + name + "'";
}

const auto kNoText = [] { return std::string(); };

}  // namespace

/// Who cannot be answered because memory is out must not wait for the answer.
template <class MakeText>
void Hub::Reply(Peer peer, ReplyCode code, MakeText text) noexcept try {
    wire.Send(peer, Frame{FrameKind::Reply, static_cast<std::uint32_t>(code), {text()}});
} catch (...) {
    wire.Drop(peer);
}

template <class MakeText>
void Hub::Answer(Trigger& trigger, ReplyCode code, MakeText text) noexcept {
    Reply(std::exchange(trigger.notifier, 0), code, text);
}

void Hub::Take(Peer peer, const Frame& frame, Time now) {
    switch (frame.kind) {
        case FrameKind::Register:
            return Register(peer, frame);
        case FrameKind::Trigger:
            return TakeTrigger(peer, frame, now);
        case FrameKind::Acknowledge:
            return Acknowledge(peer, frame);
        case FrameKind::Delivery:
        case FrameKind::Reply:
            break;
    }
    throw FrameError{"a frame that only the service sends"};
}

void Hub::Register(Peer peer, const Frame& frame) {
    if (!IsIdle(peer)) throw FrameError{"a registration out of turn"};
    if (!std::all_of(frame.texts.begin(), frame.texts.end(), IsName)) {
        return Reply(peer, ReplyCode::Refused,
                     [] { return "a name or an event is empty, too long or holds a control character"; });
    }
    const std::string& name = frame.texts.front();
    const bool taken =
        std::any_of(components.begin(), components.end(), [&](const auto& entry) { return entry.second.name == name; });
    if (taken) {
        return Reply(peer, ReplyCode::Refused,
                     [&] { return "a component " + Quoted(name) + " is registered already"; });
    }
    if (components.size() >= kMostComponents) {
        return Reply(peer, ReplyCode::Refused, [] { return "there are too many components"; });
    }
    Component component;
    component.name = name;
    component.patterns.assign(frame.texts.begin() + 1, frame.texts.end());
    if (components.emplace(peer, std::move(component)).second) ++registered;
    Reply(peer, ReplyCode::Done, kNoText);
}

std::vector<Hub::Peer> Hub::Receivers(const Frame& frame, ReplyCode& code) const {
    const std::string &event = frame.texts[0], &target = frame.texts[2];
    std::vector<Peer> receivers;
    code = target.empty() ? ReplyCode::NoEvent : ReplyCode::NoTarget;
    for (const auto& [peer, component] : components) {
        if (!target.empty() && component.name != target) continue;
        code = ReplyCode::NoEvent;
        const bool registered = std::any_of(component.patterns.begin(), component.patterns.end(),
                                            [&](const std::string& pattern) { return Matches(pattern, event); });
        if (registered) receivers.push_back(peer);
    }
    if (!receivers.empty()) code = ReplyCode::Done;
    return receivers;
}

void Hub::TakeTrigger(Peer peer, const Frame& frame, Time now) {
    if (!IsIdle(peer)) throw FrameError{"a trigger out of turn"};
    ReplyCode code;
    const std::vector<Peer> receivers = Receivers(frame, code);
    if (receivers.empty()) {
        return Reply(peer, code, [&] { return frame.texts[code == ReplyCode::NoTarget ? 2 : 0]; });
    }
    auto trigger = std::make_shared<Trigger>();
    trigger->event = frame.texts[0];
    trigger->value = frame.texts[1];
    for (Peer receiver : receivers) trigger->open.push_back(components.at(receiver).name);
    for (Peer receiver : receivers) Queue(receiver, trigger);
    if (frame.number == 0 && !trigger->open.empty()) return Reply(peer, ReplyCode::Done, kNoText);
    trigger->notifier = peer;
    trigger->deadline = patient ? now + std::chrono::milliseconds(frame.number) : now;
    waiting.push_back(trigger);
    Finish(trigger);
}

void Hub::Queue(Peer peer, const TriggerPtr& trigger) {
    const auto found = components.find(peer);
    Component& component = found->second;
    component.queue.push_back(trigger);
    component.queuedBytes += trigger->event.size() + trigger->value.size();
    if (component.queue.size() > kMostQueued || component.queuedBytes > kMostQueuedBytes) {
        Remove(found, " is too slow and was dropped");
        wire.Drop(peer);
        return;
    }
    Deliver(peer, component);
}

/// A component that cannot be told because memory is out would never acknowledge.
void Hub::Deliver(Peer peer, Component& component) noexcept try {
    if (component.delivering || component.queue.empty()) return;
    const Trigger& trigger = *component.queue.front();
    component.delivering = true;
    wire.Send(peer, Frame{FrameKind::Delivery, ++component.delivery, {trigger.event, trigger.value}});
} catch (...) {
    wire.Drop(peer);
}

void Hub::Acknowledge(Peer peer, const Frame& frame) {
    const auto found = components.find(peer);
    if (found == components.end()) throw FrameError{"an acknowledgement without a registration"};
    Component& component = found->second;
    if (!component.delivering || frame.number != component.delivery) {
        throw FrameError{"an acknowledgement of what was not delivered"};
    }
    const TriggerPtr trigger = component.queue.front();
    component.queue.pop_front();
    component.queuedBytes -= trigger->event.size() + trigger->value.size();
    component.delivering = false;
    std::erase(trigger->open, component.name);
    Finish(trigger);
    Deliver(peer, component);
}

void Hub::Gone(Peer peer) noexcept {
    const auto found = components.find(peer);
    if (found != components.end()) Remove(found, " went away");
    for (auto i = waiting.begin(); i != waiting.end();) {
        const bool left = (*i)->notifier == peer;
        if (left) (*i)->notifier = 0;
        i = left ? waiting.erase(i) : std::next(i);
    }
}

void Hub::Remove(Components::iterator found, const char* why) noexcept {
    const auto node = components.extract(found);
    --registered;
    const Component& component = node.mapped();
    WarnOfQueue(component, "The component ", why);
    for (const TriggerPtr& trigger : component.queue) Fail(trigger, component.name);
}

/// The trigger does not reach the component any more.
void Hub::Fail(const TriggerPtr& trigger, const std::string& component) noexcept {
    std::erase(trigger->open, component);
    try {
        trigger->failed.push_back(component);
    } catch (...) {
        // It must not be told that all have acknowledged.
        waiting.remove(trigger);
        if (trigger->notifier != 0) wire.Drop(std::exchange(trigger->notifier, 0));
    }
    Finish(trigger);
}

void Hub::WarnOfQueue(const Component& component, const char* before, const char* behind) noexcept try {
    if (component.queue.empty()) return;
    wire.Warn(before + Quoted(component.name) + behind + ": " + std::to_string(component.queue.size()) +
              " trigger(s) were not acknowledged, the first is " + Quoted(component.queue.front()->event) + ".");
} catch (...) {
    LumPalLog::ReportLostLine();
}

void Hub::Finish(const TriggerPtr& trigger) noexcept {
    if (trigger->notifier == 0 || !trigger->open.empty()) return;
    waiting.remove(trigger);
    if (trigger->failed.empty()) return Answer(*trigger, ReplyCode::Done, kNoText);
    Answer(*trigger, ReplyCode::Unacknowledged,
           [&] { return Joined(trigger->failed) + " went away before it acknowledged"; });
}

void Hub::Tick(Time now) noexcept {
    for (auto i = waiting.begin(); i != waiting.end();) {
        const TriggerPtr trigger = *i;
        if (trigger->deadline > now) {
            ++i;
            continue;
        }
        i = waiting.erase(i);
        const char* why = patient ? " did not acknowledge in time" : " had not acknowledged when the node was stopped";
        Answer(*trigger, ReplyCode::Unacknowledged, [&] { return Joined(trigger->open) + why; });
    }
}

Hub::Time Hub::NextDeadline() const {
    Time next = Time::max();
    for (const TriggerPtr& trigger : waiting) next = std::min(next, trigger->deadline);
    return next;
}

bool Hub::IsIdle(Peer peer) const {
    const bool waits = std::any_of(waiting.begin(), waiting.end(),
                                   [&](const TriggerPtr& trigger) { return trigger->notifier == peer; });
    return !waits && components.count(peer) == 0;
}

void Hub::StopWaiting(Time now) noexcept {
    patient = false;
    for (const TriggerPtr& trigger : waiting) trigger->deadline = now;
}

void Hub::Stop() noexcept {
    for (const auto& [peer, component] : components) {
        WarnOfQueue(component, "The control service stops before the component ", " is done");
    }
    for (const TriggerPtr& trigger : std::exchange(waiting, {})) {
        Answer(*trigger, ReplyCode::Refused, [] { return "the control service stops"; });
    }
}

}  // namespace LumCtrl
