#include "lumpolicy/ApplyPlan.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "common/Arguments.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy {

using LumConf::PolicyHeader;
using LumConf::StoredPolicy;
using LumPalStr::String_t;
using lumtools::Text;

namespace {

using TypeAndName = std::pair<String_t, String_t>;

TypeAndName KeyOf(const PolicyHeader& header) {
    return {header.GetTypeName(), header.GetName()};
}

class Planner {
public:
    Planner(const std::vector<DesiredPolicy>& wanted, const std::vector<StoredPolicy>& has, bool forceOwner)
        : forceOwner(forceOwner) {
        for (const DesiredPolicy& policy : wanted) wantedIds.insert(policy.header.GetContainerId());
        for (const StoredPolicy& policy : has) {
            byId.emplace(policy.id, &policy);
            byName.emplace(KeyOf(policy.header), &policy);
        }
    }

    void Add(const DesiredPolicy& policy) {
        const auto sameId = byId.find(policy.header.GetContainerId());
        const StoredPolicy* named = FindNamed(policy);
        const StoredPolicy* replaced = sameId == byId.end() ? std::exchange(named, nullptr) : sameId->second;
        Step step{Step::Kind::Create, &policy, replaced, {}, {}, {}};
        if (replaced) {
            step.differences = Compare(*replaced, policy);
            step.kind = step.differences.empty() ? Step::Kind::None : Step::Kind::Change;
        }
        if (step.kind != Step::Kind::None) {
            for (const StoredPolicy* old : {replaced, named}) JudgeOwner(old, step);
            if (named) step.displaces = AddGoing(*named);
        }
        if (replaced) gone.insert(replaced->id);
        steps.push_back(std::move(step));
    }

    void AddRemovals(const std::vector<StoredPolicy>& has, const Pruning& pruning) {
        std::map<std::pair<TypeAndName, String_t>, const StoredPolicy*> sorted;
        for (const StoredPolicy& policy : has) {
            const bool stays = wantedIds.contains(policy.id) || gone.contains(policy.id);
            if (!stays && pruning.Means(policy.header)) sorted[{KeyOf(policy.header), policy.id}] = &policy;
        }
        for (const auto& [key, policy] : sorted) going.push_back({Step::Kind::Remove, nullptr, policy, {}, {}, {}});
    }

    /// What goes stands behind the others: only now its places are known.
    std::vector<Step> TakeSteps() {
        for (Step& step : steps) {
            if (step.displaces) *step.displaces += steps.size();
        }
        steps.insert(steps.end(), going.begin(), going.end());
        return std::move(steps);
    }

private:
    /// One that is wanted under its own id is no other one's predecessor.
    const StoredPolicy* FindNamed(const DesiredPolicy& policy) const {
        const auto found = byName.find(KeyOf(policy.header));
        if (found == byName.end() || wantedIds.contains(found->second->id)) return nullptr;
        return found->second;
    }

    std::size_t AddGoing(const StoredPolicy& policy) {
        gone.insert(policy.id);
        going.push_back({Step::Kind::Displace, nullptr, &policy, {}, {}, {}});
        return going.size() - 1;
    }

    void JudgeOwner(const StoredPolicy* replaced, Step& step) const {
        if (forceOwner || !replaced || step.refusal.code != lumtools::kDone) return;
        const std::string installed = replaced->header.GetOwner().ToUtf8(),
                          owner = step.wanted->header.GetOwner().ToUtf8();
        if (installed.empty() || installed == owner) return;
        step.refusal = {
            lumtools::kRefused,
            {{0, step.wanted->file + ": its owner '" + owner + "' is not '" + installed + "', the owner of " +
                     NameOf(replaced->header) + "; --force-owner changes it all the same."}}};
    }

    const bool forceOwner;
    std::set<String_t> wantedIds, gone;
    std::map<String_t, const StoredPolicy*> byId;
    std::map<TypeAndName, const StoredPolicy*> byName;
    std::vector<Step> steps, going;
};

}  // namespace

bool Pruning::Means(const PolicyHeader& header) const {
    if (!type.empty() && header.GetTypeName() != Text(type).ToLower()) return false;
    if (category.empty()) return IsWanted();
    for (int i = 0; i < header.GetCategoryCount(); ++i) {
        if (header.GetCategory(i) == Text(category)) return true;
    }
    return false;
}

std::vector<Step> MakePlan(const std::vector<DesiredPolicy>& wanted, const std::vector<StoredPolicy>& has,
                           const Pruning& pruning, bool forceOwner) {
    Planner planner(wanted, has, forceOwner);
    for (const DesiredPolicy& policy : wanted) planner.Add(policy);
    planner.AddRemovals(has, pruning);
    return planner.TakeSteps();
}

}  // namespace lumpolicy
