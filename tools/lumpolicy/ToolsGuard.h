/// @file
/// What changes of policies come to for this node's own tools: settings policies say where these find it.
#pragma once

#include <string>
#include <vector>

#include "PolicyContainer.h"
#include "SettingsMerge.h"
#include "lumpolicy/ApplyPlan.h"
#include "lumpolicy/InstallChoices.h"

namespace lumpolicy {

bool IsOfSettings(const LumConf::PolicyHeader& header);

/// Installs the policies of header files as a node would; those of other types are left out.
void ImagineInstalls(LumConfPar::SettingsMerge& merge, const std::vector<std::string>& files,
                     const InstallChoices& choices);
/// Makes them be as they are wanted.
void ImagineWanted(LumConfPar::SettingsMerge& merge, const std::vector<DesiredPolicy>& wanted, const Pruning& pruning);
/// The ids of the settings policies among some, with blanks between them.
LumPalStr::String_t SettingsIdsAmong(const LumConf::PolicyContainer& policies);

}  // namespace lumpolicy
