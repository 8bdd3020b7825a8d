#include "PcmkPlacement.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "LumPalPattern.h"
#include "PcmkRules.h"
#include "PcmkScore.h"
#include "XmlSearch.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

bool IsOfPromotedRole(const String_t& role) {
    return role == "Promoted" || role == "Master";
}

/// What ends at one infinity stays there; the negative one is the stronger.
int Sum(int score, int more) {
    if (score <= -kPcmkInfinity || more <= -kPcmkInfinity) return -kPcmkInfinity;
    if (score >= kPcmkInfinity || more >= kPcmkInfinity) return kPcmkInfinity;
    return std::clamp(score + more, -kPcmkInfinity, kPcmkInfinity);
}

/// A pattern behind "!" means what it does not match. It is held against what stands in no other resource alone.
PcmkTruth PatternMeans(const String_t& pattern, const String_t& resource) {
    const bool isInverse = pattern.Left(1) == "!";
    const std::optional<bool> isFound = LumPalPattern::IsFound(isInverse ? pattern.Mid(1) : pattern, resource);
    return isFound ? PcmkTruthOf(*isFound != isInverse) : PcmkTruth::Untold;
}

/// What is said of one node.
struct Verdict {
    bool isBanned = false, isOpen = false, isUntold = false, isListedAlone = false;
    int score = 0, promotion = 0;
    std::set<String_t> named;  ///< the ids for which a constraint names it

    void Add(const String_t& id, int more) {
        named.insert(id);
        AddTo(score, more);
    }
    void Promote(int more) { AddTo(promotion, more); }
    /// How it ends is not known.
    void LeaveOpen(const String_t& id) {
        named.insert(id);
        isOpen = true;
    }
    /// Constraints name it, and all of them are told.
    bool IsTold() const { return !named.empty() && !isUntold; }
    int Whole() const { return Sum(score, promotion); }

private:
    void AddTo(int& sum, int more) {
        sum = Sum(sum, more);
        isBanned = isBanned || sum <= -kPcmkInfinity;
    }
};

/// Goes through all that is said of one resource.
class Judge {
public:
    Judge(const PcmkResource& resource, const PcmkSight& sight, const PcmkCib& cib)
        : resource(resource),
          sight(sight),
          cib(cib),
          rules(cib),
          ids(cib.IdsOf(resource)),
          isRemoteHost(std::any_of(ids.begin(), ids.end(),
                                   [&](const String_t& id) { return sight.remoteHosts.contains(id); })) {}

    std::vector<String_t> Nodes() {
        if (const XmlDataNode* const constraints = cib.Section("constraints"))
            PcmkForEach(*constraints, "rsc_location", [this](const XmlDataNode& node) { Take(node); });
        for (const PcmkBan& ban : sight.bans) TakeBan(ban);
        std::vector<String_t> nodes;
        for (const PcmkNode& node : sight.nodes) {
            if (IsOfItsKind(node) && IsLet(Of(node.name))) nodes.push_back(node.name);
        }
        std::stable_sort(nodes.begin(), nodes.end(), [this](const String_t& one, const String_t& other) {
            return Of(one).Whole() > Of(other).Whole();
        });
        return nodes;
    }

private:
    /// What a constraint says of the resource, or of one inside.
    struct Said {
        const String_t& id;
        PcmkTruth truth;
        bool isExclusive;
    };

    /// Whatever constraints say: no node is there by what runs on one that is not a member.
    bool IsOfItsKind(const PcmkNode& node) const { return !node.isInContainer && !(isRemoteHost && node.isRemote); }
    /// The case of names does not count.
    Verdict& Of(const String_t& node) { return verdicts[node.ToLower()]; }
    bool IsLet(const Verdict& verdict) const {
        if (verdict.isBanned || (isExclusive && !verdict.isListedAlone)) return false;
        return !sight.isOptIn || (IsNamed(verdict) && (verdict.score >= 0 || verdict.isOpen));
    }
    /// What is said of one copy is said of all of the clone.
    const String_t& Meant(const String_t& id) const { return resource.isCloned ? resource.name : id; }
    /// A group runs where it is named itself, or each of its members.
    bool IsNamed(const Verdict& verdict) const {
        return verdict.named.contains(resource.name) || (ids.size() > 1 && verdict.named.size() + 1 == ids.size());
    }

