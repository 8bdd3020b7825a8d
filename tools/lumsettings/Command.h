/// @file
/// The parts of lumsettings, and what those that ask nodes share.
#pragma once

#include <string>

#include "SettingsForwarder.h"
#include "common/HostCommand.h"
#include "common/Lazy.h"
#include "common/LocalCommand.h"

namespace lumsettings {

using lumtools::Actions, lumtools::Answer, lumtools::Command, lumtools::LocalCommand;
using lumtools::AddCommand, lumtools::Fill, lumtools::IsGiven, lumtools::OneLine;

/// Each adds its subcommands to the application.
void AddGet(CLI::App& app, Actions& actions);
void AddChanges(CLI::App& app, Actions& actions);
void AddExplain(CLI::App& app, Actions& actions);
void AddDiff(CLI::App& app, Actions& actions);
void AddKeys(CLI::App& app, Actions& actions);

/// "the node in '...'", with its root: who runs with another LUM_ROOT than he thinks sees it.
std::string ThisNode();

/// A command about the settings of nodes.
class NodeCommand : public lumtools::HostCommand {
protected:
    explicit NodeCommand(CLI::App& command);
    LumConfPar::SettingsForwarder::Options Options() const;
    /// " of the resource group '...'", empty for the node's own settings.
    std::string OfGroup() const;
    const std::string& TargetId() const { return targetId; }
    bool IsOfGroup() const { return !resourceGroup.empty(); }
    /// Whether a program reads what one node says: it gets it exactly. Else a node's words drive no terminal, and look
    /// like no other node's.
    bool IsForPrograms() const;
    /// Lines as this command prints them.
    std::string Shown(const std::string& lines) const;

    lumtools::Lazy<LumConfPar::SettingsForwarder> forwarder;

private:
    std::string resourceGroup, targetId;
};

}  // namespace lumsettings
