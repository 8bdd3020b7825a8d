#include "lumcluster/Reasons.h"

#include <algorithm>
#include <optional>

#include "LumConfCluster/ListedPolicy.h"
#include "LumPalMsg.h"
#include "Selection.h"
#include "common/Arguments.h"

namespace lumcluster {

using LumConf::PolicyHeader;
using lumtools::Text;

namespace {

const std::string kPrefix = "HARG:";
constexpr const char *kNoGroup = "noHARG", *kAttributes = "its attributes";
constexpr const char *kEnabled = "enabled", *kDisabled = "disabled";

/// Makes explanations of one look.
class Explainer {
public:
    Explainer(const Sight& sight, const Resolves& resolves) : sight(sight), resolves(resolves) {}

    std::vector<Tie> AttributesOf(const PolicyHeader& policy) const {
        std::vector<Tie> ties;
        bool isFound = false;
        for (int i = 0; i < policy.GetAttributesCount(); ++i) {
            const std::string name = policy.GetAttribute(i).GetName().ToUtf8();
            if (!name.starts_with(kPrefix)) continue;
            Tie tie = TieTo(name, name.substr(kPrefix.size()));
            if (tie.group == kNoGroup) tie.isNoGroup = tie.isHere = true;
            tie.isLookedAt = !isFound;
            isFound = isFound || tie.isHere;
            ties.push_back(tie);
        }
        return ties;
    }

    Listing ListingOf(const ApplicationFacts& application, const std::string& listed) const {
        Listing listing{application.name, listed, {}};
        for (const InstanceFacts& instance : application.instances) {
            Tie tie = TieTo(instance.name, instance.group);
            tie.isHere = instance.isHere;  // the instance knows it by a rule of its own
            listing.instances.push_back(tie);
        }
        return listing;
    }

private:
    Tie TieTo(const std::string& by, const std::string& name) const {
        Tie tie;
        tie.by = by;
        tie.group = name;
        tie.isUnseen = !sight.AreGroupsSeen();
        const GroupFacts* const group = sight.FindGroup(name);
        if (!group) return tie;
        tie.isGroupKnown = true;
        tie.state = group->state;
        tie.activeNode = group->activeNode;
        tie.isSettled = group->isSettled;
        tie.comparison = Comparison::Of(sight.local, group->activeNode, resolves);
        tie.isHere = tie.state == kOnline && tie.comparison.isSame;
        return tie;
    }

    const Sight& sight;
    const Resolves& resolves;
};

/// Lets cycles pass over a status.
struct Passing {
    std::string status;
    int switched = 0;

    void Through(const std::vector<CycleStep>& steps) {
        switched = 0;
        for (const CycleStep& step : steps) {
            // kept: a status that is neither word falls out both ways
            if (status != (step.enables ? kDisabled : kEnabled)) continue;
            status = step.enables ? kEnabled : kDisabled;
            ++switched;
        }
    }
};

/// Nothing where there is nothing, and where one that is not settled may be.
std::optional<bool> AnyHere(const std::vector<Tie>& ties) {
    const auto isHere = [](const Tie& tie) { return tie.isHere; };
    const auto isSettled = [](const Tie& tie) { return tie.isSettled; };
    if (std::any_of(ties.begin(), ties.end(), isHere)) return true;
    if (ties.empty() || !std::all_of(ties.begin(), ties.end(), isSettled)) return std::nullopt;
    return false;
}

void AddStep(const std::vector<Tie>& ties, const std::string& by, Explanation& explanation) {
    const std::optional<bool> enables = AnyHere(ties);
    if (enables) explanation.steps.push_back({by, *enables});
    explanation.isUndecided = explanation.isUndecided || (!enables && !ties.empty());
}

void FollowApplication(const PolicyHeader& policy, const ApplicationFacts& application, const Explainer& explainer,
                       Explanation& explanation) {
    bool isListed = false;
    for (const std::string& listed : application.policies) {
        // An application without instances is passed over with all that it lists.
        if (!application.instances.empty() && !CanBeListed(listed) && explanation.brokenBy.empty()) {
            explanation.brokenBy = "the application '" + application.name + "' lists a policy as '" + listed +
                                   "', which no name can be: that ends the monitor";
        }
        if (isListed || !Means(listed, policy)) continue;
        isListed = true;  // whoever lists it again, as one with two entries does, wants the same of it
        explanation.listings.push_back(explainer.ListingOf(application, listed));
        if (!explanation.brokenBy.empty()) continue;
        AddStep(explanation.listings.back().instances, "the application '" + application.name + "'", explanation);
    }
}

void AddStepOfAttributes(Explanation& explanation) {
    if (explanation.isUnseen || !explanation.brokenBy.empty()) return;
    AddStep(explanation.attributes, kAttributes, explanation);
}

}  // namespace

std::string Tie::Because() const {
    if (isNoGroup) return "this word enables it on every node";
    if (isUnseen) return "the cluster does not tell its groups now";
    if (!isGroupKnown) return "the cluster has no such group";
    if (!isSettled)
        return "the cluster does not know yet where it runs: the monitor takes it as it was, for a minute at most";
    if (state != kOnline && isHere) return "its node has the address of this one; then the group's state has no say";
    if (state != kOnline) return "the group is not online";
    return comparison.Sentence();
}

bool CanBeListed(const std::string& listed) {
    try {
        LumConf::Selection().SetPolicyName(Text(listed));
        return true;
    } catch (const LumPalMsg::IllegalArgumentError_t&) {
        return false;
    }
}

bool Means(const std::string& listed, const PolicyHeader& policy) {
    return LumConfCluster::ListedPolicy::Of(Text(listed)).Means(policy.GetName(), policy.GetTypeName());
}

Explanation Explain(const PolicyHeader& policy, const Sight& sight, const Resolves& resolves) {
    Explanation explanation;
    explanation.id = policy.GetContainerId().ToUtf8();
    explanation.name = policy.GetName().ToUtf8();
    explanation.typeName = policy.GetTypeName().ToUtf8();
    explanation.status = policy.GetStatus().ToUtf8();
    explanation.isUnseen = !sight.AreGroupsSeen();
    explanation.unknownBecause = sight.WhyApplicationsAreMissing();
    const Explainer explainer(sight, resolves);
    explanation.attributes = explainer.AttributesOf(policy);
    for (const ApplicationFacts& application : sight.applications) {
        FollowApplication(policy, application, explainer, explanation);
    }
    AddStepOfAttributes(explanation);
    Passing passing{explanation.status};
    passing.Through(explanation.steps);
    explanation.after = passing.status;
    explanation.changes = passing.switched > 0;
    passing.Through(explanation.steps);
    explanation.inEveryCycle = passing.switched > 0;
    return explanation;
}

}  // namespace lumcluster
