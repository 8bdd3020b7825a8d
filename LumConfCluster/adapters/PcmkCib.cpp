#include "PcmkCib.h"

#include <algorithm>
#include <array>

#include "PcmkScore.h"
#include "XmlSearch.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

constexpr std::array kReferable{"nvpair", "instance_attributes", "meta_attributes", "cluster_property_set", "template",
                                "rule"};
constexpr std::array kResourceKinds{"primitive", "group", "clone", "master", "bundle"};

bool IsOneOf(const String_t& name, const auto& names) {
    return std::any_of(names.begin(), names.end(), [&](const char* each) { return name == each; });
}

const XmlDataNode* FirstOf(const XmlDataNode& parent, const char* name) {
    for (int i = 0; i < parent.ChildrenCount(); ++i) {
        if (parent[i].GetName() == name) return &parent[i];
    }
    return nullptr;
}

/// Visits the resource and all in it.
template <class Visit>
void ForEachResource(const XmlDataNode& resource, Visit& visit) {
    if (!IsOneOf(resource.GetName(), kResourceKinds)) return;
    visit(resource);
    for (int i = 0; i < resource.ChildrenCount(); ++i) ForEachResource(resource[i], visit);
}

/// Visits the primitives in it with what they stand in, the innermost first.
template <class Visit>
void ForEachPrimitive(const XmlDataNode& resource, std::vector<const XmlDataNode*> owners, Visit& visit) {
    if (!IsOneOf(resource.GetName(), kResourceKinds)) return;
    owners.insert(owners.begin(), &resource);
    if (resource.GetName() == "primitive") return visit(owners);
    for (int i = 0; i < resource.ChildrenCount(); ++i) ForEachPrimitive(resource[i], owners, visit);
}

bool IsClone(const XmlDataNode& resource) {
    return resource.GetName() == "clone" || resource.GetName() == "master";
}

/// Of what runs on two nodes at once both tell it.
void Add(PcmkResource& resource, const PcmkMember& member) {
    resource.isPromotable = resource.isPromotable || (resource.isCloned && member.role > PcmkRole::Started);
    if (resource.isCloned || resource.copies.empty()) resource.copies.emplace_back();
    PcmkCopy& copy = resource.copies.back();
    const bool isThere =
        std::any_of(copy.begin(), copy.end(), [&](const PcmkMember& known) { return known.id == member.id; });
    if (!isThere) copy.push_back(member);
    resource.inner.push_back(member.id);
}

}  // namespace

PcmkCib::PcmkCib(const XmlDataTree& tree) {
    if (tree.ChildrenCount() == 0) return;
    configuration = FirstOf(tree[0], "configuration");
    status = FirstOf(tree[0], "status");
    if (configuration) Index(*configuration);
    const XmlDataNode* const list = Section("resources");
    for (int i = 0; list && i < list->ChildrenCount(); ++i) {
        const XmlDataNode& outermost = (*list)[i];
        const auto note = [&](const XmlDataNode& inner) {
            holders.emplace(AttributeOf(inner, "id"), &outermost);
            templates.emplace(AttributeOf(inner, "id"), AttributeOf(inner, "template"));
        };
        ForEachResource(outermost, note);
        if (IsOneOf(outermost.GetName(), kResourceKinds)) resources.emplace(AttributeOf(outermost, "id"), &outermost);
    }
}

void PcmkCib::Index(const XmlDataNode& node) {
    if (IsOneOf(node.GetName(), kReferable)) byId.emplace(AttributeOf(node, "id"), &node);
    if (node.GetName() == "tag") IndexTag(node);
    for (int i = 0; i < node.ChildrenCount(); ++i) Index(node[i]);
}

void PcmkCib::IndexTag(const XmlDataNode& tag) {
    const auto [tagged, isNew] = tags.try_emplace(AttributeOf(tag, "id"));
    if (!isNew) return;
    PcmkForEach(tag, "obj_ref", [&](const XmlDataNode& one) { tagged->second.insert(AttributeOf(one, "id")); });
}

