#include "FormerLook.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

std::pair<String_t, String_t> PairOf(const Instance& instance) {
    return {instance.GetName(), instance.GetResourceGroup().GetName()};
}

template <class Places, class Key>
std::optional<bool> SideAt(const Instances& instances, const Places& places, const Key& key) {
    const auto found = places.find(key);
    if (found == places.end()) return std::nullopt;
    return instances[found->second].IsActiveNodeLocal();
}

}  // namespace

// kept: of names that differ in nothing but the case the first one counts for all. Where it is on the other side, the
// commands of the others run in every cycle, of which MonitorWarnings warns.
FormerLook::FormerLook(const Applications& applications) {
    for (int i = 0; i < applications.Count(); ++i) {
        const Application application = applications[i];
        entries.try_emplace(application.GetName().ToLower(), application.GetInstances());
    }
}

FormerLook::Entry::Entry(const Instances& instances) : instances(instances) {
    for (int i = 0; i < instances.Count(); ++i) {
        byName.try_emplace(instances[i].GetName().ToLower(), i);
        byPair.try_emplace(PairOf(instances[i]), i);
    }
}

std::optional<bool> FormerLook::SideOf(const String_t& application, const Instance& instance) const {
    const auto found = entries.find(application.ToLower());
    if (found == entries.end()) return std::nullopt;
    const Entry& entry = found->second;
    // Before the look-up, and in the case of the name alone: so a list of instances refuses what stands twice.
    if (entry.instances.IsInstanceAmbiguous(instance.GetName())) {
        return SideAt(entry.instances, entry.byPair, PairOf(instance));
    }
    return SideAt(entry.instances, entry.byName, instance.GetName().ToLower());
}

}  // namespace LumConfCluster
