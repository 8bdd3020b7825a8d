#include "PcmkPlacement.h"

#include <algorithm>
#include <map>
#include <optional>

#include "LumPalPattern.h"
#include "XmlSearch.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

/// As scores are added, both ends stay what they are.
constexpr int kInfinity = 1000000;

/// What is no number is 0.
int ScoreOf(const String_t& text) {
    if (text == "INFINITY" || text == "+INFINITY") return kInfinity;
    if (text == "-INFINITY") return -kInfinity;
    return std::clamp(text.ToInt(), -kInfinity, kInfinity);
}

enum class Truth { No, Yes, Untold };

Truth TruthOf(bool is) {
    return is ? Truth::Yes : Truth::No;
}

/// Names of nodes alone are known here.
Truth Compared(const XmlDataNode& expression, const String_t& node) {
    const String_t operation = AttributeOf(expression, "operation"), value = AttributeOf(expression, "value");
    if (AttributeOf(expression, "attribute") != "#uname") return Truth::Untold;
    const bool isSame = LumPalStr::Compare(value, node, true) == 0;
    if (operation == "eq") return TruthOf(isSame);
    if (operation == "ne") return TruthOf(!isSame);
    return Truth::Untold;
}

bool IsPartOfRule(const XmlDataNode& node) {
    return node.GetName() == "rule" || node.GetName().Find("expression") != LumPalStr::NotFound;
}

Truth RuleHolds(const XmlDataNode& rule, const String_t& node) {
    const Truth deciding = AttributeOf(rule, "boolean-op") == "or" ? Truth::Yes : Truth::No;
    Truth whole = deciding == Truth::Yes ? Truth::No : Truth::Yes;
    for (int i = 0; i < rule.ChildrenCount(); ++i) {
        if (!IsPartOfRule(rule[i])) continue;
        const Truth part = rule[i].GetName() == "rule" ? RuleHolds(rule[i], node) : Compared(rule[i], node);
        if (part == deciding) return deciding;
        if (part == Truth::Untold) whole = Truth::Untold;
    }
    return whole;
}

bool IsOfPromotedRole(const String_t& role) {
    return role == "Promoted" || role == "Master";
}

/// A constraint on a role that the resource never has says nothing of it.
bool CountsFor(const String_t& role, bool isPromotable) {
    if (IsOfPromotedRole(role)) return isPromotable;
    return role.IsEmpty() || role == "Started";
}

/// What ends at one infinity stays there; the negative one is the stronger.
int Sum(int score, int more) {
    if (score <= -kInfinity || more <= -kInfinity) return -kInfinity;
    if (score >= kInfinity || more >= kInfinity) return kInfinity;
    return std::clamp(score + more, -kInfinity, kInfinity);
}

/// A pattern behind "!" means what it does not match. It is held against what stands in no other resource alone.
Truth PatternMeans(const String_t& pattern, const String_t& resource) {
    const bool isInverse = pattern.Left(1) == "!";
    const std::optional<bool> isFound = LumPalPattern::IsFound(isInverse ? pattern.Mid(1) : pattern, resource);
    return isFound ? TruthOf(*isFound != isInverse) : Truth::Untold;
}

/// What is said of one node.
struct Verdict {
    bool isBanned = false, isNamed = false, mayBeWanted = false, isListedAlone = false;
    int score = 0;

    void Add(int more) {
        isNamed = true;
        score = Sum(score, more);
        isBanned = isBanned || score <= -kInfinity;
    }
    bool Lets(bool isOptIn) const { return !isBanned && (!isOptIn || (isNamed && score >= 0) || mayBeWanted); }
};

/// Goes through all that is said of one resource.
class Judge {
public:
    Judge(const PcmkResource& resource, const PcmkSight& sight, const PcmkCib& cib)
        : resource(resource), sight(sight), cib(cib), ids(cib.IdsOf(resource)) {}

