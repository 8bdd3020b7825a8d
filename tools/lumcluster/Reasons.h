/// @file
/// Why a policy is on or off on this node, and what the next cycle of a monitor makes of it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "PolicyHeader.h"
#include "common/Table.h"
#include "lumcluster/Facts.h"

namespace lumcluster {

/// One thing that ties the policy to a resource group: an attribute, or an instance of an application that lists it.
struct Tie {
    std::string by;  ///< "HARG:web"; the name of the instance
    std::string group;
    bool isUnseen = false;  ///< the cluster does not tell its groups now
    bool isGroupKnown = false;
    bool isNoGroup = false;  ///< "HARG:noHARG"
    std::string state, activeNode;
    Comparison comparison;
    bool isSettled = true;   ///< a cycle takes a group that is not as it was at the last look
    bool isHere = false;     ///< the group is online on this node
    bool isLookedAt = true;  ///< attributes behind the first one that is online here are not
    std::string Because() const;
};

/// An application that lists the policy.
struct Listing {
    std::string application, listedAs;
    std::vector<Tie> instances;
};

/// One thing that a cycle does to the policy.
struct CycleStep {
    std::string by;
    bool enables = false;
};

struct Explanation {
    std::string id, name, typeName, status;
    std::vector<Tie> attributes;
    std::vector<Listing> listings;

    std::vector<CycleStep> steps;
    std::string after;          ///< the status behind the next cycle
    bool changes = false;       ///< whether the next cycle switches it at all
    bool inEveryCycle = false;  ///< it is switched off and on again and again
    /// Nobody could see the groups, which a cycle begins with: it would do nothing.
    bool isUnseen = false;
    /// It hangs on a group of which the cluster does not know where it runs: the monitor knows where it was last.
    bool isUndecided = false;
    /// Why an application may list it that is not told of; empty when nothing of the kind can be.
    std::string unknownBecause;
    /// What ends the monitor before it is done with this policy; empty without.
    std::string brokenBy;

    bool IsTied() const { return !attributes.empty() || !listings.empty(); }
};

/// Whether a policy can be asked for by what an application lists. What cannot ends the monitor.
bool CanBeListed(const std::string& listed);
/// Whether it means the policy: its name, or its type and name with a colon between them.
bool Means(const std::string& listed, const LumConf::PolicyHeader& policy);

Explanation Explain(const LumConf::PolicyHeader& policy, const Sight& sight, const Resolves& resolves);

/// For people, in lines. May hold control characters.
std::string TextOf(const Explanation& explanation, const std::vector<std::string>& obstacles,
                   const lumtools::TableLayout& layout = {});
nlohmann::ordered_json ToJson(const Explanation& explanation, const std::vector<std::string>& obstacles);

}  // namespace lumcluster
