#include "PcmkRules.h"

#include <algorithm>

#include "XmlSearch.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

/// What is not there differs from everything, and is neither less nor more.
constexpr const char* kComparisons[]{"eq", "ne", "lt", "lte", "gt", "gte"};

bool IsSame(const String_t& one, const String_t& other) {
    return LumPalStr::Compare(one, other, true) == 0;
}

bool IsPartOfRule(const XmlDataNode& node) {
    return node.GetName() == "rule" || node.GetName().Find("expression") != LumPalStr::NotFound;
}

bool HasRule(const XmlDataNode& set) {
    bool has = false;
    PcmkForEach(set, "rule", [&](const XmlDataNode&) { has = true; });
    return has;
}

bool IsComparison(const String_t& operation) {
    return std::any_of(std::begin(kComparisons), std::end(kComparisons),
                       [&](const char* each) { return operation == each; });
}

/// Values are held against a text, and by letters.
bool IsPlain(const XmlDataNode& expression) {
    const String_t type = AttributeOf(expression, "type"), source = AttributeOf(expression, "value-source");
    return (type.IsEmpty() || type == "string") && (source.IsEmpty() || source == "literal");
}

}  // namespace

PcmkTruth PcmkTruthOf(bool is) {
    return is ? PcmkTruth::Yes : PcmkTruth::No;
}

PcmkTruth PcmkBoth(PcmkTruth one, PcmkTruth other) {
    if (one == PcmkTruth::No || other == PcmkTruth::No) return PcmkTruth::No;
    return one == PcmkTruth::Yes ? other : one;
}

PcmkRules::PcmkRules(const PcmkCib& cib) : cib(cib) {
    if (const XmlDataNode* const nodes = cib.Section("nodes")) ReadNodes(*nodes);
    if (const XmlDataNode* const resources = cib.Section("resources")) FindGuests(*resources);
    if (const XmlDataNode* const status = cib.Status()) ReadStatus(*status);
}

void PcmkRules::ReadNodes(const XmlDataNode& nodes) {
    PcmkForEach(nodes, "node", [this](const XmlDataNode& node) {
        Known& one = known[AttributeOf(node, "uname").ToLower()];
        one.id = AttributeOf(node, "id");
        ReadSets(node, one.lasting);
    });
}

void PcmkRules::ReadStatus(const XmlDataNode& status) {
    PcmkForEach(status, "node_state", [this](const XmlDataNode& state) {
        Known& one = known[AttributeOf(state, "uname").ToLower()];
        PcmkForEach(state, "transient_attributes",
                    [&](const XmlDataNode& attributes) { ReadSets(attributes, one.transient); });
    });
}

/// Of two values which differ it is not told which one counts, nor of one that holds at times only.
void PcmkRules::ReadSets(const XmlDataNode& owner, Facts& facts) const {
    PcmkForEach(owner, "instance_attributes", [&](const XmlDataNode& reference) {
        const XmlDataNode& set = cib.Referred(reference);
        const bool isAtTimes = HasRule(set);
        PcmkForEach(set, "nvpair", [&](const XmlDataNode& pairOrReference) {
            const XmlDataNode& pair = cib.Referred(pairOrReference);
            const String_t value = AttributeOf(pair, "value"), nameHere = AttributeOf(pairOrReference, "name");
            const String_t name = nameHere.IsEmpty() ? AttributeOf(pair, "name") : nameHere;
            const auto [fact, isNew] = facts.try_emplace(name, PcmkFact{PcmkTruth::Yes, value});
            if (isAtTimes || fact->second.value != value) fact->second = {PcmkTruth::Untold, ""};
        });
    });
}

void PcmkRules::FindGuests(const XmlDataNode& node) {
    if (node.GetName() == "nvpair" && AttributeOf(node, "name") == "remote-node")
        guests.insert(AttributeOf(node, "value").ToLower());
    for (int i = 0; i < node.ChildrenCount(); ++i) FindGuests(node[i]);
}

PcmkFact PcmkRules::Special(const String_t& name, const PcmkNode& node) const {
    const String_t key = node.name.ToLower();
    if (name == "#uname") return {PcmkTruth::Yes, node.name};
    if (name == "#kind") {
        const char* const kind = !node.isRemote ? "cluster" : guests.contains(key) ? "container" : "remote";
        return {PcmkTruth::Yes, kind};
    }
    const auto found = known.find(key);
    const bool isId = name == "#id" && !node.isRemote && found != known.end() && found->second.id.IsNotEmpty();
    return isId ? PcmkFact{PcmkTruth::Yes, found->second.id} : PcmkFact{PcmkTruth::Untold, ""};
}

PcmkFact PcmkRules::Attribute(const String_t& name, const PcmkNode& node) const {
    if (name.Left(1) == "#") return Special(name, node);
    const auto found = known.find(node.name.ToLower());
    if (found == known.end()) return {};
    for (const Facts* const facts : {&found->second.transient, &found->second.lasting}) {
        if (const auto fact = facts->find(name); fact != facts->end()) return fact->second;
    }
    return {};
}

PcmkTruth PcmkRules::Compared(const XmlDataNode& expression, const PcmkNode& node) const {
    const PcmkFact fact = Attribute(AttributeOf(expression, "attribute"), node);
    if (expression.GetName() != "expression" || fact.isThere == PcmkTruth::Untold) return PcmkTruth::Untold;
    const String_t operation = AttributeOf(expression, "operation");
    const bool isThere = fact.isThere == PcmkTruth::Yes;
    if (operation == "defined") return PcmkTruthOf(isThere);
    if (operation == "not_defined") return PcmkTruthOf(!isThere);
    if (!isThere && IsComparison(operation)) return PcmkTruthOf(operation == "ne");
    if ((operation != "eq" && operation != "ne") || !IsPlain(expression)) return PcmkTruth::Untold;
    const bool isSame = IsSame(fact.value, AttributeOf(expression, "value"));
    return PcmkTruthOf(isSame == (operation == "eq"));
}

/// One inside that stands elsewhere is not looked for.
PcmkTruth PcmkRules::Hold(const XmlDataNode& rule, const PcmkNode& node) const {
    if (AttributeOf(rule, "id-ref").IsNotEmpty()) return PcmkTruth::Untold;
    const PcmkTruth deciding = AttributeOf(rule, "boolean-op") == "or" ? PcmkTruth::Yes : PcmkTruth::No;
    PcmkTruth whole = deciding == PcmkTruth::Yes ? PcmkTruth::No : PcmkTruth::Yes;
    for (int i = 0; i < rule.ChildrenCount(); ++i) {
        if (!IsPartOfRule(rule[i])) continue;
        const PcmkTruth part = rule[i].GetName() == "rule" ? Hold(rule[i], node) : Compared(rule[i], node);
        if (part == deciding) return deciding;
        if (part == PcmkTruth::Untold) whole = PcmkTruth::Untold;
    }
    return whole;
}

}  // namespace LumConfCluster
