/// @file
/// The difference of two policies, as people read it.
#pragma once

#include <map>
#include <string>

#include "PolicyHeader.h"
#include "StoredPolicy.h"
#include "lumpolicy/DesiredState.h"

namespace lumpolicy {

/// One side of a difference.
struct PolicySide {
    std::string header;                       ///< its fields, one a line; empty when there is no such policy
    std::map<std::string, std::string> data;  ///< contents by name

    PolicySide() = default;
    /// Without data.
    explicit PolicySide(const LumConf::PolicyHeader& header);
    /// @param has  with the contents of its data files
    explicit PolicySide(const LumConf::StoredPolicy& has);
    /// Reads the data files. @throws what reading throws
    explicit PolicySide(const DesiredPolicy& wanted);
};

/// A unified diff of the headers' fields, and of each data file that is not alike: of one that is no text it is said
/// that it differs. @param name  of the policy @throws LumPalIo::IOException_t when diff(1) cannot be run
std::string UnifiedDiff(const std::string& name, const PolicySide& node, const PolicySide& wanted);

}  // namespace lumpolicy
