/// @file
/// Where the resources of Pacemaker may run.
#pragma once

#include <vector>

#include "LumPalStr.h"
#include "PcmkCib.h"
#include "PcmkOutput.h"

namespace LumConfCluster {

/// The names of the nodes on which a resource may run, of those that the sight tells, those with the highest score
/// first: all but those with a ban, with location constraints on the resource or ones inside that add up to -INFINITY,
/// or in an opt-in cluster without any score, or with ones below 0. The case of their names does not count. A pattern
/// means the resource that it matches, and none inside. A rule counts where it compares names of nodes; another one
/// keeps nobody away but by a ban, which crm_mon tells. The nodes inside containers of bundles are for nobody else. Any
/// thread.
std::vector<LumPalStr::String_t> PcmkNodesOf(const PcmkResource& resource, const PcmkSight& sight, const PcmkCib& cib);

}  // namespace LumConfCluster
