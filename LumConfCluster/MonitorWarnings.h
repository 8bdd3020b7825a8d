/// @file
/// What an operator should mend before it hurts, logged once for each monitor.
#pragma once

#include <map>
#include <set>

#include "LumConfCluster/Applications.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "PolicyHeaderImpl.h"

namespace LumConfCluster {

/// Writes to the application log, each line once. Used by the monitor's thread.
class MonitorWarnings {
public:
    /// A new look at the applications: warns of names that no policy can have.
    void Loaded(const Applications& applications);
    /// An application that has instances lists a policy. Warns when two of them want different things of it.
    void Listed(const LumPalStr::String_t& application, const LumPalStr::String_t& policy, bool online);
    /// A policy names a group. Warns when an application lists it too.
    void Grouped(const LumConf::PolicyRecord& policy);

private:
    struct Listing {
        LumPalStr::String_t application;
        bool online = false;
    };

    void Say(const LumPalMsg::Message_t& message, const LumPalStr::String_t& key);

    std::map<LumPalStr::String_t, Listing> listings;  ///< since the last look, by what applications list
    std::set<LumPalStr::String_t> said;
};

}  // namespace LumConfCluster
