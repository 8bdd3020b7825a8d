/// @file
/// What the tools of Kestrel print.
#pragma once

#include <cstdint>
#include <vector>

#include "LumPalStr.h"
#include "ToolText.h"

namespace LumConfCluster {

/// A member of the cluster.
struct KesMember {
    LumPalStr::String_t name;  ///< of its host, without a domain
    std::uint16_t id;
    LumPalStr::String_t word;  ///< of the state
};

/// What a resource group is made of: a resource that is an application.
struct KesResource {
    LumPalStr::String_t name;
    LumPalStr::String_t word;
    LumPalStr::String_t host;  ///< empty where it runs nowhere
};

/// The cluster's name in its record, the first line that is printed.
LumPalStr::String_t KesClusterName(const LumPalStr::String_t& record);
/// The members of the records behind the cluster's.
/// @throws LumPalMsg::RuntimeException_t for a record without six fields, or without a number below 65535 for its id
std::vector<KesMember> KesMembers(const ToolLines& lines);
/// The applications of the table of resources.
std::vector<KesResource> KesApplications(const ToolLines& lines);
/// Whether a profile lets its resource run on its hosting members alone.
bool KesIsRestricted(const ToolLines& profile);
ToolLines KesHostingMembers(const ToolLines& profile);

}  // namespace LumConfCluster
