#include "lumsettings/Command.h"

#include "LumPalConsole.h"
#include "LumPalRuntime.h"
#include "common/Arguments.h"
#include "common/Table.h"

namespace lumsettings {

using lumtools::Text;

std::string ThisNode() {
    return "the node in '" + LumPalRuntime::Dir_t::Path(LumPalRuntime::Root).ToUtf8() + "'";
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
    return IsForPrograms() ? lines : lumtools::PrintableLines(lines);
}

}  // namespace lumsettings
