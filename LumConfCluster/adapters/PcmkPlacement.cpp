#include "PcmkPlacement.h"

#include <algorithm>
#include <map>

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
    if (operation == "eq") return TruthOf(value == node);
    if (operation == "ne") return TruthOf(value != node);
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

/// What is said of one node.
struct Verdict {
    bool isBanned = false, mayBeWanted = false, isListedAlone = false;
    int score = 0;

    void Add(int more) {
        if (more <= -kInfinity) isBanned = true;
        score = std::clamp(score + more, -kInfinity, kInfinity);
    }
    bool Lets(bool isOptIn) const { return !isBanned && (!isOptIn || score > 0 || mayBeWanted); }
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
                verdicts[ban.node].isBanned = true;
        }
        std::vector<String_t> nodes;
        for (const PcmkNode& node : sight.nodes) {
            if (!node.isInContainer && IsLet(verdicts[node.name])) nodes.push_back(node.name);
        }
        std::stable_sort(nodes.begin(), nodes.end(), [this](const String_t& one, const String_t& other) {
            return verdicts[one].score > verdicts[other].score;
        });
        return nodes;
    }

private:
    bool IsLet(const Verdict& verdict) const {
        return verdict.Lets(sight.isOptIn) && (!isExclusive || verdict.isListedAlone);
    }

    void Take(const XmlDataNode& constraint) {
        const String_t node = AttributeOf(constraint, "node");
        if (AttributeOf(constraint, "rsc-pattern").IsNotEmpty()) return TakePattern(constraint, node);
        if (!Concerns(constraint)) return;
        if (node.IsNotEmpty()) TakeNode(constraint, verdicts[node]);
        PcmkForEach(constraint, "rule", [this](const XmlDataNode& rule) { TakeRule(cib.Referred(rule)); });
    }
    /// A pattern is matched by crm_mon, which tells whom it keeps away.
    void TakePattern(const XmlDataNode& constraint, const String_t& node) {
        if (ScoreOf(AttributeOf(constraint, "score")) > 0) verdicts[node].mayBeWanted = true;
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
            Verdict& verdict = verdicts[node.name];
            const Truth truth = RuleHolds(rule, node.name);
            if (truth == Truth::Yes && hasScore) verdict.Add(score);
            if (!hasScore || (truth == Truth::Untold && score > 0)) verdict.mayBeWanted = true;
        }
    }
    bool Concerns(const XmlDataNode& constraint) const {
        if (!CountsFor(AttributeOf(constraint, "role"), resource.isPromotable)) return false;
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
