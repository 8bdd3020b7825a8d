/// @file
/// What the look before has found.
#pragma once

#include <map>
#include <optional>
#include <utility>

#include "LumConfCluster/Applications.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The instances of a look by their names, as the lists of applications and of instances find them, without a walk for
/// each question. Of names that stand twice the first one counts. One thread.
class FormerLook {
public:
    explicit FormerLook(const Applications& applications);
    /// Whether the instance was online on this node then; nothing when it was not there. Where its name stands twice in
    /// its application, it is what has the same name and the same group, to the letter.
    std::optional<bool> SideOf(const LumPalStr::String_t& application, const Instance& instance) const;

private:
    /// Of one application.
    struct Entry {
        explicit Entry(const Instances& instances);

        Instances instances;
        std::map<LumPalStr::String_t, int> byName;  ///< in lower case
        std::map<std::pair<LumPalStr::String_t, LumPalStr::String_t>, int> byPair;
    };

    std::map<LumPalStr::String_t, Entry> entries;  ///< by names in lower case
};

}  // namespace LumConfCluster