    /// Of a node that is not on line crm_mon tells a ban by any rule in an opt-in cluster: where the configuration
    /// tells everything, it is believed.
    void TakeBan(const PcmkBan& ban) {
        if (!ids.contains(ban.resource) || (ban.isOfPromotedOnly && !resource.isPromotable)) return;
        Verdict& verdict = Of(ban.node);
        verdict.isBanned = verdict.isBanned || !verdict.IsTold();
    }
    void Take(const XmlDataNode& constraint) {
        const bool isExclusive = AttributeOf(constraint, "resource-discovery") == "exclusive";
        for (const String_t& id : ids) {
            const Said said{id, PcmkBoth(Lasts(constraint), Concerns(constraint, id)),
                            isExclusive && Meant(id) == resource.name};
            TakeSaid(constraint, constraint, said);
            PcmkForEach(constraint, "resource_set", [&](const XmlDataNode& set) { TakeSet(constraint, set, said); });
        }
    }
    void TakeSet(const XmlDataNode& constraint, const XmlDataNode& set, const Said& said) {
        PcmkForEach(set, "resource_ref", [&](const XmlDataNode& one) {
            const PcmkTruth truth =
                PcmkBoth(Lasts(constraint), PcmkTruthOf(cib.Means(AttributeOf(one, "id"), said.id)));
            TakeSaid(constraint, set, {said.id, truth, said.isExclusive});
        });
    }
    /// Of a node the constraint, or the set of resources in it, tells role and score; a rule has its own.
    void TakeSaid(const XmlDataNode& constraint, const XmlDataNode& teller, const Said& said) {
        if (said.truth == PcmkTruth::No) return;
        isExclusive = isExclusive || (said.isExclusive && said.truth == PcmkTruth::Yes);
        if (const String_t node = AttributeOf(constraint, "node"); node.IsNotEmpty()) {
            const String_t own = AttributeOf(teller, "score");
            const int score = PcmkScoreOf(own.IsEmpty() ? AttributeOf(constraint, "score") : own);
            Weigh(Of(node), said, AttributeOf(teller, "role"), score);
        }
        PcmkForEach(constraint, "rule", [&](const XmlDataNode& rule) { TakeRule(cib.Referred(rule), said); });
    }
    /// A rule on the role in which everything starts says nothing: Pacemaker never applies it.
    void TakeRule(const XmlDataNode& rule, const Said& said) {
        if (AttributeOf(rule, "role") == "Started") return;
        const String_t attribute = AttributeOf(rule, "score-attribute");
        for (const PcmkNode& node : sight.nodes) {
            PcmkTruth truth = PcmkBoth(said.truth, rules.Hold(rule, node));
            int score = PcmkScoreOf(AttributeOf(rule, "score"));
            if (attribute.IsNotEmpty()) {
                const PcmkFact told = rules.Attribute(attribute, node);
                score = told.isThere == PcmkTruth::No ? -kPcmkInfinity : PcmkScoreOf(told.value);
                if (told.isThere == PcmkTruth::Untold) truth = PcmkBoth(truth, PcmkTruth::Untold);
            }
            Weigh(Of(node.name), {said.id, truth, said.isExclusive}, AttributeOf(rule, "role"), score);
        }
    }
    /// Any role but the promoted one is that of every copy. Whom something that is not told keeps away is told by
    /// crm_mon.
    void Weigh(Verdict& verdict, const Said& said, const String_t& role, int score) const {
        if (said.truth == PcmkTruth::No || role == "Stopped") return;
        verdict.isUntold = verdict.isUntold || said.truth == PcmkTruth::Untold;
        if (IsOfPromotedRole(role)) {
            if (resource.isPromotable && said.truth == PcmkTruth::Yes) verdict.Promote(score);
            return;
        }
        verdict.isListedAlone = verdict.isListedAlone || said.isExclusive;
        if (said.truth == PcmkTruth::Yes) verdict.Add(Meant(said.id), score);
        if (said.truth == PcmkTruth::Untold && score >= 0) verdict.LeaveOpen(Meant(said.id));
    }
    /// What has a lifetime may be over, or yet to come.
    static PcmkTruth Lasts(const XmlDataNode& constraint) {
        PcmkTruth lasts = PcmkTruth::Yes;
        PcmkForEach(constraint, "lifetime", [&](const XmlDataNode&) { lasts = PcmkTruth::Untold; });
        return lasts;
    }
    PcmkTruth Concerns(const XmlDataNode& constraint, const String_t& id) const {
        const String_t pattern = AttributeOf(constraint, "rsc-pattern");
        if (pattern.IsEmpty()) return PcmkTruthOf(cib.Means(AttributeOf(constraint, "rsc"), id));
        return id == resource.name ? PatternMeans(pattern, id) : PcmkTruth::No;
    }

    const PcmkResource& resource;
    const PcmkSight& sight;
    const PcmkCib& cib;
    const PcmkRules rules;
    const std::set<String_t> ids;
    const bool isRemoteHost;
    std::map<String_t, Verdict> verdicts;
    bool isExclusive = false;
};

}  // namespace

std::vector<String_t> PcmkNodesOf(const PcmkResource& resource, const PcmkSight& sight, const PcmkCib& cib) {
    return Judge(resource, sight, cib).Nodes();
}

}  // namespace LumConfCluster
