/// @file
/// Looking at the cluster by the library.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lumcluster/Facts.h"

namespace lumcluster {

/// The addresses of groups, since each costs some tools and hardly changes: one is asked for again when its group has
/// changed its state or its active node, and after a minute.
class Addresses {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    static constexpr std::chrono::seconds kLifetime{60};

    explicit Addresses(Clock now = &std::chrono::steady_clock::now) : now(std::move(now)) {}
    /// Nothing: it is to be asked for.
    std::optional<std::string> Find(const GroupFacts& group) const;
    /// Takes up what was asked for.
    void Keep(const GroupFacts& group);

private:
    struct Known {
        std::string address, state, activeNode;
        std::chrono::steady_clock::time_point askedAt;
    };
    Clock now;
    std::map<std::string, Known> known;
};

/// Asks the cluster and loads the applications. What cannot be had is a problem of the sight, and what does not depend
/// on it is there. Blocks as long as the product's tools do. Changes nothing.
/// @param addresses  null: the addresses of groups are not wanted
/// @throws LumPalMsg::Exception_t  what reading the configuration throws
Sight Look(const Keys& keys, Addresses* addresses);

/// What came of asking for the address and for the nodes of groups.
struct GroupAnswers {
    std::vector<Problem> failed;  ///< a question each, which it names
    /// Groups without one. Of some products that is all that is seen of a tool which fails.
    std::vector<std::string> withoutAddress, withoutNodes;
};

/// Asks for both, which nothing else on the way of a look does.
/// @param most  so many groups, the first ones, are asked of: each costs some tools
GroupAnswers AskOfGroups(const Sight& sight, std::size_t most);

/// Where the list of applications lies.
LumPalStr::String_t ApplicationListPath();

}  // namespace lumcluster
