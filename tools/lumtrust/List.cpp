// The command list.
#include <algorithm>
#include <iostream>
#include <memory>

#include "LumSecRevoked.h"
#include "common/ExitCode.h"
#include "common/NodeAccess.h"
#include "common/Table.h"
#include "lumtrust/Command.h"
#include "lumtrust/Entries.h"

namespace lumtrust {

using nlohmann::ordered_json;

namespace {

void PrintTable(const ordered_json& entries) {
    lumtools::Table table({"KIND", "ALIAS", "SUBJECT", "ISSUER", "VALID UNTIL", "DAYS LEFT", "VOUCHES FOR"});
    for (const ordered_json& entry : entries) {
        if (entry.contains("broken")) {
            table.Add({entry["kind"], entry["alias"], "(cannot be read)", "", "", "", ""});
            continue;
        }
        table.Add({entry["kind"], entry["alias"], entry["subject"], entry["issuer"], entry["not_after"],
                   std::to_string(entry["days_left"].get<std::int64_t>()), VouchesFor(entry)});
    }
    table.Print(std::cout, lumtools::TableLayout::ForOutput());
}

int List(bool json) {
    lumtools::RequireOpenNode();
    ordered_json entries = ordered_json::array();
    for (const char* part : {kOwnPart, kTrustedPart}) {
        for (ordered_json& entry : EntriesOf(part)) entries.push_back(std::move(entry));
    }
    if (json) {
        std::cout << ordered_json{{"certificates", entries}}.dump() << std::endl;
    } else {
        PrintTable(entries);
    }
    LumSecCore::RevocationList::Load();  // what is wrong with it is told
    const bool broken = std::any_of(entries.begin(), entries.end(), [](const auto& e) { return e.contains("broken"); });
    return broken ? lumtools::kFailed : lumtools::kDone;
}

}  // namespace

void AddList(CLI::App& app, Actions& actions) {
    auto json = std::make_shared<bool>(false);
    CLI::App* list = app.add_subcommand("list", "List the node's own certificates and those that it trusts");
    list->add_flag("--json", *json, "Print one JSON object");
    actions.emplace_back(list, [json] { return List(*json); });
}

}  // namespace lumtrust
