/// @file
/// What an operator should mend before it hurts, logged once for each monitor.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <utility>

#include "LumConfCluster/Applications.h"
#include "LumConfCluster/ListedPolicy.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "PolicyHeaderImpl.h"

namespace LumConfCluster {

/// Writes to the application log, each line once. Used by the monitor's thread.
class MonitorWarnings {
public:
    /// A new look at the applications: warns of names that no policy can have, of applications that were dropped, and
    /// of names that look-ups take for one another.
    void Loaded(const Applications& applications);
    /// An application that has instances lists a policy. Warns when two of them want different things of it.
    void Listed(const LumPalStr::String_t& application, const LumPalStr::String_t& policy, bool online);
    /// A policy names a group. Warns when an application lists it too.
    void Grouped(const LumConf::PolicyRecord& policy);

private:
    /// Who wants it on and who wants it off: the first application each.
    struct Wishes {
        std::optional<LumPalStr::String_t> on, off;
        std::optional<LumPalStr::String_t>& Of(bool online) noexcept { return online ? on : off; }
        void Add(const LumPalStr::String_t& application, bool online);
    };

    void Say(const LumPalMsg::Message_t& message, const LumPalStr::String_t& key);

    const LumPalStr::String_t* WhoListsOtherwise(const ListedPolicy& policy, bool online);

    std::map<std::pair<LumPalStr::String_t, LumPalStr::String_t>, Wishes> listed;  ///< by name and type
    std::map<LumPalStr::String_t, Wishes> listedByName;                            ///< the same, whatever the type
    std::set<LumPalStr::String_t> said;
};

}  // namespace LumConfCluster
