// The command list.
#include <algorithm>
#include <iostream>
#include <memory>

#include "LumSecRevoked.h"
#include "common/ExitCode.h"
#include "common/ListOptions.h"
#include "common/NodeAccess.h"
#include "lumtrust/Command.h"
#include "lumtrust/Entries.h"

namespace lumtrust {

using nlohmann::ordered_json;

namespace {

constexpr std::size_t kAliasColumn = 1, kEndColumn = 4;
const lumtools::ListColumns kColumns{{"KIND", "ALIAS", "SUBJECT", "ISSUER", "VALID UNTIL", "DAYS LEFT", "VOUCHES FOR"},
                                     {kAliasColumn}};

struct Shown {
    bool json = false;
    lumtools::ListOptions table;
};

lumtools::Table TableOf(const ordered_json& entries) {
    lumtools::Table table(kColumns.headings);
    for (const ordered_json& entry : entries) {
        if (entry.contains("broken")) {
            table.Add({entry["kind"], entry["alias"], "(cannot be read)", "", "", "", ""});
            continue;
        }
        table.Add({entry["kind"], entry["alias"], entry["subject"], entry["issuer"], entry["not_after"],
                   std::to_string(entry["days_left"].get<std::int64_t>()), VouchesFor(entry)});
    }
    table.KeepWhole(kAliasColumn);
    table.KeepWhole(kEndColumn);
    return table;
}

int List(const Shown& shown) {
    lumtools::RequireOpenKeys();
    ordered_json entries = ordered_json::array();
    for (const char* part : {kOwnPart, kTrustedPart}) {
        for (ordered_json& entry : EntriesOf(part)) entries.push_back(std::move(entry));
    }
    if (shown.json) {
        std::cout << ordered_json{{"certificates", entries}}.dump() << std::endl;
    } else {
        std::cout << shown.table.TextOf(TableOf(entries)) << std::flush;
    }
    LumSecCore::RevocationList::Load();  // what is wrong with it is told
    const bool broken = std::any_of(entries.begin(), entries.end(), [](const auto& e) { return e.contains("broken"); });
    return broken ? lumtools::kFailed : lumtools::kDone;
}

}  // namespace

void AddList(CLI::App& app, Actions& actions) {
    auto shown = std::make_shared<Shown>();
    CLI::App* list = app.add_subcommand("list", "List the node's own certificates and those that it trusts");
    list->add_flag("--json", shown->json, "Print one JSON object");
    shown->table.AddTo(*list, shown->json, kColumns);
    actions.emplace_back(list, [shown] { return List(*shown); });
}

}  // namespace lumtrust
