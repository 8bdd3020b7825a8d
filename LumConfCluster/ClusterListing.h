/// @file
/// What lumclusterinfo prints of a cluster.
#pragma once

#include "LumConfCluster/Cluster.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The names of a list of nodes or groups.
template <class List>
LumPalStr::String_t JoinedNames(const List& list, const char* separator) {
    LumPalStr::String_t names;
    for (int i = 0; i < list.Count(); ++i) {
        if (i > 0) names += separator;
        names += list[i].GetName();
    }
    return names;
}

/// The cluster with all of its nodes and groups, in lines of labels and values. @throws as Cluster
LumPalStr::String_t ClusterListing(const Cluster& cluster);

}  // namespace LumConfCluster
