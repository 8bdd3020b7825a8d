#include <vector>

#include "InstallOptions.h"
#include "PolicyForwarder.h"
#include "PolicyPackage.h"
#include "common/Arguments.h"
#include "lumpolicy/Command.h"

namespace lumpolicy {

using LumConf::InstallOptions;
using lumtools::Attempt;
using lumtools::ExitCode;
using lumtools::Outcome;
using lumtools::SplitPair;
using lumtools::Text;

namespace {

/// Every choice of an install.
struct Choices {
    bool noNotify = false, enable = false, disable = false, forceState = false, checkVersion = false;
    bool removeAllCategories = false, removeAllAttributes = false, removeOwner = false;
    bool force = false, forceOwner = false, forceCategories = false, forceAttributes = false, closeConnection = false;
    std::string owner, targetId;
    std::vector<std::string> addCategories, removeCategories, addAttributes, removeAttributes;

    void AddTo(CLI::App& command);
    InstallOptions Make() const;
};

void Choices::AddTo(CLI::App& c) {
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
    c.add_flag("--force", force, "Replace it without any check; nothing is taken over from it")->group(installed);
    c.add_flag("--force-owner", forceOwner, "Replace it although the owners differ")->group(installed);
    c.add_flag("--force-state", forceState, "The status of --enable wins over the installed one; without it: disabled")
        ->group(installed);
    c.add_flag("--force-categories", forceCategories, "Keep the arriving categories, not the installed ones")
        ->group(installed);
    c.add_flag("--force-attributes", forceAttributes, "Keep the arriving attributes, not the installed ones")
        ->group(installed);
    c.add_flag("--no-notify", noNotify, "Queue the notification of consumers; 'lumpolicy notify' sends it")
        ->group(request);
    c.add_option("--target-id", targetId, "Id of the target")->group(request)->type_name("ID");
    c.add_flag("--close-connection", closeConnection, "Accepted; a request never keeps a connection behind it")
        ->group(request);
}

InstallOptions Choices::Make() const {
    InstallOptions options;
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

class Install : public Command {
public:
    explicit Install(CLI::App& command) {
        command.add_option("FILE", files, "Header files (<id>_header.xml); the data files lie beside them")->required();
        command.add_flag("--package", package, "Send all files as one package: one request, one answer");
        choices.AddTo(command);
    }

    ExitCode Run(const Global& global) override { return package ? RunPackage(global) : RunEach(global); }

private:
    ExitCode RunPackage(const Global& global) {
        const Outcome outcome = Attempt([&] {
            const InstallOptions options = choices.Make();
            LumConf::PolicyPackage collected;
            for (const auto& file : files) collected.AddPolicy(LumPalIo::File_t(Text(file)));
            collected.Install(Text(global.host), options);
        });
        Say(global, outcome, "", "installed a package of " + std::to_string(files.size()) + " on " + global.host);
        return outcome.code;
    }

    /// The others go on when one fails; the first failure is the exit code.
    ExitCode RunEach(const Global& global) {
        LumConf::PolicyForwarder forwarder;
        ExitCode result = lumtools::kDone;
        for (const auto& file : files) {
            const Outcome outcome =
                Attempt([&] { forwarder.Install(Text(global.host), LumPalIo::File_t(Text(file)), choices.Make()); });
            Say(global, outcome, file, "installed " + file + " on " + global.host);
            if (result == lumtools::kDone) result = outcome.code;
            if (outcome.code == lumtools::kUnreachable || outcome.code == lumtools::kWrongUsage) break;
        }
        return result;
    }

    std::vector<std::string> files;
    bool package = false;
    Choices choices;
};

}  // namespace

std::unique_ptr<Command> AddInstall(CLI::App& app, CLI::App*& subcommand) {
    subcommand = app.add_subcommand("install", "Install policies, or replace installed ones");
    return std::make_unique<Install>(*subcommand);
}

}  // namespace lumpolicy
