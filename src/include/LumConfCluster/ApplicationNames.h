/// @file
/// What becomes of the names that the configuration of applications holds.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "Export.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The names of the entries of apminfo.xml, in their order, as a load of the applications takes them. One thread.
class LUMCONF_API ApplicationNames {
public:
    enum class Entry {
        First,    ///< a new application
        Further,  ///< of one that has an entry further up: what it holds is added to that
        Dropped   ///< its name is part of one further up: it is read, and nothing comes of it
    };

    ApplicationNames();
    ApplicationNames(const ApplicationNames&) = delete;
    ApplicationNames& operator=(const ApplicationNames&) = delete;
    ~ApplicationNames();

    /// Takes up the name of the next entry.
    Entry Add(const LumPalStr::String_t& name);
    /// The first application whose name holds this one, also as a whole; empty without one, which is so of a dropped
    /// one that is empty, or holds characters of the mark.
    LumPalStr::String_t FindHolder(const LumPalStr::String_t& name) const;
    /// What names are kept apart by.
    static LumPalStr::String_t Mark();

private:
    struct Impl;
    const std::unique_ptr<Impl> impl;
};

/// A name, and another one that stands before it.
using NamePairs = std::vector<std::pair<LumPalStr::String_t, LumPalStr::String_t>>;

/// The names that differ from one further up in nothing but the case, each once, with the first such one. Look-ups that
/// do not mind the case find that one in their place. Any thread.
LUMCONF_API NamePairs FindAlikeButForCase(const std::vector<LumPalStr::String_t>& names);

}  // namespace LumConfCluster
