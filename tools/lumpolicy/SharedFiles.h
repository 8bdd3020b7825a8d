/// @file
/// Warnings of data files that policies of one type share: a node keeps them as one file.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "LumPalMsg.h"
#include "PolicyForwarder.h"
#include "PolicyHeader.h"
#include "common/Outcome.h"

namespace lumpolicy {

/// The policies that are given to a command. Two with one id, or with one name and type, are the same policy: of these
/// one replaces the other as a whole, and nothing is shared.
class GivenPolicies {
public:
    /// @return a warning for each data file that a policy given before has too; of many the first ones, and a count
    LumPalMsg::MessageList_t Add(const LumConf::PolicyHeader& header);

    /// Asks a node which of its policies name the data files too: one question for each type, none without data files.
    /// A node that does not answer it, since the caller may not list or since it is of an older version, warns of
    /// nothing.
    /// @param warnings  gets a warning for each file and policy of the node; of many the first ones, and a count
    /// @return done, or unreachable
    lumtools::Outcome AskNode(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                              const std::string& targetId, LumPalMsg::MessageList_t& warnings) const;

private:
    /// Of one type: each data file, with the given policies that name it.
    using Naming = std::map<LumPalStr::String_t, std::vector<LumConf::PolicyHeader>>;

    std::map<LumPalStr::String_t, Naming> types;
};

}  // namespace lumpolicy