const XmlDataNode* PcmkCib::Section(const char* name) const {
    return configuration ? FirstOf(*configuration, name) : nullptr;
}

const XmlDataNode& PcmkCib::Referred(const XmlDataNode& node) const {
    const String_t id = AttributeOf(node, "id-ref");
    const auto found = id.IsEmpty() ? byId.end() : byId.find(id);
    return found != byId.end() && found->second->GetName() == node.GetName() ? *found->second : node;
}

const XmlDataNode* PcmkCib::TemplateOf(const XmlDataNode& primitive) const {
    const String_t id = AttributeOf(primitive, "template");
    const auto found = id.IsEmpty() ? byId.end() : byId.find(id);
    return found != byId.end() && found->second->GetName() == "template" ? found->second : nullptr;
}

/// Of sets with the same score the last one counts, but in a set the first pair.
void PcmkCib::TakeBest(const XmlDataNode& holder, const char* sets, const char* name, bool isByRule,
                       std::optional<Scored>& best) const {
    PcmkForEach(holder, sets, [&](const XmlDataNode& reference) {
        const XmlDataNode& set = Referred(reference);
        const int score = PcmkScoreOf(AttributeOf(set, "score"));
        if (isByRule != (FirstOf(set, "rule") != nullptr) || (best && best->score > score)) return;
        bool isFound = false;
        PcmkForEach(set, "nvpair", [&](const XmlDataNode& pairOrReference) {
            const XmlDataNode& pair = Referred(pairOrReference);
            const String_t nameHere = AttributeOf(pairOrReference, "name");
            if (isFound || (nameHere.IsEmpty() ? AttributeOf(pair, "name") : nameHere) != name) return;
            isFound = true;
            best = {AttributeOf(pair, "value"), score};
        });
    });
}

/// Sets without a rule go before those that hold at times only, wherever they stand.
String_t PcmkCib::ParameterOf(const Owners& owners, const char* sets, const char* name) const {
    for (const bool isByRule : {false, true}) {
        for (const XmlDataNode* owner : owners) {
            std::optional<Scored> best;
            if (const XmlDataNode* const from = TemplateOf(*owner)) TakeBest(*from, sets, name, isByRule, best);
            TakeBest(*owner, sets, name, isByRule, best);
            if (best) return best->value;
        }
    }
    return "";
}

String_t PcmkCib::ClusterName() const {
    const XmlDataNode* const properties = Section("crm_config");
    return properties ? ParameterOf({properties}, "cluster_property_set", "cluster-name") : String_t("");
}

bool PcmkCib::IsAddress(const XmlDataNode& primitive) const {
    const XmlDataNode* const from = TemplateOf(primitive);
    const String_t type = AttributeOf(from ? *from : primitive, "type");
    return type == "IPaddr2" || type == "IPaddr";
}

String_t PcmkCib::AddressIn(const XmlDataNode& resource) const {
    if (const XmlDataNode* const network = FirstOf(resource, "network")) return AttributeOf(*network, "ip-range-start");
    String_t address;
    const auto take = [&](const Owners& owners) {
        if (address.IsEmpty() && IsAddress(*owners.front())) address = ParameterOf(owners, "instance_attributes", "ip");
    };
    ForEachPrimitive(resource, {}, take);
    return address;
}

const XmlDataNode* PcmkCib::FindResource(const String_t& id) const {
    const auto found = resources.find(id);
    return found == resources.end() ? nullptr : found->second;
}

String_t PcmkCib::AddressOf(const String_t& resource) const {
    const XmlDataNode* const found = FindResource(resource);
    return found ? AddressIn(*found) : String_t("");
}

