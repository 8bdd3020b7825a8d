/// @file
/// The parts of lumpolicy.
#pragma once

#include "common/HostCommand.h"

namespace lumpolicy {

using lumtools::Actions, lumtools::Answer, lumtools::Command, lumtools::HostCommand;
using lumtools::AddCommand, lumtools::Fill, lumtools::OneLine;

/// Each adds its subcommands to the application.
void AddInstall(CLI::App& app, Actions& actions);
void AddChanges(CLI::App& app, Actions& actions);
void AddQueries(CLI::App& app, Actions& actions);
void AddNodeWork(CLI::App& app, Actions& actions);
void AddApply(CLI::App& app, Actions& actions);
void AddExport(CLI::App& app, Actions& actions);
void AddStatus(CLI::App& app, Actions& actions);
void AddLocal(CLI::App& app, Actions& actions);
void AddTrust(CLI::App& app, Actions& actions);

}  // namespace lumpolicy
