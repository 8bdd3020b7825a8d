#include "lumcluster/Follower.h"

#include <chrono>
#include <cstdio>
#include <sstream>

#include "LumCtrlState.h"
#include "common/Table.h"

namespace lumcluster {

using lumtools::InstanceSide;
using lumtools::MonitorState;
using lumtools::Outcome;
using nlohmann::ordered_json;
using Phase = MonitorState::Phase;

namespace {

/// All of it in one line.
std::string Joined(const std::string& lines) {
    std::istringstream in(lines);
    std::string joined;
    for (std::string word; in >> word;) joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

ordered_json TimeOrNull(std::int64_t seconds) {
    return seconds == 0 ? ordered_json(nullptr) : ordered_json(TimeText(seconds));
}

ordered_json ToJson(const std::vector<InstanceSide>& sides) {
    ordered_json list = ordered_json::array();
    for (const InstanceSide& side : sides) {
        list.push_back(
            {{"application", side.application}, {"instance", side.name}, {"group", side.group}, {"here", side.here}});
    }
    return list;
}

std::string Commands(const MonitorState& state) {
    const InstanceSide& side = state.begun.front();
    return (state.begunAt == 0 ? "" : "since " + TimeText(state.begunAt) + " ") + "the monitor waits for the " +
           (side.here ? "start" : "stop") + " commands of the instance '" + side.name + "' of the application '" +
           side.application + "'";
}

std::string EndOf(const MonitorState& state) {
    return "the monitor has ended at " + TimeText(state.endedAt) + " (" + Joined(state.endedBy) +
           "); a successor starts at " + TimeText(state.successorAt);
}

}  // namespace

std::string TimeText(std::int64_t secondsSince1970) {
    using namespace std::chrono;
    const sys_seconds time{seconds(secondsSince1970)};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

Follower Follower::Read() {
    Follower follower;
    lumtools::Attempt([&] { follower.isDaemonThere = LumCtrl::IsServiceThere(); });
    const Outcome read = lumtools::Attempt([&] { follower.record = MonitorState::Read(); });
    follower.recordProblem = FirstMessage(read);
    return follower;
}

bool Follower::IsWatching() const {
    return Word() == DisplayText(Phase::Watching);
}

bool Follower::AreCommandsRunning() const {
    return IsWatching() && !record->begun.empty();
}

bool Follower::IsHindered() const {
    return !Hindrance().empty();
}

std::string Follower::Hindrance() const {
    if (AreCommandsRunning()) return Commands(*record);
    return IsWatching() ? record->hinderedBy : "";
}

std::string Follower::Word() const {
    if (!isDaemonThere) return "unknown";
    if (!*isDaemonThere) return "no daemon";
    if (!recordProblem.empty()) return "unknown";
    // A daemon that follows nothing leaves the record of a former one as it is.
    if (!record || record->phase == Phase::Stopped) return "none";
    return DisplayText(record->phase);
}

std::string Follower::Sentence() const {
    const std::string word = Word();
    if (word == "no daemon") return "no daemon serves this node: nothing follows the cluster";
    if (word == "none") return "the daemon follows no cluster: it looks for a product's daemon file when it starts";
    if (word == "unknown") {
        return recordProblem.empty() ? "this user may not know whether a daemon serves this node" : recordProblem;
    }
    if (record->phase == Phase::Waiting) return EndOf(*record);
    const char* const doing =
        record->phase == Phase::Watching ? "the cluster is followed" : "the cluster is looked for";
    const std::string sentence = std::string(doing) + " since " + TimeText(record->since);
    return IsHindered() ? sentence + ", but policies do not follow at present: " + Joined(Hindrance()) : sentence;
}

ordered_json ToJson(const Follower& follower, const Keys& keys) {
    const MonitorState state = follower.record.value_or(MonitorState());
    ordered_json object{{"state", follower.Word()}, {"monitor_mode", keys.isMonitorModeOn}};
    object["product"] = follower.record ? ordered_json(state.product) : ordered_json(nullptr);
    object["since"] = TimeOrNull(state.since);
    object["ended_at"] = TimeOrNull(state.endedAt);
    object["ended_by"] = state.endedBy;
    object["successor_at"] = TimeOrNull(state.successorAt);
    object["changed_unwatched"] = ToJson(state.changed);
    object["hindered_by"] = follower.Hindrance();
    object["commands_begun"] = ToJson(state.begun);
    object["commands_begun_at"] = TimeOrNull(state.begunAt);
    return object;
}

std::vector<std::string> Obstacles(const Follower& follower, const Keys& keys, const Sight& sight) {
    std::vector<std::string> obstacles;
    if (!follower.IsWatching() || follower.IsHindered()) obstacles.push_back(follower.Sentence());
    if (!keys.monitorMode.empty() && !keys.isMonitorModeOn) {
        obstacles.push_back("MONITOR_MODE of conf.cluster is off: nothing is switched");
    }
    for (const Problem& problem : sight.problems) {
        if (problem.what != kCluster && problem.what != kGroups) continue;
        obstacles.push_back("the cluster cannot be asked now: " + FirstMessage(problem.outcome));
    }
    if (const std::string why = sight.WhyApplicationsAreMissing(); sight.AreGroupsSeen() && !why.empty()) {
        obstacles.push_back(why + "; what is behind that is not followed");
    }
    if (const std::vector<WriteBack> first = WriteBacks(follower, keys, sight); !first.empty()) {
        const std::string problem = WriteBackProblem(LocalName::Of(keys));
        if (!problem.empty()) {
            obstacles.push_back(TextOf(first) +
                                ": a cycle sets that first, and ends the monitor when it fails: " + problem);
        }
    }
    return obstacles;
}

}  // namespace lumcluster