/// A replica's address resource bears the address in its id.
String_t PcmkCib::AddressOf(const PcmkResource& resource, const String_t& node) const {
    const String_t first = AddressOf(resource.name), prefix = resource.name + "-ip-";
    if (!resource.isBundle || !resource.isPromotable || first.Find(":") != LumPalStr::NotFound) return first;
    for (const PcmkCopy& copy : resource.copies) {
        const auto isPromotedHere = [&](const PcmkMember& member) {
            return member.role == PcmkRole::Promoted && member.IsActive() && member.nodes.front() == node;
        };
        if (std::none_of(copy.begin(), copy.end(), isPromotedHere)) continue;
        for (const PcmkMember& member : copy) {
            if (member.id.Left(prefix.GetLength()) == prefix) return member.id.Mid(prefix.GetLength());
        }
    }
    return first;
}

/// What is known of it by crm_mon counts too: it stays where the configuration has lost it.
std::set<String_t> PcmkCib::IdsOf(const PcmkResource& resource) const {
    std::set<String_t> ids{resource.name};
    if (resource.isBundle) return ids;
    ids.insert(resource.inner.begin(), resource.inner.end());
    const auto note = [&](const XmlDataNode& inner) { ids.insert(AttributeOf(inner, "id")); };
    if (const XmlDataNode* const found = FindResource(resource.name)) ForEachResource(*found, note);
    return ids;
}

/// The resource that stands in no other one and holds the member; null where none does.
const XmlDataNode* PcmkCib::OutermostOf(const String_t& member) const {
    const auto found = holders.find(member);
    return found == holders.end() ? nullptr : found->second;
}

/// The container of a bundle tells it, a clone as what it is; in older releases both by another word.
int PcmkCib::PromotedMax(const PcmkResource& resource) const {
    const XmlDataNode* const found = FindResource(resource.name);
    if (!found) return 0;
    int most = 0;
    for (int i = 0; resource.isBundle && i < found->ChildrenCount(); ++i) {
        const XmlDataNode& container = (*found)[i];
        for (const char* name : {"promoted-max", "masters"})
            most = std::max(most, AttributeOf(container, name).ToInt());
    }
    if (resource.isBundle) return most;
    Owners owners{found};
    if (const XmlDataNode* const defaults = Section("rsc_defaults")) owners.push_back(defaults);
    const String_t told = ParameterOf(owners, "meta_attributes", "promoted-max");
    return (told.IsEmpty() ? ParameterOf(owners, "meta_attributes", "master-max") : told).ToInt();
}

std::set<String_t> PcmkCib::Contained() const {
    std::set<String_t> contained;
    const auto take = [&](const Owners& owners) {
        const String_t id = AttributeOf(*owners.front(), "id");
        const String_t container = ParameterOf(owners, "meta_attributes", "container");
        const bool isInAnother = container != id && holders.contains(container);
        if (isInAnother || owners.back()->GetName() == "bundle") contained.insert(id);
    };
    for (const auto& [_, resource] : resources) ForEachPrimitive(*resource, {}, take);
    return contained;
}

void PcmkCib::PutTogether(PcmkSight& sight) const {
    std::map<String_t, std::size_t> places;
    for (std::size_t i = 0; i < sight.resources.size(); ++i) places.emplace(sight.resources[i].name, i);
    for (const PcmkMember& member : sight.loose) {
        const XmlDataNode* const outermost = OutermostOf(member.id);
        const String_t name = outermost ? AttributeOf(*outermost, "id") : member.id;
        const auto [place, isNew] = places.try_emplace(name, sight.resources.size());
        if (isNew) sight.resources.push_back({name, outermost && IsClone(*outermost), false, false, {}, {}});
        Add(sight.resources[place->second], member);
    }
    sight.loose.clear();
    for (PcmkResource& resource : sight.resources) {
        const int most = PromotedMax(resource);
        resource.isPromotable = resource.isPromotable || (resource.isBundle && most > 0);
        resource.isOftenPromoted = most > 1;
    }
}

bool PcmkCib::Means(const String_t& text, const String_t& id) const {
    if (text.IsEmpty()) return false;
    const auto from = templates.find(id);
    if (text == id || (from != templates.end() && text == from->second)) return true;
    const auto tag = tags.find(text);
    return tag != tags.end() && tag->second.contains(id);
}

}  // namespace LumConfCluster
