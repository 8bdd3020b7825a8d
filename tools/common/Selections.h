/// @file
/// Which policies a command means, where a request carries less than it is given.
#pragma once

#include <string>
#include <vector>

#include "PolicyContainer.h"
#include "Selection.h"

namespace lumtools {

/// The policies that each of several selections means. A request carries the first one alone; the others are applied to
/// what a node lists, by the rules by which a node selects. A value; const members are for any thread.
class Selections {
public:
    /// All policies.
    Selections() : all(1) {}
    /// @param all  at least one
    explicit Selections(std::vector<LumConf::Selection> all) : all(std::move(all)) {}

    const LumConf::Selection& GetFirst() const { return all.front(); }
    /// Whether the first one says all.
    bool IsOne() const { return all.size() == 1; }
    /// Takes what the other ones do not mean out of the policies, which the first one has picked.
    void Narrow(const LumConf::PolicyContainer& policies) const;

private:
    std::vector<LumConf::Selection> all;
};

}  // namespace lumtools
