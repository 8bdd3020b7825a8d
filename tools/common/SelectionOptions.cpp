#include "common/SelectionOptions.h"

#include <algorithm>
#include <iterator>

#include "common/Arguments.h"
#include "common/Command.h"

namespace lumtools {

using LumConf::Selection;

namespace {

/// "name" means every policy with such an attribute, "name=value" that pair.
Selection OfAttribute(const std::string& attribute) {
    const auto [name, value] = SplitPair(attribute);
    if (attribute.find('=') == std::string::npos) return Selection().SetPolicyAttribute(Text(name));
    return Selection().SetPolicyAttribute(Text(name), Text(value));
}

/// Nobody can look for a name that holds a "=": a node refuses such a policy.
std::string IsSearched(const std::string& given) {
    const std::string missing = IsGiven(given);
    if (!missing.empty()) return missing;
    return given.find('=') == given.npos ? "" : "'" + given + "' is no name: no policy has one with a '='";
}

std::string IsAttribute(const std::string& given) {
    return given.empty() || given.front() == '=' ? "'" + given + "' is no attribute: give NAME or NAME=VALUE" : "";
}

}  // namespace

void SelectionOptions::AddTo(CLI::App& command, Demand demanded) {
    demand = demanded;
    const std::string group = "Which policies";
    command.add_option("--id", id, "The policy with this id")->group(group)->type_name("ID")->check(lumtools::IsGiven);
    command.add_option("--name", name, "Policies of this name; \"type:name\" is a name of a type")
        ->group(group)
        ->type_name("NAME")
        ->check(IsSearched);
    command.add_option("--type", type, "Policies of this type")->group(group)->type_name("TYPE")->check(IsSearched);
    command.add_option("--owner", owner, "Policies of this owner")
        ->group(group)
        ->type_name("OWNER")
        ->check(lumtools::IsGiven);
    command.add_option("--category", category, "Policies in this category")
        ->group(group)
        ->type_name("CATEGORY")
        ->check(lumtools::IsGiven);
    command.add_option("--attribute", attribute, "Policies with this attribute, or with this name and value")
        ->group(group)
        ->type_name("NAME[=VALUE]")
        ->check(IsAttribute);
    command.add_flag("--all", all, "All policies")->group(group);
}

bool SelectionOptions::IsGiven() const {
    return all || IsNarrow();
}

bool SelectionOptions::IsNarrow() const {
    const std::string* given[] = {&id, &name, &type, &owner, &category, &attribute};
    return std::any_of(std::begin(given), std::end(given), [](const std::string* text) { return !text->empty(); });
}

Selections SelectionOptions::Make() const {
    if (!IsGiven() && demand == Demand::Yes) {
        throw CLI::ValidationError(
            "which policies? Give --id, --name, --type, --owner, --category, --attribute or "
            "--all");
    }
    // The first one is what a node is asked for: the more it says, the less has to be listed.
    std::vector<Selection> given;
    const bool isTyped = !name.empty() && !type.empty(), isOwned = !name.empty() && !isTyped && !owner.empty();
    if (!id.empty()) given.push_back(Selection().SetPolicyId(Text(id)));
    if (isTyped) given.push_back(Selection().SetPolicyNameAndTypeName(Text(name), Text(type)));
    if (isOwned) given.push_back(Selection().SetPolicyOwnerAndName(Text(owner), Text(name)));
    if (!name.empty() && !isTyped && !isOwned) given.push_back(Selection().SetPolicyName(Text(name)));
    if (!type.empty() && !isTyped) given.push_back(Selection().SetPolicyTypeName(Text(type)));
    if (!category.empty()) given.push_back(Selection().SetPolicyCategory(Text(category)));
    if (!attribute.empty()) given.push_back(OfAttribute(attribute));
    if (!owner.empty() && !isOwned) given.push_back(Selection().SetPolicyOwner(Text(owner)));
    return given.empty() ? Selections() : Selections(given);
}

}  // namespace lumtools
