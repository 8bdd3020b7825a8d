/// @file
/// The parts of lumcluster.
#pragma once

#include "common/LocalCommand.h"

namespace lumcluster {

using lumtools::Actions, lumtools::Answer, lumtools::LocalCommand;
using lumtools::AddCommand, lumtools::IsGiven, lumtools::OneLine;

/// Each adds its subcommand to the application.
void AddStatus(CLI::App& app, Actions& actions);
void AddExplain(CLI::App& app, Actions& actions);
void AddCheck(CLI::App& app, Actions& actions);
/// --timeout for each of them; behind all others.
void AddPatience(CLI::App& app, Actions& actions);

/// Of what every JSON object says as "schema"; members are added, and never change or go, without a new number.
inline constexpr int kSchema = 1;

}  // namespace lumcluster
