// The command get.
#include "ReturnValue.h"
#include "common/Arguments.h"
#include "common/KnownKeys.h"
#include "common/Table.h"
#include "lumsettings/Command.h"
#include "lumsettings/SettingsText.h"

namespace lumsettings {

using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using lumtools::Outcome;
using lumtools::Text;

namespace {

class Get : public NodeCommand {
public:
    explicit Get(CLI::App& command) : NodeCommand(command) {
        command.add_option("NAMESPACE", nameSpace, "Only this namespace")->check(IsGiven);
        command.add_option("NAME", name, "Only this setting: its bare value")->check(IsGiven);
    }

private:
    unsigned GetRight() const override { return LumConf::RightConfigGet; }

    Outcome Prepare() override {
        return lumtools::Attempt([&] {
            options = Options();
            wantedNamespace = Text(nameSpace);
            wantedName = Text(name);
        });
    }

    Answer Ask(const std::string& host) const override {
        Answer answer;
        answer.isBlock = name.empty();
        const ConfigGroup_t settings;
        answer.outcome = lumtools::Attempt([&] {
            Fetch(host, settings);
            answer.fields["settings"] = ToJson(settings);
            if (CountSettings(settings) > 0) Show(settings, host, answer);
        });
        if (answer.outcome.code == lumtools::kDone && CountSettings(settings) == 0) {
            answer.outcome = {lumtools::kNotFound, {{0, "'" + host + "' has no " + Wanted() + OfGroup() + Nearest()}}};
        }
        return answer;
    }

    /// What is wanted of the node's settings.
    void Fetch(const std::string& host, const ConfigGroup_t& wanted) const {
        const ConfigGroup_t told = forwarder->Get(Text(host), options);
        for (int i = 0; i < told.GetConfigCount(); ++i) {
            const Configuration_t configuration = told.GetConfig(i);
            if (!nameSpace.empty() && configuration.GetNamespace() != wantedNamespace) continue;
            String_t attribute, value;
            for (int j = 0; configuration.GetAttr(j, attribute, value); ++j) {
                if (!name.empty() && attribute != wantedName) continue;
                wanted.GetConfig(configuration.GetNamespace()).SetAttrValue(attribute, value);
            }
        }
    }

    void Show(const ConfigGroup_t& settings, const std::string& host, Answer& answer) const {
        if (name.empty()) {
            answer.text = Shown(FileText(settings));
            return;
        }
        const std::string value = settings.GetConfig(0).GetValue(wantedName).ToUtf8();
        answer.fields["value"] = value;
        if (IsForPrograms()) {
            answer.text = value + "\n";
        } else {
            answer.text = (AsksMany() ? host + ": " : "") + lumtools::Printable(value) + "\n";
        }
    }

    std::string Wanted() const {
        if (!name.empty()) return "setting [" + nameSpace + "] " + name;
        return nameSpace.empty() ? "settings" : "settings in [" + nameSpace + "]";
    }

    std::string Nearest() const { return nameSpace.empty() ? "." : lumtools::NearestSetting(nameSpace, name); }

    LumConfPar::SettingsForwarder::Options options;
    std::string nameSpace, name;
    String_t wantedNamespace, wantedName;
};

}  // namespace

void AddGet(CLI::App& app, Actions& actions) {
    AddCommand<Get>(app, actions, "get", "Tell the settings of nodes, local ones over those of policies");
}

}  // namespace lumsettings
