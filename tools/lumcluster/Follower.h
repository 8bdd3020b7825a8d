/// @file
/// Who follows the cluster on this node, and what keeps him from it.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "common/MonitorState.h"
#include "lumcluster/Facts.h"

namespace lumcluster {

/// The daemon of this node and its monitor.
struct Follower {
    std::optional<bool> isDaemonThere;  ///< nothing: this user may not know
    std::optional<lumtools::MonitorState> record;
    std::string recordProblem;  ///< why the record cannot be read

    static Follower Read();
    /// Whether a monitor lives through its cycles now, as far as can be told.
    bool IsWatching() const;
    /// Whether it does, and waits for commands of an application: nothing else is done until they have ended.
    bool AreCommandsRunning() const;
    /// Whether it does and policies do not follow all the same: commands run, it is switched off, or its last look has
    /// failed.
    bool IsHindered() const;
    /// Why; empty where it is not hindered. As it was written down, and in more than one line.
    std::string Hindrance() const;
    /// One word of how it stands: "watching", "starting", "waiting", "stopped"; "none" where the daemon follows
    /// nothing, "no daemon", "unknown".
    std::string Word() const;
    /// The same for people.
    std::string Sentence() const;
};

/// "2026-11-22T10:00:00Z"
std::string TimeText(std::int64_t secondsSince1970);

nlohmann::ordered_json ToJson(const Follower& follower, const Keys& keys);

/// Why nothing would come of a cycle on this node now, a sentence each.
std::vector<std::string> Obstacles(const Follower& follower, const Keys& keys, const Sight& sight);

/// A key of conf.cluster that the next cycle of a monitor sets, in a request to the node itself, before all else.
struct WriteBack {
    std::string key, present;
    std::string wanted;  ///< empty: what the monitor follows at the moment, which nobody else knows
};
/// All of them. What is empty the daemon fills before it starts a monitor: that is one for a monitor that runs already.
std::vector<WriteBack> WriteBacks(const Follower& follower, const Keys& keys, const Sight& sight);
/// "CLUSTER_TYPE is 'odd', and MONITOR_MODE is empty"
std::string TextOf(const std::vector<WriteBack>& writeBacks);
/// How to do it in the monitor's place. No value is named that may not be the meant one: it could switch policies.
std::string AdviceOf(const std::vector<WriteBack>& writeBacks);
/// Why such a request would fail; empty when nothing is known against it.
std::string WriteBackProblem(const LocalName& local);

}  // namespace lumcluster
