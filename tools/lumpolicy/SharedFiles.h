/// @file
/// Warnings of data files that policies of one type share: a node keeps them as one file, and takes it away with one.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "LumPalMsg.h"
#include "PolicyForwarder.h"
#include "PolicyHeader.h"
#include "StoredPolicy.h"
#include "common/Outcome.h"
#include "common/Selections.h"

namespace lumpolicy {

/// The policies that are given to a command. Two with one id, or with one name and type, are the same policy: of these
/// one replaces the other as a whole, and nothing is shared.
class GivenPolicies {
public:
    /// @return a warning for each data file that a policy given before has too; of many the first ones, and a count
    LumPalMsg::MessageList_t Add(const LumConf::PolicyHeader& header);
    /// One that a node has and that goes: with its files those of others that name them too, but for what goes as well.
    void AddGoing(const LumConf::PolicyHeader& header);
    bool IsEmpty() const { return types.empty(); }

    /// Asks a node which of its policies name the data files too: one question for each type, none without data files.
    /// A node that does not answer it, since the caller may not list or since it is of an older version, warns of
    /// nothing.
    /// @param warnings  gets a warning for each file and policy of the node; of many the first ones, and a count
    /// @return done, or unreachable
    lumtools::Outcome AskNode(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                              const std::string& targetId, LumPalMsg::MessageList_t& warnings) const;
    /// Likewise, without a question, of policies that a node is known to have.
    /// @param told  policies whose common files were told before: no word of these again
    void Compare(const std::vector<LumConf::StoredPolicy>& installed, const std::string& host,
                 const GivenPolicies& told, LumPalMsg::MessageList_t& warnings) const;

private:
    LumPalMsg::MessageList_t AddOne(const LumConf::PolicyHeader& header);

    /// The given policies that name a data file, by their ids.
    using Policies = std::map<LumPalStr::String_t, LumConf::PolicyHeader>;
    /// Of one type: each data file, with the policies that name it.
    using Naming = std::map<LumPalStr::String_t, Policies>;
    class Comparison;

    const Policies* FindNaming(const LumPalStr::String_t& type, const LumPalStr::String_t& file) const;
    bool DoesName(const LumConf::PolicyHeader& policy, const LumPalStr::String_t& file) const;

    std::map<LumPalStr::String_t, Naming> types;
    std::set<LumPalStr::String_t> going;  ///< ids
    bool isAllGoing = true;
};

/// Asks a node whether the removal of the selected policies would take data files of others along: for what they name,
/// and then as GivenPolicies::AskNode.
/// @return done, or unreachable
lumtools::Outcome AskOfRemoval(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                               const lumtools::Selections& selections, const std::string& targetId,
                               LumPalMsg::MessageList_t& warnings);

}  // namespace lumpolicy
