// The command explain.
#include <iostream>
#include <sstream>

#include "common/Arguments.h"
#include "common/KnownKeys.h"
#include "common/TableOptions.h"
#include "lumsettings/Command.h"
#include "lumsettings/NodeSettings.h"
#include "lumsettings/SettingsText.h"

namespace lumsettings {

using LumConfPar::MergedSettings;
using LumConfPar::SettingOrigin;
using LumConfPar::SettingsMerge;
using LumPalStr::String_t;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

const char *const kInForce = "in force", *const kOverridden = "overridden", *const kNotYet = "not yet in force";

/// Who gives a value to a setting.
struct Source {
    const char* state;
    const char* kind;  ///< "local", "policy", or the name of the file that the daemon merged last
    SettingOrigin origin;
};

/// All that give a value to the setting, the strongest first.
std::vector<Source> SourcesOf(const Setting& setting, const NodeSettings& node, const MergedSettings& merged) {
    std::vector<Source> sources;
    const Value local = Find(node.local, setting), inFile = Find(node.policy, setting);
    // The daemon has not merged what is installed, or cannot.
    const bool pending = inFile != Find(merged.GetGroup(), setting);
    const auto state = [&sources] { return sources.empty() ? kInForce : kOverridden; };
    if (local) sources.push_back({state(), "local", {"", "", "", *local}});
    if (pending && inFile) sources.push_back({state(), "policy_settings.ini", {"", "", "", *inFile}});
    const auto& origins = merged.GetOrigins(setting.first, setting.second);
    for (auto origin = origins.rbegin(); origin != origins.rend(); ++origin) {
        const bool waits = pending && origin == origins.rbegin();
        sources.push_back({waits ? kNotYet : state(), "policy", *origin});
    }
    return sources;
}

std::string Label(const Source& source) {
    const std::string kind = source.kind;
    if (kind == "local") return "local settings";
    return kind == "policy" ? "policy " + source.origin.policyName.ToUtf8() : kind;
}

lumtools::Mark MarkOf(const std::string& state) {
    if (state == kInForce) return lumtools::Mark::Good;
    return state == kNotYet ? lumtools::Mark::Doubtful : lumtools::Mark::None;
}

std::string TextOf(const Setting& setting, const Value& inForce, const std::vector<Source>& sources,
                   const lumtools::TableLayout& layout) {
    std::ostringstream out;
    const std::string line = LineOf(setting.first, setting.second, inForce.value_or(""));
    out << lumtools::PrintableLines(inForce ? line : line.substr(0, line.size() - 1) + " is not set");
    // Values come last: a long one moves no other column.
    lumtools::Table table({"STATE", "SET BY", "DATA FILE", "POLICY ID", "VALUE"});
    for (const Source& source : sources) {
        table.Add({source.state, Label(source), source.origin.dataFile.ToUtf8(), source.origin.policyId.ToUtf8(),
                   Escaped(source.origin.value)});
    }
    table.SetMarks(0, MarkOf);
    table.Print(out, layout);
    return out.str();
}

ordered_json ToJson(const Source& source) {
    ordered_json object{{"state", source.state}, {"source", source.kind}, {"value", source.origin.value.ToUtf8()}};
    if (source.origin.policyId.IsEmpty()) return object;
    object["policy_name"] = source.origin.policyName.ToUtf8();
    object["policy_id"] = source.origin.policyId.ToUtf8();
    object["data_file"] = source.origin.dataFile.ToUtf8();
    return object;
}

class Explain : public LocalCommand {
public:
    explicit Explain(CLI::App& command) : LocalCommand(command) {
        command.add_option("NAMESPACE", nameSpace, "The namespace")->required()->check(IsGiven);
        command.add_option("NAME", name, "Only this setting")->check(IsGiven);
        tableOptions.AddTo(command, json);
    }

private:
    bool IsPrintable() const override { return true; }

    void Work(Answer& answer) const override {
        const NodeSettings node;
        answer.fields["settings"] = ordered_json::array();
        const MergedSettings merged = Merged(answer);
        for (const Setting& setting : Wanted(node, merged)) Tell(setting, node, merged, answer);
        if (answer.text.empty() && answer.outcome.code == lumtools::kDone) {
            answer.outcome = {lumtools::kNotFound, {{0, NothingThere()}}};
            const std::string unknown = lumtools::NobodyReads(nameSpace, name);
            if (!unknown.empty()) answer.outcome.messages.push_back({1, unknown});
        }
    }

    /// What the installed policies come to. When they come to nothing, since one of them is broken, that is the
    /// answer's failure, and what is in force is told nevertheless.
    MergedSettings Merged(Answer& answer) const {
        MergedSettings merged;
        answer.outcome = lumtools::Attempt([&] {
            const SettingsMerge merge;
            merged = merge.Merge();
            TellProblems(merge.GetProblems(), answer);
        });
        if (answer.outcome.code != lumtools::kDone) {
            answer.outcome.messages.push_back({1,
                                               "Until this is mended, or that policy disabled or removed, the node "
                                               "keeps the settings of policies that it has."});
        }
        return merged;
    }

    std::set<Setting> Wanted(const NodeSettings& node, const MergedSettings& merged) const {
        std::set<Setting> settings;
        for (const auto& group : {node.local, node.policy, merged.GetGroup()}) Collect(group, settings);
        std::erase_if(settings, [this](const Setting& setting) {
            return setting.first != Text(nameSpace) || (!name.empty() && setting.second != Text(name));
        });
        return settings;
    }

    void Tell(const Setting& setting, const NodeSettings& node, const MergedSettings& merged, Answer& answer) const {
        const std::vector<Source> sources = SourcesOf(setting, node, merged);
        const Value inForce = node.InForce(setting);
        answer.text += (answer.text.empty() ? "" : "\n") + TextOf(setting, inForce, sources, tableOptions.GetLayout());
        ordered_json object{{"namespace", setting.first.ToUtf8()}, {"name", setting.second.ToUtf8()}};
        if (inForce) object["value"] = inForce->ToUtf8();
        object["sources"] = ordered_json::array();
        for (const Source& source : sources) object["sources"].push_back(ToJson(source));
        answer.fields["settings"].push_back(object);
    }

    std::string NothingThere() const {
        if (name.empty()) return "Nothing is set in [" + nameSpace + "] on " + ThisNode() + ".";
        const bool hasDefault = lumtools::NobodyReads(nameSpace, name).empty();
        return "Nobody sets [" + nameSpace + "] " + name + " on " + ThisNode() +
               (hasDefault ? ": its default counts." : ".");
    }

    lumtools::TableOptions tableOptions;
    std::string nameSpace, name;
};

}  // namespace

void AddExplain(CLI::App& app, Actions& actions) {
    AddCommand<Explain>(app, actions, "explain",
                        "Tell who sets values of this node, and what is overridden; asks no node");
}

}  // namespace lumsettings
