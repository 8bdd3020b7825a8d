/// @file
/// Policies as the commands show them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "PolicyContainer.h"
#include "PolicyForwarder.h"
#include "PolicyHeader.h"
#include "PolicyProof.h"
#include "common/Selections.h"

namespace lumpolicy {

/// The selected policies of a node; an empty container also when the node has none.
LumConf::PolicyContainer ListOf(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                                const lumtools::Selections& selections, const std::string& targetId = "");
/// Likewise, but at least one. @throws LumConf::PolicyNotFoundError, also for an id, which a node answers with an
///         empty list; LumConf::NoPoliciesInstalledError
LumConf::PolicyContainer ListSome(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                                  const lumtools::Selections& selections, const std::string& targetId);

/// What a list over the wire carries.
nlohmann::ordered_json ToJson(const LumConf::PolicyHeader& header);

/// "backup (type cron, id 1a2b)", without control characters.
std::string NameOf(const LumConf::PolicyHeader& header);

/// "a, b, c"
std::string CategoriesOf(const LumConf::PolicyHeader& header);

/// All that a list over the wire carries, one field a line.
std::string FieldsOf(const LumConf::PolicyHeader& header);

/// "signed by 'x', issued by 'y', valid until ...", as the document says.
std::string Sentence(const LumConf::PolicySigner& signer);
/// Whether its document bears no certificate at all.
bool IsUnsigned(const LumConf::PolicyHeader& header);
/// The same sentence of a policy, also of one that is not signed.
std::string SignerOf(const LumConf::PolicyHeader& header);
/// Null when there is no certificate that can be read.
nlohmann::ordered_json ToJson(const LumConf::PolicySigner& signer);

}  // namespace lumpolicy
