/// @file
/// What an install would do to the policies of a node.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "PolicyHeader.h"
#include "common/Outcome.h"
#include "lumpolicy/InstallChoices.h"

namespace lumpolicy {

/// The policy as its document, the options and what the node lists make it, or why the node would refuse it. What a
/// node does not list (limits of a type, what it demands of signatures) it decides by itself.
class ForeseenInstall {
public:
    /// @param sameId, sameName  what is installed under the arriving id, and under the arriving name and type
    ForeseenInstall(const LumConf::PolicyHeader& arriving, const InstallChoices& choices,
                    std::optional<LumConf::PolicyHeader> sameId, std::optional<LumConf::PolicyHeader> sameName);

    /// A line that begins with "would", and one below it for what the policy would be.
    std::string GetText() const;
    /// "id", "name", "type", "action" (install, replace or refuse), "change" (the sentence), "version", "status",
    /// "owner", "categories", "attributes"; as far as there is one "replaces", "removes" and "refused_because".
    nlohmann::ordered_json ToJson() const;
    /// Done; refused, or failed, when the node would do so.
    const lumtools::Outcome& GetOutcome() const { return outcome; }

private:
    void ApplyChoices(const InstallChoices& choices);
    void TakeOver(const InstallChoices& choices);
    void Judge(const InstallChoices& choices);
    void JudgeOwner(const LumConf::PolicyHeader& replaced);
    void Refuse(lumtools::ExitCode code, const std::string& why);
    std::string Sentence() const;

    LumConf::PolicyHeader arriving;
    std::optional<LumConf::PolicyHeader> replaced;   ///< whose place it takes
    std::optional<LumConf::PolicyHeader> displaced;  ///< whose name it takes besides
    bool isUnderNewId = false;
    std::string status, owner;
    std::vector<std::string> categories, attributes;
    lumtools::Outcome outcome;
};

}  // namespace lumpolicy
