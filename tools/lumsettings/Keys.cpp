// The commands keys and describe: what a node's configuration knows. They ask no node.
#include "common/Arguments.h"
#include "common/KnownKeys.h"
#include "common/ListOptions.h"
#include "common/NodeAccess.h"
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

const lumtools::ListColumns kColumns{{"NAMESPACE", "KEY", "VALUE", "DEFAULT", "COUNTS"}, {0, 1}};

class Keys : public LocalCommand {
public:
    explicit Keys(CLI::App& command) : LocalCommand(command) {
        command.add_option("NAMESPACE", nameSpace, "Only the keys of this namespace")->check(IsGiven);
        tableOptions.AddTo(command, json, kColumns);
    }

private:
    void Work(Answer& answer) const override {
        lumtools::Table table(kColumns.headings);
        answer.fields["keys"] = ordered_json::array();
        for (const KnownKey& key : lumtools::KnownKeys()) {
            if (!nameSpace.empty() && nameSpace != key.nameSpace) continue;
            table.Add({key.nameSpace, key.name, key.kind, key.standard, key.takenUp});
            answer.fields["keys"].push_back(ToJson(key));
        }
        if (answer.fields["keys"].empty()) {
            answer.outcome = {lumtools::kNotFound,
                              {{0, "The node's own namespaces hold no '" + nameSpace + "'" +
                                       lumtools::NearestSetting(nameSpace, "")}}};
            return;
        }
        table.KeepWhole(1);
        answer.text = tableOptions.TextOf(std::move(table));
    }

    lumtools::ListOptions tableOptions;
    std::string nameSpace;
};

class Describe : public LocalCommand {
public:
    explicit Describe(CLI::App& command) : LocalCommand(command) {
        command.add_option("KEY", words, "The key; its namespace may stand before it, as a word or with a dot")
            ->required()
            ->expected(1, 2)
            ->check(IsGiven);
    }

private:
    void Work(Answer& answer) const override {
        const auto [nameSpace, name] = Wanted();
        answer.fields["keys"] = ordered_json::array();
        for (const KnownKey& key : lumtools::KnownKeys()) {
            if (name == key.name && (nameSpace.empty() || nameSpace == key.nameSpace)) Tell(key, answer);
        }
        if (!answer.text.empty()) return;
        const std::string unknown = nameSpace.empty() ? "" : lumtools::NobodyReads(nameSpace, name);
        answer.outcome = {lumtools::kNotFound,
                          {{0, unknown.empty() ? lumtools::NoSuchKey(words.back()) : unknown},
                           {1, "'lumsettings keys' tells all of them."}}};
    }

    /// Namespace and name. No key of the node has a dot in its name.
    std::pair<std::string, std::string> Wanted() const {
        if (words.size() > 1) return {words.front(), words.back()};
        const std::size_t dot = words.front().rfind('.');
        if (dot == std::string::npos) return {"", words.front()};
        return {words.front().substr(0, dot), words.front().substr(dot + 1)};
    }

    static void Tell(const KnownKey& key, Answer& answer) {
        ordered_json object = ToJson(key);
        answer.text += "[" + std::string(key.nameSpace) + "] " + key.name + "\n  effect:   " + key.effect +
                       "\n  value:    " + key.kind + "\n  default:  " + key.standard + "\n  counts:   " + key.takenUp +
                       "\n";
        answer.text += "  on this node: " + HereOf(key, object) + "\n";
        answer.fields["keys"].push_back(std::move(object));
    }

    /// Whoever may not read the node's files learns the rest all the same.
    static std::string HereOf(const KnownKey& key, ordered_json& object) {
        Value inForce;
        const lumtools::Outcome outcome = lumtools::Attempt([&] {
            lumtools::RequireOpenNode();
            inForce = NodeSettings().InForce({Text(key.nameSpace), Text(key.name)});
        });
        if (outcome.code != lumtools::kDone) {
            object["unreadable"] = outcome.messages.front().text;
            return "cannot be read: " + outcome.messages.front().text;
        }
        if (!inForce) return std::string(key.standard) + " (default)";
        object["value"] = inForce->ToUtf8();
        return inForce->ToUtf8();
    }

    std::vector<std::string> words;
};

}  // namespace

void AddKeys(CLI::App& app, Actions& actions) {
    AddCommand<Keys>(app, actions, "keys", "List the keys of a node's configuration; asks no node");
    AddCommand<Describe>(app, actions, "describe", "Tell of one key; asks no node");
}

}  // namespace lumsettings
