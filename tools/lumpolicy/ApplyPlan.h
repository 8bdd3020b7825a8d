/// @file
/// What has to be done so that a node has the policies that are wanted.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "StoredPolicy.h"
#include "common/Outcome.h"
#include "lumpolicy/DesiredState.h"

namespace lumpolicy {

/// Which policies go when they are not wanted: of this type and in this category, as far as they are given. None when
/// neither is.
struct Pruning {
    std::string type, category;

    bool IsWanted() const { return !type.empty() || !category.empty(); }
    bool Means(const LumConf::PolicyHeader& header) const;
};

/// What is done about one policy. It refers to what it was planned from.
struct Step {
    enum class Kind {
        None,      ///< it is as it should be
        Create,    ///< install it
        Change,    ///< install it in place of what the node has
        Displace,  ///< it goes with an install, whose policy takes its name
        Remove     ///< take it away
    };
    Kind kind;
    const DesiredPolicy* wanted;       ///< null for what goes
    const LumConf::StoredPolicy* has;  ///< null for what is created
    std::vector<Difference> differences;
    std::optional<std::size_t> displaces;  ///< of an install: the step of the policy that goes with it
    lumtools::Outcome refusal;             ///< why the node would refuse it; done when nothing is known of that

    LumConf::PolicyHeader GetHeader() const { return wanted ? wanted->header : has->header; }
};

/// The steps: those of the wanted policies, in their order, and behind them what goes, sorted by type and name. A
/// policy that is wanted under a new id takes the place of the one with its name and type, as nodes see it.
/// @param forceOwner  no owner is looked at; else, as by a node, one that is set is not changed
std::vector<Step> MakePlan(const std::vector<DesiredPolicy>& wanted, const std::vector<LumConf::StoredPolicy>& has,
                           const Pruning& pruning, bool forceOwner);

}  // namespace lumpolicy
