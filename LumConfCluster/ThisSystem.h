/// @file
/// Where the products of one kind of system are found, and what differs between the kinds.
#pragma once

#include "LumConfCluster/ClusterType.h"
#include "LumPalStr.h"

namespace LumConfCluster {

struct ClusterProduct;

/// The product that this system belongs to; Unknown for none, or for another one than the configured.
/// @param configured  the value of CLUSTER_TYPE: any text
ClusterType FindProduct(const LumPalStr::String_t& configured);

/// The folder of the tools of VERITAS Cluster Server. @throws LumPalMsg::RuntimeException_t
LumPalStr::String_t VcsFolder(const ClusterProduct& product);

/// What the file of a program ends in.
const char* ProgramSuffix();

/// The line of the program that prints this system's name.
LumPalStr::String_t LocalNodeCommand();

}  // namespace LumConfCluster
