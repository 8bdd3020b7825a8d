#include <iostream>
#include <nlohmann/json.hpp>

#include "PolicyContainer.h"
#include "PolicyForwarder.h"
#include "common/Arguments.h"
#include "common/SelectionOptions.h"
#include "common/Table.h"
#include "lumpolicy/Command.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using lumtools::Attempt;
using lumtools::ExitCode;
using lumtools::Outcome;
using lumtools::SelectionOptions;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

ordered_json ToJson(const PolicyHeader& header) {
    ordered_json policy;
    policy["id"] = header.GetContainerId().ToUtf8();
    policy["name"] = header.GetName().ToUtf8();
    policy["version"] = header.GetVersion().ToUtf8();
    policy["status"] = header.GetStatus().ToUtf8();
    policy["description"] = header.GetDescription().ToUtf8();
    policy["owner"] = header.GetOwner().ToUtf8();
    policy["type"] = {{"name", header.GetTypeName().ToUtf8()},
                      {"version", header.GetTypeVersion().ToUtf8()},
                      {"id", header.GetTypeId().ToUtf8()}};
    policy["categories"] = ordered_json::array();
    for (int i = 0; i < header.GetCategoryCount(); ++i) policy["categories"].push_back(header.GetCategory(i).ToUtf8());
    policy["attributes"] = ordered_json::array();
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        const auto attribute = header.GetAttribute(i);
        policy["attributes"].push_back(
            {{"name", attribute.GetName().ToUtf8()}, {"value", attribute.GetValue().ToUtf8()}});
    }
    return policy;
}

void PrintJson(const Global& global, const PolicyContainer& policies) {
    ordered_json answer;
    answer["host"] = global.host;
    answer["result"] = "done";
    answer["code"] = lumtools::kDone;
    answer["policies"] = ordered_json::array();
    for (int i = 0; i < policies.GetCount(); ++i) answer["policies"].push_back(ToJson(policies.GetPolicyHeader(i)));
    std::cout << answer.dump(2) << std::endl;
}

std::string JoinCategories(const PolicyHeader& header) {
    std::string joined;
    for (int i = 0; i < header.GetCategoryCount(); ++i) joined += (i ? ", " : "") + header.GetCategory(i).ToUtf8();
    return joined;
}

void PrintTable(const PolicyContainer& policies) {
    lumtools::Table table({"TYPE", "NAME", "VERSION", "STATUS", "OWNER", "CATEGORIES", "ID"});
    for (int i = 0; i < policies.GetCount(); ++i) {
        const PolicyHeader header = policies.GetPolicyHeader(i);
        table.Add({header.GetTypeName().ToUtf8(), header.GetName().ToUtf8(), header.GetVersion().ToUtf8(),
                   header.GetStatus().ToUtf8(), header.GetOwner().ToUtf8(), JoinCategories(header),
                   header.GetContainerId().ToUtf8()});
    }
    table.Print(std::cout);
}

class List : public Command {
public:
    explicit List(CLI::App& command) {
        selection.AddTo(command, SelectionOptions::Demand::No);
        command.add_option("--target-id", targetId, "Id of the target")->type_name("ID");
    }

    ExitCode Run(const Global& global) override {
        const auto selected = selection.Make();
        PolicyContainer policies;
        const Outcome outcome =
            Attempt([&] { policies = LumConf::PolicyForwarder().List(Text(global.host), selected, Text(targetId)); });
        if (outcome.code != lumtools::kDone) {
            Say(global, outcome, "", "");
        } else if (global.json) {
            PrintJson(global, policies);
        } else if (!global.quiet) {
            PrintTable(policies);
        }
        return outcome.code;
    }

private:
    SelectionOptions selection;
    std::string targetId;
};

}  // namespace

std::unique_ptr<Command> AddList(CLI::App& app, CLI::App*& subcommand) {
    subcommand = app.add_subcommand("list", "List installed policies; all of them unless told otherwise");
    return std::make_unique<List>(*subcommand);
}

}  // namespace lumpolicy