    std::vector<String_t> Nodes() {
        if (const XmlDataNode* const constraints = cib.Section("constraints"))
            PcmkForEach(*constraints, "rsc_location", [this](const XmlDataNode& node) { Take(node); });
        for (const PcmkBan& ban : sight.bans) {
            if (ids.contains(ban.resource) && (resource.isPromotable || !ban.isOfPromotedOnly))
                Of(ban.node).isBanned = true;
        }
        std::vector<String_t> nodes;
        for (const PcmkNode& node : sight.nodes) {
            if (!node.isInContainer && IsLet(Of(node.name))) nodes.push_back(node.name);
        }
        std::stable_sort(nodes.begin(), nodes.end(), [this](const String_t& one, const String_t& other) {
            return Of(one).score > Of(other).score;
        });
        return nodes;
    }

private:
    /// The case of names does not count.
    Verdict& Of(const String_t& node) { return verdicts[node.ToLower()]; }
    bool IsLet(const Verdict& verdict) const {
        return verdict.Lets(sight.isOptIn) && (!isExclusive || verdict.isListedAlone);
    }

    void Take(const XmlDataNode& constraint) {
        const String_t node = AttributeOf(constraint, "node");
        const Truth concerns = Concerns(constraint);
        if (concerns == Truth::No) return;
        if (concerns == Truth::Untold) return TakeUntold(constraint, node);
        if (node.IsNotEmpty()) TakeNode(constraint, Of(node));
        PcmkForEach(constraint, "rule", [this](const XmlDataNode& rule) { TakeRule(cib.Referred(rule)); });
    }
    /// Whom it keeps away is told by crm_mon.
    void TakeUntold(const XmlDataNode& constraint, const String_t& node) {
        if (node.IsNotEmpty() && ScoreOf(AttributeOf(constraint, "score")) >= 0) Of(node).mayBeWanted = true;
        PcmkForEach(constraint, "rule", [this](const XmlDataNode& rule) { TakeUntoldRule(cib.Referred(rule)); });
    }
    void TakeUntoldRule(const XmlDataNode& rule) {
        const bool mayLetIn =
            AttributeOf(rule, "score-attribute").IsNotEmpty() || ScoreOf(AttributeOf(rule, "score")) >= 0;
        for (const PcmkNode& node : sight.nodes) {
            if (mayLetIn && RuleHolds(rule, node.name) != Truth::No) Of(node.name).mayBeWanted = true;
        }
    }
    void TakeNode(const XmlDataNode& constraint, Verdict& verdict) {
        verdict.Add(ScoreOf(AttributeOf(constraint, "score")));
        if (AttributeOf(constraint, "resource-discovery") != "exclusive") return;
        isExclusive = verdict.isListedAlone = true;
    }
    void TakeRule(const XmlDataNode& rule) {
        const bool hasScore = AttributeOf(rule, "score-attribute").IsEmpty();
        const int score = hasScore ? ScoreOf(AttributeOf(rule, "score")) : 0;
        for (const PcmkNode& node : sight.nodes) {
            Verdict& verdict = Of(node.name);
            const Truth truth = RuleHolds(rule, node.name);
            if (truth == Truth::Yes && hasScore) verdict.Add(score);
            if (!hasScore || (truth == Truth::Untold && score >= 0)) verdict.mayBeWanted = true;
        }
    }
    Truth Concerns(const XmlDataNode& constraint) const {
        if (!CountsFor(AttributeOf(constraint, "role"), resource.isPromotable)) return Truth::No;
        const String_t pattern = AttributeOf(constraint, "rsc-pattern");
        return pattern.IsEmpty() ? TruthOf(Names(constraint)) : PatternMeans(pattern, resource.name);
    }
    bool Names(const XmlDataNode& constraint) const {
        bool concerns = cib.Means(AttributeOf(constraint, "rsc"), ids);
        PcmkForEach(constraint, "resource_set", [&](const XmlDataNode& set) {
            if (!CountsFor(AttributeOf(set, "role"), resource.isPromotable)) return;
            PcmkForEach(set, "resource_ref",
                        [&](const XmlDataNode& one) { concerns = concerns || cib.Means(AttributeOf(one, "id"), ids); });
        });
        return concerns;
    }

    const PcmkResource& resource;
    const PcmkSight& sight;
    const PcmkCib& cib;
    const std::set<String_t> ids;
    std::map<String_t, Verdict> verdicts;
    bool isExclusive = false;
};

}  // namespace

std::vector<String_t> PcmkNodesOf(const PcmkResource& resource, const PcmkSight& sight, const PcmkCib& cib) {
    return Judge(resource, sight, cib).Nodes();
}

}  // namespace LumConfCluster
