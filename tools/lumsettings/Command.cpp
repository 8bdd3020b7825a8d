#include "lumsettings/Command.h"

#include <iostream>

#include "LumPalConsole.h"
#include "LumPalRuntime.h"
#include "common/Arguments.h"
#include "lumsettings/SettingsText.h"

namespace lumsettings {

using lumtools::Text;

std::string ThisNode() {
    return "the node in '" + LumPalRuntime::Dir_t::Path(LumPalRuntime::Root).ToUtf8() + "'";
}

lumtools::ExitCode LocalCommand::Run() {
    Answer answer;
    const lumtools::Outcome outcome = lumtools::Attempt([&] { Work(answer); });
    if (outcome.code != lumtools::kDone) answer = {outcome, "", false, {}};
    if (json) {
        nlohmann::ordered_json object;
        Fill(object, answer.outcome);
        if (!answer.fields.is_null()) object.update(answer.fields);
        std::cout << OneLine(object) << std::endl;
    } else {
        if (!quiet) std::cout << PrintableLines(answer.text) << std::flush;
        if (answer.outcome.code != lumtools::kDone) lumtools::PrintFailure(std::cerr, "", answer.outcome);
    }
    return answer.outcome.code;
}

void LocalCommand::TellProblems(const LumPalMsg::MessageList_t& problems, Answer& answer) const {
    answer.fields["problems"] = nlohmann::ordered_json::array();
    for (const lumtools::MessageLine& line : lumtools::LinesOf(problems)) {
        answer.fields["problems"].push_back({{"level", line.level}, {"text", line.text}});
    }
    if (!json) lumtools::PrintWarnings(std::cerr, problems);
}

NodeCommand::NodeCommand(CLI::App& command) : HostCommand(command) {
    command
        .add_option("--resource-group", resourceGroup,
                    "The settings of this cluster resource group, instead of the node's own")
        ->type_name("NAME")
        ->check(IsGiven);
    lumtools::AddTargetId(command, targetId);
}

LumConfPar::SettingsForwarder::Options NodeCommand::Options() const {
    LumConfPar::SettingsForwarder::Options options;
    options.SetLUMResourceGroup(Text(resourceGroup)).SetTargetID(Text(targetId));
    return options;
}

std::string NodeCommand::OfGroup() const {
    return resourceGroup.empty() ? "" : " of the resource group '" + resourceGroup + "'";
}

bool NodeCommand::IsForPrograms() const {
    return !AsksMany() && !LumPalConsole::IsTerminal(LumPalConsole::Stream::Output);
}

std::string NodeCommand::Shown(const std::string& lines) const {
    return IsForPrograms() ? lines : PrintableLines(lines);
}

}  // namespace lumsettings
