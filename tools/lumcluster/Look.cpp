#include "lumcluster/Look.h"

#include <algorithm>
#include <set>
#include <utility>

#include "LumConfCluster/Applications.h"
#include "LumConfCluster/Cluster.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"
#include "common/Arguments.h"

namespace lumcluster {

using LumConfCluster::Application;
using LumConfCluster::Applications;
using LumConfCluster::Cluster;
using LumConfCluster::ClusterNodes;
using LumConfCluster::ClusterResourceGroup;
using LumConfCluster::ClusterResourceGroups;
using LumConfCluster::Instance;
using LumConfCluster::Instances;
using LumConfCluster::Strings;
using lumtools::Text;

namespace {

/// Some products tell it with the group.
std::optional<std::string> KnownAddressOf(const ClusterResourceGroup& group) {
    return group.IsVirtualIPKnown() ? std::optional(group.GetVirtualIP().ToUtf8()) : std::nullopt;
}

GroupFacts FactsOf(const ClusterResourceGroup& group) {
    return {group.GetName().ToUtf8(),
            group.GetId(),
            DisplayText(group.GetState()),
            DisplayText(group.GetLocalState()),
            group.GetActiveNode().GetName().ToUtf8(),
            KnownAddressOf(group),
            group.GetDetail().ToUtf8(),
            group.IsEverywhere(),
            group.IsSettled()};
}

InstanceFacts FactsOf(const Instance& instance) {
    return {instance.GetName().ToUtf8(), instance.GetResourceGroup().GetName().ToUtf8(),
            DisplayText(instance.GetState()), instance.GetActiveNode().GetName().ToUtf8(),
            instance.IsActiveNodeLocal()};
}

std::string Trimmed(const std::string& text) {
    const auto begin = text.find_first_not_of(' ');
    return begin == text.npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

ApplicationFacts FactsOf(const Application& application) {
    ApplicationFacts facts{application.GetName().ToUtf8(), {}, {}, ""};
    const Instances instances = application.GetInstances();
    for (int i = 0; i < instances.Count(); ++i) facts.instances.push_back(FactsOf(instances[i]));
    const Strings policies = application.GetPolicyNames();
    // An application with two entries has all that its file lists twice.
    std::set<std::string> known;
    for (int i = 0; i < policies.Count(); ++i) {
        const std::string listed = policies[i].ToUtf8();
        if (known.insert(listed).second) facts.policies.push_back(listed);
    }
    LumPalStr::String_t ambiguous;
    if (instances.AreAmbiguousInstancesPresent(ambiguous)) facts.ambiguous = Trimmed(ambiguous.ToUtf8());
    return facts;
}

/// One look.
class Looker {
public:
    Looker(Sight& sight, Addresses* addresses) : sight(sight), addresses(addresses) {}
    void Look() {
        sight.isApplicationListThere = LumPalIo::File_t(ApplicationListPath()).Exists();
        Try(kCluster, [this] { LookAt(Cluster()); });
    }

private:
    template <class Step>
    bool Try(const char* what, Step&& step) {
        lumtools::Outcome outcome = lumtools::Attempt(std::forward<Step>(step));
        if (outcome.code == lumtools::kDone) return true;
        outcome.code = lumtools::kFailed;  // whatever was not found here is no answer to what was asked
        sight.problems.push_back({what, std::move(outcome)});
        return false;
    }

    void LookAt(const Cluster& cluster) {
        sight.isClusterSeen = true;
        sight.product = DisplayText(cluster.GetType());
        sight.cluster = cluster.GetName().ToUtf8();
        const std::string told = cluster.GetLocalNodeName().ToUtf8();
        if (!told.empty()) sight.local = {told, false, true};
        if (!Try(kState, [&] { sight.state = DisplayText(cluster.GetState()); })) sight.state = kUnknown;
        Try(kNodes, [&] { TakeNodes(cluster.GetNodes()); });
        ClusterResourceGroups groups;
        if (!Try(kGroups, [&] { groups = cluster.GetGroups(); })) return;
        for (int i = 0; i < groups.Count(); ++i) sight.groups.push_back(FactsOf(groups[i]));
        if (addresses) TakeAddresses(cluster);
        TakeApplications(cluster, groups);
    }
    void TakeNodes(const ClusterNodes& nodes) {
        for (int i = 0; i < nodes.Count(); ++i) {
            const std::string name = nodes[i].GetName().ToUtf8();
            const bool isLocal = Comparison::Of(sight.local, name, HasAddress).isSame;
            const std::string detail = nodes[i].GetDetail().ToUtf8();
            sight.nodes.push_back({name, nodes[i].GetId(), DisplayText(nodes[i].GetState()), isLocal, detail});
        }
    }
    void TakeAddresses(const Cluster& cluster) {
        for (GroupFacts& group : sight.groups) {
            if (group.address) continue;
            group.address = addresses->Find(group);
            if (group.address) continue;
            lumtools::Attempt([&] { group.address = cluster.GetVirtualIP(Text(group.name)).ToUtf8(); });
            if (group.address) addresses->Keep(group);
        }
    }
    void TakeApplications(const Cluster& cluster, const ClusterResourceGroups& groups) {
        if (!sight.isApplicationListThere) return;
        Applications applications;
        Try(kApplications, [&] { applications.LoadConfig(cluster, groups); });
        for (int i = 0; i < applications.Count(); ++i) sight.applications.push_back(FactsOf(applications[i]));
    }

    Sight& sight;
    Addresses* const addresses;
};

}  // namespace

std::optional<std::string> Addresses::Find(const GroupFacts& group) const {
    const auto found = known.find(group.name);
    if (found == known.end()) return std::nullopt;
    const Known& last = found->second;
    const bool isOld = now() - last.askedAt >= kLifetime;
    if (isOld || last.state != group.state || last.activeNode != group.activeNode) return std::nullopt;
    return last.address;
}

void Addresses::Keep(const GroupFacts& group) {
    known.insert_or_assign(group.name, Known{group.address.value_or(""), group.state, group.activeNode, now()});
}

LumPalStr::String_t ApplicationListPath() {
    return LumPalRuntime::Dir_t::Path(LumPalRuntime::Root, "conf/conf/") + "apminfo.xml";
}

Sight Look(const Keys& keys, Addresses* addresses) {
    Sight sight;
    sight.local = LocalName::Of(keys);
    Looker(sight, addresses).Look();
    return sight;
}

GroupAnswers AskOfGroups(const Sight& sight, std::size_t most) {
    GroupAnswers answers;
    if (!sight.AreGroupsSeen() || sight.groups.empty()) return answers;
    const auto ask = [&](const std::string& what, auto&& question) {
        lumtools::Outcome outcome = lumtools::Attempt(question);
        if (outcome.code != lumtools::kDone) answers.failed.push_back({what, std::move(outcome)});
    };
    std::optional<Cluster> cluster;
    ask(kCluster, [&] { cluster.emplace(); });
    for (std::size_t i = 0; cluster && i < std::min(most, sight.groups.size()); ++i) {
        const std::string name = sight.groups[i].name, of = " of the group '" + name + "'";
        ask("address" + of, [&] {
            if (cluster->GetVirtualIP(Text(name)).IsEmpty()) answers.withoutAddress.push_back(name);
        });
        ask("nodes" + of, [&] {
            if (cluster->GetGroupNodes(Text(name)).Count() == 0) answers.withoutNodes.push_back(name);
        });
    }
    return answers;
}

}  // namespace lumcluster
