/// @file
/// What has changed between two looks at the cluster.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "lumcluster/Facts.h"
#include "lumcluster/Follower.h"

namespace lumcluster {

/// One thing that was seen, in a word or two.
struct Item {
    /// "settings", "cluster", "node", "group", "application", "instance" or "monitor"
    const char* kind;
    std::string name;  ///< of an instance: that of its application, "::" and its own
    std::string is;

    bool IsSame(const Item& other) const { return kind == std::string(other.kind) && name == other.name; }
};

/// In the order in which they were seen. Names that stand twice get a number behind them.
std::vector<Item> ItemsOf(const Sight& sight, const Follower& follower, const Keys& keys);

/// One that is new has no past, one that has gone no present.
struct Change {
    const char* kind;
    std::string name;
    std::optional<std::string> was, is;
};

/// Keeps what was seen last. What a look could not see stays as it was.
class Changes {
public:
    /// What the new look has changed.
    std::vector<Change> Take(const Sight& sight, std::vector<Item> items);
    /// What a look has changed for which the settings could not be read: nothing else was seen.
    std::vector<Change> TakeUnread(const lumtools::Outcome& outcome);

private:
    static bool IsUnseen(const Item& item, const Sight& sight);

    std::vector<Item> last;
};

/// "2026-11-22T10:00:00Z group web: Online on alpha (was Online on beta)", without control characters.
std::string LineOf(const Change& change, const std::string& time);
nlohmann::ordered_json ToJson(const Change& change, const std::string& time);

}  // namespace lumcluster
