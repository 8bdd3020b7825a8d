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
/// Whether the data of a settings policy, which lies beside its header file, names a key on which it depends whether
/// the tools reach the node.
bool MayConcernTools(const std::string& file, const LumConf::PolicyHeader& header);

/// Installs the policy of a header file as a node would; one of another type is left out.
/// @throws LumPalMsg::Exception_t for one that cannot be read
void ImagineInstall(LumConfPar::SettingsMerge& merge, const std::string& file, const InstallChoices& choices);
/// The same of several, without those that cannot be.
void ImagineInstalls(LumConfPar::SettingsMerge& merge, const std::vector<std::string>& files,
                     const InstallChoices& choices);
/// Makes them be as they are wanted.
void ImagineWanted(LumConfPar::SettingsMerge& merge, const std::vector<DesiredPolicy>& wanted, const Pruning& pruning);
/// The ids of the settings policies among some, with blanks between them.
LumPalStr::String_t SettingsIdsAmong(const LumConf::PolicyContainer& policies);

}  // namespace lumpolicy
