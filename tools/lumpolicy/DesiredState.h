/// @file
/// What a node has against what it should have.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "PolicyHeader.h"
#include "StoredPolicy.h"

namespace lumpolicy {

/// A policy as the operator wants it, read once for all nodes. A value.
struct DesiredPolicy {
    std::string file;  ///< of the header, as it was given or found
    LumConf::PolicyHeader header;
    std::map<std::string, std::string> digests;  ///< of the data files beside it, 32 bytes each
    std::uint64_t bytes = 0;                     ///< of the document and the data files

    /// @throws what reading the header or a data file throws, with the name of the file; LumPalMsg::RuntimeException_t
    ///         for a data file in another folder, and for a status that is neither word: it is no state to have
    static DesiredPolicy Read(const std::string& file);
};

/// The header files that the arguments name: those of a folder, and of the folders in it, sorted by their names.
/// @throws LumPalMsg::IllegalArgumentError_t for a folder without any
std::vector<std::string> FindHeaders(const std::vector<std::string>& filesAndFolders);

/// Reads all of them. @throws as these two; LumPalMsg::IllegalArgumentError_t for what cannot all be at once: one id
///         twice, one name of a type twice, a data file of a type with two contents
std::vector<DesiredPolicy> ReadDesired(const std::vector<std::string>& filesAndFolders);

/// Whether the cluster decides the status of the policy.
bool FollowsCluster(const LumConf::PolicyHeader& header);

/// One field of a header in which two policies differ, as texts for people.
struct Difference {
    std::string field, was, wanted;
    bool isOfData = false;  ///< which data files, or the contents of one: digests in hexadecimal digits
};

/// The differences of a policy that a node has, in the order of the document; empty when it need not be touched.
/// Categories, attributes and data files are sets. The status of a policy that follows a cluster is no difference.
std::vector<Difference> Compare(const LumConf::StoredPolicy& has, const DesiredPolicy& wanted);

/// The fields of a header that are compared, one a line.
std::string LinesOf(const LumConf::PolicyHeader& header);

}  // namespace lumpolicy
