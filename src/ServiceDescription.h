/// @file
/// What the node tells clients of any make of its methods, their arguments and results.
#pragma once

#include "LumVoxRpc.h"

namespace LumConf {

/// The methods of the main server.
LumVoxRpc::Description DescribePolicyService();
/// The methods of the server that answers also while a policy is being installed.
LumVoxRpc::Description DescribeCheckService();

}  // namespace LumConf
