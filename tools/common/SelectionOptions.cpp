#include "common/SelectionOptions.h"

#include "common/Arguments.h"

namespace lumtools {

namespace {

/// "name" means every policy with such an attribute, "name=value" that pair.
void SelectAttribute(LumConf::Selection& selection, const std::string& attribute) {
    const auto [name, value] = SplitPair(attribute);
    if (attribute.find('=') == std::string::npos) {
        selection.SetPolicyAttribute(Text(name));
    } else {
        selection.SetPolicyAttribute(Text(name), Text(value));
    }
}

}  // namespace

void SelectionOptions::AddTo(CLI::App& command, Demand demanded) {
    demand = demanded;
    const std::string group = "Which policies";
    command.add_option("--id", id, "The policy with this id")->group(group)->type_name("ID");
    command.add_option("--name", name, "Policies of this name; \"type:name\" is a name of a type")
        ->group(group)
        ->type_name("NAME");
    command.add_option("--type", type, "Policies of this type; with --name both must match")
        ->group(group)
        ->type_name("TYPE");
    command.add_option("--owner", owner, "Policies of this owner; with --name both must match")
        ->group(group)
        ->type_name("OWNER");
    command.add_option("--category", category, "Policies in this category")->group(group)->type_name("CATEGORY");
    command.add_option("--attribute", attribute, "Policies with this attribute, or with this name and value")
        ->group(group)
        ->type_name("NAME[=VALUE]");
    command.add_flag("--all", all, "All policies")->group(group);
}

int SelectionOptions::Given() const {
    return !id.empty() + !name.empty() + !type.empty() + !owner.empty() + !category.empty() + !attribute.empty() + all;
}

bool SelectionOptions::IsGiven() const {
    return Given() > 0;
}

LumConf::Selection SelectionOptions::Make() const {
    LumConf::Selection selection;
    const int given = Given();
    if (given == 0 && demand == Demand::Yes) {
        throw CLI::ValidationError(
            "which policies? Give --id, --name, --type, --owner, --category, --attribute or "
            "--all");
    }
    if (!name.empty() && !type.empty() && given == 2) {
        return selection.SetPolicyNameAndTypeName(Text(name), Text(type));
    }
    if (!owner.empty() && !name.empty() && given == 2) return selection.SetPolicyOwnerAndName(Text(owner), Text(name));
    if (given > 1) {
        throw CLI::ValidationError("of the options that select, only --name combines: with --type or with --owner");
    }
    if (!id.empty()) selection.SetPolicyId(Text(id));
    if (!name.empty()) selection.SetPolicyName(Text(name));
    if (!type.empty()) selection.SetPolicyTypeName(Text(type));
    if (!owner.empty()) selection.SetPolicyOwner(Text(owner));
    if (!category.empty()) selection.SetPolicyCategory(Text(category));
    if (!attribute.empty()) SelectAttribute(selection, attribute);
    return selection;
}

}  // namespace lumtools
