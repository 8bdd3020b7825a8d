// The commands keys and describe: what a node's configuration knows. They ask no node.
#include <sstream>

#include "common/Arguments.h"
#include "common/KnownKeys.h"
#include "common/TableOptions.h"
#include "lumsettings/Command.h"
#include "lumsettings/NodeSettings.h"

namespace lumsettings {

using lumtools::KnownKey;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

ordered_json ToJson(const KnownKey& key) {
    return {{"namespace", key.nameSpace}, {"name", key.name},        {"kind", key.kind},
            {"default", key.standard},    {"taken_up", key.takenUp}, {"effect", key.effect}};
}

class Keys : public LocalCommand {
public:
    explicit Keys(CLI::App& command) : LocalCommand(command) {
        command.add_option("NAMESPACE", nameSpace, "Only the keys of this namespace")->check(IsGiven);
        tableOptions.AddTo(command, json);
    }

private:
    void Work(Answer& answer) const override {
        lumtools::Table table({"NAMESPACE", "KEY", "VALUE", "DEFAULT", "COUNTS"});
        answer.fields["keys"] = ordered_json::array();
        for (const KnownKey& key : lumtools::KnownKeys()) {
            if (!nameSpace.empty() && nameSpace != key.nameSpace) continue;
            table.Add({key.nameSpace, key.name, key.kind, key.standard, key.takenUp});
            answer.fields["keys"].push_back(ToJson(key));
        }
        if (answer.fields["keys"].empty()) {
            answer.outcome = {lumtools::kNotFound, {{0, "The node's own namespaces hold no '" + nameSpace + "'."}}};
            return;
        }
        table.KeepWhole(1);
        std::ostringstream text;
        table.Print(text, tableOptions.GetLayout());
        answer.text = text.str();
    }

    lumtools::TableOptions tableOptions;
    std::string nameSpace;
};

class Describe : public LocalCommand {
public:
    explicit Describe(CLI::App& command) : LocalCommand(command) {
        command.add_option("KEY", name, "The key")->required()->check(IsGiven);
    }

private:
    void Work(Answer& answer) const override {
        answer.fields["keys"] = ordered_json::array();
        for (const KnownKey& key : lumtools::KnownKeys()) {
            if (name == key.name) Tell(key, answer);
        }
        if (!answer.text.empty()) return;
        answer.outcome = {lumtools::kNotFound,
                          {{0, lumtools::NoSuchKey(name)}, {1, "'lumsettings keys' tells all of them."}}};
    }

    static void Tell(const KnownKey& key, Answer& answer) {
        ordered_json object = ToJson(key);
        answer.text += "[" + std::string(key.nameSpace) + "] " + key.name + "\n  effect:   " + key.effect +
                       "\n  value:    " + key.kind + "\n  default:  " + key.standard + "\n  counts:   " + key.takenUp +
                       "\n";
        // Whoever may not read the node's files learns the rest all the same.
        lumtools::Attempt([&] {
            const Value inForce = NodeSettings().InForce({Text(key.nameSpace), Text(key.name)});
            if (!inForce) return;
            answer.text += "  on this node: " + inForce->ToUtf8() + "\n";
            object["value"] = inForce->ToUtf8();
        });
        answer.fields["keys"].push_back(std::move(object));
    }

    std::string name;
};

}  // namespace

void AddKeys(CLI::App& app, Actions& actions) {
    AddCommand<Keys>(app, actions, "keys", "List the keys of a node's configuration; asks no node");
    AddCommand<Describe>(app, actions, "describe", "Tell of one key; asks no node");
}

}  // namespace lumsettings
