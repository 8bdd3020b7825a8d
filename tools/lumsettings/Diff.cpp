// The command diff.
#include "Exceptions.h"
#include "LumPalIo.h"
#include "common/Arguments.h"
#include "lumsettings/Command.h"
#include "lumsettings/NodeSettings.h"
#include "lumsettings/SettingsText.h"

namespace lumsettings {

using LumConf::PolicyContainer;
using LumConfPar::MergedSettings;
using LumConfPar::SettingsMerge;
using LumPalStr::String_t;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

/// @param policy  an id in any case, or a name
std::optional<String_t> Installed(const PolicyContainer& policies, const std::string& policy) {
    for (const bool byId : {true, false}) {
        for (int i = 0; i < policies.GetCount(); ++i) {
            const LumConf::PolicyHeader header = policies.GetPolicyHeader(i);
            const String_t id = header.GetContainerId();
            if (byId ? id == String_t(Text(policy)).ToLower() : header.GetName() == Text(policy)) return id;
        }
    }
    return {};
}

String_t IdOf(const PolicyContainer& policies, const std::string& policy) {
    if (const auto id = Installed(policies, policy)) return *id;
    throw LumConf::PolicyNotFoundError(
        LumPalMsg::CreateError_t("No settings policy with the id or name '%1' is installed on %2.")
        << Text(policy) << Text(ThisNode()));
}

/// A policy that is named where a file is expected is installed already.
void CheckFile(const PolicyContainer& policies, const std::string& file) {
    if (LumPalIo::File_t(Text(file)).Exists() || !Installed(policies, file)) return;
    throw CLI::ValidationError("'" + file +
                               "' is no file but an installed policy: say --enable, --disable or "
                               "--remove before it");
}

/// Merges the policy of the file alone, as if it were enabled: what is wrong with its data shows now, and not when
/// somebody enables it. @throws LumPalMsg::RuntimeException_t 208
void CheckData(const LumPalIo::File_t& file) {
    SettingsMerge alone;
    for (int i = 0; i < alone.GetPolicies().GetCount(); ++i) {
        alone.Disable(alone.GetPolicies().GetPolicyHeader(i).GetContainerId());
    }
    alone.Install(file);
    alone.Enable(LumConf::PolicyHeader::Read(file).GetContainerId());
    alone.Merge();
}

/// What would become of the settings of the node.
struct Difference {
    std::vector<Change> changes;
    std::vector<Change> hidden;  ///< by local settings: of what policies set
};

Difference Compare(const NodeSettings& node, const MergedSettings& merged) {
    std::set<Setting> settings;
    for (const auto& group : {node.policy, merged.GetGroup()}) Collect(group, settings);
    Difference difference;
    for (const Setting& setting : settings) {
        const Value before = Find(node.policy, setting), after = Find(merged.GetGroup(), setting);
        if (before == after) continue;
        auto& list = Find(node.local, setting) ? difference.hidden : difference.changes;
        list.push_back({setting.first, setting.second, before, after});
    }
    return difference;
}

/// Each line of the text as a remark.
std::string Remark(const std::string& lines) {
    std::string remark;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = lines.find('\n', begin) + 1;
        remark += "#   " + lines.substr(begin, end - begin);
        begin = end;
    }
    return remark;
}

class Diff : public LocalCommand {
public:
    explicit Diff(CLI::App& command) : LocalCommand(command) {
        command.add_option("FILE", files,
                           "As if these were installed (<id>_header.xml); the data files lie beside them");
        AddPolicies(command, "--enable", enabled,
                    "As if this policy, an id or a name, were enabled; may be given often");
        AddPolicies(command, "--disable", disabled, "As if it were disabled");
        AddPolicies(command, "--remove", removed, "As if it were removed");
    }

private:
    static void AddPolicies(CLI::App& command, const char* option, std::vector<std::string>& policies,
                            const char* help) {
        command.add_option(option, policies, help)->type_name("POLICY")->allow_extra_args(false)->check(IsGiven);
    }

    void Work(Answer& answer) const override {
        if (files.empty() && enabled.empty() && disabled.empty() && removed.empty()) {
            throw CLI::ValidationError("which policies? Give FILE, --enable, --disable or --remove");
        }
        const NodeSettings node;
        SettingsMerge merge;
        Imagine(merge);
        const Difference difference = Compare(node, merge.Merge());
        answer.fields["changes"] = ordered_json::array();
        answer.fields["hidden"] = ordered_json::array();
        for (const Change& change : difference.changes) {
            answer.text += LinesOf(change);
            answer.fields["changes"].push_back(ToJson(change));
        }
        TellHidden(difference.hidden, node, answer);
        TellProblems(merge.GetProblems(), answer);
        if (difference.changes.empty()) answer.outcome = {lumtools::kNothingToDo, {{0, "Nothing would change."}}};
    }

    /// Policies are named as they are installed; those of files count from then on.
    void Imagine(SettingsMerge& merge) const {
        for (const std::string& policy : removed) merge.Remove(IdOf(merge.GetPolicies(), policy));
        for (const std::string& file : files) {
            CheckFile(merge.GetPolicies(), file);
            CheckData(LumPalIo::File_t(Text(file)));
            merge.Install(LumPalIo::File_t(Text(file)));
        }
        for (const std::string& policy : disabled) merge.Disable(IdOf(merge.GetPolicies(), policy));
        for (const std::string& policy : enabled) merge.Enable(IdOf(merge.GetPolicies(), policy));
    }

    static void TellHidden(const std::vector<Change>& hidden, const NodeSettings& node, Answer& answer) {
        if (!hidden.empty()) answer.text += "# hidden, because local settings stand over those of policies:\n";
        for (const Change& change : hidden) {
            answer.text += Remark(LinesOf(change));
            answer.fields["hidden"].push_back(ToJson(change));
            answer.fields["hidden"].back()["local"] = Find(node.local, {change.nameSpace, change.name})->ToUtf8();
        }
    }

    std::vector<std::string> files, enabled, disabled, removed;
};

}  // namespace

void AddDiff(CLI::App& app, Actions& actions) {
    AddCommand<Diff>(app, actions, "diff",
                     "Tell what settings policies would change on this node; changes nothing and asks no node");
}

}  // namespace lumsettings
