#include "lumpolicy/InstallChoices.h"

#include "common/Arguments.h"
#include "common/HostCommand.h"

namespace lumpolicy {

using lumtools::SplitPair;
using lumtools::Text;

void InstallChoices::AddTo(CLI::App& c) {
    const std::string policy = "What the policy gets", installed = "When the policy is installed already",
                      request = "The request";
    auto* on = c.add_flag("--enable", enable, "Enable the policy, whatever its document says")->group(policy);
    c.add_flag("--disable", disable, "Disable the policy, whatever its document says")->group(policy)->excludes(on);
    c.add_option("--owner", owner, "Set the owner")->group(policy)->type_name("OWNER");
    c.add_flag("--remove-owner", removeOwner, "Clear the owner; wins over --owner")->group(policy);
    c.add_option("--add-category", addCategories, "Add a category; may be given often")
        ->group(policy)
        ->type_name("CATEGORY")
        ->allow_extra_args(false);
    c.add_option("--remove-category", removeCategories, "Drop a category of the document; may be given often")
        ->group(policy)
        ->type_name("CATEGORY")
        ->allow_extra_args(false);
    c.add_flag("--remove-all-categories", removeAllCategories, "Drop the categories of the document first")
        ->group(policy);
    c.add_option("--add-attribute", addAttributes, "Add an attribute; may be given often")
        ->group(policy)
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    c.add_option("--remove-attribute", removeAttributes, "Drop an attribute of the document; may be given often")
        ->group(policy)
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    c.add_flag("--remove-all-attributes", removeAllAttributes, "Drop the attributes of the document first")
        ->group(policy);
    c.add_flag("--check-version", checkVersion, "Refuse a version that does not sort above the installed one")
        ->group(installed);
    c.add_flag("--force", force,
               "Replace it without any check; nothing is taken over from it. Also what locks the node's own tools out")
        ->group(installed);
    c.add_flag("--force-owner", forceOwner, "Replace it although the owners differ")->group(installed);
    c.add_flag("--force-state", forceState, "The status of --enable wins over the installed one; without it: disabled")
        ->group(installed);
    c.add_flag("--force-categories", forceCategories, "Keep the arriving categories, not the installed ones")
        ->group(installed);
    c.add_flag("--force-attributes", forceAttributes, "Keep the arriving attributes, not the installed ones")
        ->group(installed);
    c.add_flag("--no-notify", noNotify, "Queue the notification of consumers; 'lumpolicy notify' sends it")
        ->group(request);
    lumtools::AddTargetId(c, targetId)->group(request);
    c.add_flag("--close-connection", closeConnection, "Accepted; a request never keeps a connection behind it")
        ->group(request);
}

LumConf::InstallOptions InstallChoices::Make() const {
    LumConf::InstallOptions options;
    options.SetNotify(!noNotify).SetTargetID(Text(targetId)).SetCheckVersion(checkVersion).SetOwner(Text(owner));
    options.SetForceAll(force).SetForceOwner(forceOwner).SetForceCat(forceCategories).SetForceAttr(forceAttributes);
    options.SetRemoveAllCategories(removeAllCategories).SetRemoveAllAttributes(removeAllAttributes);
    options.SetCloseConnection(closeConnection);
    if (enable) options.SetEnabled();
    if (disable) options.SetDisabled();
    if (forceState) options.ForceState();
    if (removeOwner) options.RemoveOwner();
    for (const auto& category : addCategories) options.SetAddCategory(Text(category));
    for (const auto& category : removeCategories) options.SetRemoveCategory(Text(category));
    for (const auto& pair : addAttributes) {
        options.SetAddAttribute(Text(SplitPair(pair).first), Text(SplitPair(pair).second));
    }
    for (const auto& pair : removeAttributes) {
        options.SetRemoveAttribute(Text(SplitPair(pair).first), Text(SplitPair(pair).second));
    }
    return options;
}

}  // namespace lumpolicy
