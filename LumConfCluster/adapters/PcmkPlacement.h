/// @file
/// Where the resources of Pacemaker may run.
#pragma once

#include <vector>

#include "LumPalStr.h"
#include "PcmkCib.h"
#include "PcmkOutput.h"

namespace LumConfCluster {

/// The names of the nodes on which a resource may run, of those that the sight tells, those with the highest score
/// first: all but those with location constraints on the resource or ones inside that add up to -INFINITY, or in an
/// opt-in cluster without any score, or with ones below 0. The case of their names does not count. A pattern means the
/// resource that it matches, and none inside. resource-discovery=exclusive counts. Rules count that hold names, ids,
/// kinds or attributes of nodes against a text; what compares numbers or times, and a constraint with a lifetime, keeps
/// away where crm_mon tells a ban by it. A ban counts only where the configuration does not tell everything. The nodes
/// inside containers of bundles are for nobody else, and a guest, a connection, or a bundle with nodes of its own runs
/// on no remote node. Any thread.
std::vector<LumPalStr::String_t> PcmkNodesOf(const PcmkResource& resource, const PcmkSight& sight, const PcmkCib& cib);

}  // namespace LumConfCluster
