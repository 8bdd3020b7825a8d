#include "lumconfd/MonitorRecord.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

#include "LumPalLog.h"
#include "lumconfd/Attempt.h"

namespace lumconfd {

using LumPalMsg::CreateInfo_t;
using LumPalMsg::CreateWarn_t;
using LumPalStr::String_t;
using lumtools::InstanceSide;
using lumtools::MonitorState;
using Phase = lumtools::MonitorState::Phase;

namespace {

auto KeyOf(const InstanceSide& side) {
    return std::tie(side.application, side.name, side.group);
}

using Before = std::map<std::tuple<std::string, std::string, std::string>, bool>;

/// Of instances that the configuration names twice the first one counts.
Before ByKey(const MonitorRecord::Sides& sides) {
    Before before;
    for (const InstanceSide& side : sides) before.try_emplace(KeyOf(side), side.here);
    return before;
}

/// Those of a partial look, and what it does not hold as it was.
MonitorRecord::Sides Joined(MonitorRecord::Sides seen, const MonitorRecord::Sides& former) {
    const Before inLook = ByKey(seen);
    std::copy_if(former.begin(), former.end(), std::back_inserter(seen),
                 [&](const InstanceSide& side) { return inLook.count(KeyOf(side)) == 0; });
    return seen;
}

}  // namespace

MonitorRecord::MonitorRecord(const char* product, Clock now) : now(std::move(now)) {
    Attempt("Which instances have changed sides while no daemon ran is not known: %1", [this] {
        if (const auto left = MonitorState::Read()) state = written = *left;
    });
    state.product = product;
}

void MonitorRecord::Enter(Phase phase) {
    state.phase = phase;
    state.since = now();
    state.successorAt = 0;
    state.hinderedBy.clear();
}

void MonitorRecord::Starting() {
    Enter(Phase::Starting);
    Write();
}

void MonitorRecord::Seen(const Sides& sides, Look look) {
    if (state.phase != Phase::Watching) {
        Enter(Phase::Watching);
        TellBegun();
        if (hasEnded) LumPalLog::LogGuarded([] { return CreateInfo_t("The cluster is followed again."); });
    }
    FollowSides(sides, look);
    Write();
}

void MonitorRecord::FollowSides(const Sides& sides, Look look) {
    if (look == Look::Whole) ForgetGone(sides);
    if (sides == state.instances) return;
    const Before before = ByKey(state.instances);
    for (const InstanceSide& side : sides) {
        const auto found = before.find(KeyOf(side));
        if (found == before.end() || found->second == side.here) continue;
        TellUnwatched(side);
        NoteUnwatched(side);
    }
    state.instances = look == Look::Whole ? sides : Joined(sides, state.instances);
}

/// Nobody can do anything about who is configured no longer.
void MonitorRecord::ForgetGone(const Sides& sides) {
    if (state.changed.empty()) return;
    const Before present = ByKey(sides);
    std::erase_if(state.changed, [&](const InstanceSide& side) { return present.count(KeyOf(side)) == 0; });
}

void MonitorRecord::TellUnwatched(const InstanceSide& side) const {
    const char* const text =
        side.here ? "The instance '%1' of the application '%2' has come to this node while nobody watched: its start "
                    "commands are not run for it."
                  : "The instance '%1' of the application '%2' has left this node while nobody watched: its stop "
                    "commands are not run for it.";
    LumPalLog::LogGuarded(
        [&] { return CreateWarn_t(text) << String_t::FromUtf8(side.name) << String_t::FromUtf8(side.application); });
}

void MonitorRecord::TellBegun() {
    for (const InstanceSide& side : state.begun) {
        const char* const text =
            side.here
                ? "The start commands of the instance '%1' of the application '%2' had begun when nobody watched any "
                  "more: they may have run, and not to their end."
                : "The stop commands of the instance '%1' of the application '%2' had begun when nobody watched any "
                  "more: they may have run, and not to their end.";
        LumPalLog::LogGuarded([&] {
            return CreateWarn_t(text) << String_t::FromUtf8(side.name) << String_t::FromUtf8(side.application);
        });
    }
    ForgetBegun();
}

void MonitorRecord::ForgetBegun() {
    state.begun.clear();
    state.begunAt = 0;
}

/// Who is back where his commands have left him has not changed.
void MonitorRecord::NoteUnwatched(const InstanceSide& side) {
    const auto isIt = [&](const InstanceSide& other) { return other.IsSameInstance(side); };
    if (std::erase_if(state.changed, isIt) == 0) state.changed.push_back(side);
}

void MonitorRecord::SetSide(const InstanceSide& side) {
    const auto isIt = [&](const InstanceSide& other) { return other.IsSameInstance(side); };
    std::erase_if(state.changed, isIt);
    const auto found = std::find_if(state.instances.begin(), state.instances.end(), isIt);
    if (found == state.instances.end()) {
        state.instances.push_back(side);
    } else {
        found->here = side.here;
    }
}

void MonitorRecord::CommandsBegin(const InstanceSide& side) {
    SetSide(side);
    state.begun = {side};
    state.begunAt = now();
    Write();
}

void MonitorRecord::CommandsEnd(const InstanceSide& side) {
    SetSide(side);
    if (state.begun.empty()) return;  // none have run: the end of the look writes it
    ForgetBegun();
    Write();
}

void MonitorRecord::CycleEnded(const LumPalMsg::MessageList_t& hindrance) {
    state.hinderedBy = hindrance.Format(LumPalMsg::BareText | LumPalMsg::Details).ToUtf8();
    Write();
}

void MonitorRecord::Ended(const LumPalMsg::MessageList_t& reason, std::int64_t successorAfterSeconds) {
    hasEnded = true;
    LumPalLog::LogGuarded([&] {
        LumPalMsg::CreateMessage_t line =
            CreateWarn_t("The cluster monitor has ended. A successor starts in %1 seconds.")
            << LumPalStr::NumToStr(static_cast<long long>(successorAfterSeconds));
        return line.AddDetails(reason);
    });
    Enter(Phase::Waiting);
    state.endedAt = state.since;
    state.endedBy = reason.Format(LumPalMsg::BareText | LumPalMsg::Details).ToUtf8();
    state.successorAt = state.since + successorAfterSeconds;
    Write();
}

void MonitorRecord::Stopped() {
    Enter(Phase::Stopped);
    Write();
}

void MonitorRecord::Write() {
    if (state == written) return;
    try {
        state.Write();
        written = state;
        failed = false;
    } catch (const std::exception& e) {
        if (std::exchange(failed, true)) return;
        LumPalLog::LogGuarded([&] {
            return CreateWarn_t("How the cluster monitor stands cannot be written down: %1")
                   << String_t::FromUtf8(e.what());
        });
    }
}

}  // namespace lumconfd
