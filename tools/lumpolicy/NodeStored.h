/// @file
/// What a node tells of its policies whole.
#pragma once

#include <string>
#include <vector>

#include "PolicyForwarder.h"
#include "StoredPolicy.h"

namespace lumpolicy {

/// The selected policies with their documents and the digests or contents of their data; none when the node has none of
/// them, which is no failure. @param otherwise  a sentence on what to do with a node of an older version; may be empty
/// @throws as LumConf::PolicyForwarder::ReadStored; LumVoxSoap::SOAPFaultException that says that the node is older
std::vector<LumConf::StoredPolicy> ReadFromNode(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                                                const LumConf::Selection& selection, LumConf::StoredFiles what,
                                                const std::string& targetId, const std::string& otherwise = "");

}  // namespace lumpolicy
