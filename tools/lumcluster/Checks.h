/// @file
/// What a node needs to follow a cluster, looked into one by one.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "PolicyContainer.h"
#include "common/Table.h"
#include "lumcluster/Facts.h"
#include "lumcluster/Follower.h"
#include "lumcluster/Look.h"

namespace lumcluster {

/// What came of one check.
struct Finding {
    enum class State {
        Ok,
        Note,     ///< may be meant so
        Warning,  ///< works, but not as one would think
        Failed    ///< the node does not follow its cluster, or not wholly, until this is mended
    };
    State state = State::Ok;
    std::string check;  ///< a word or two
    std::string finding;
    std::string advice;  ///< what to do; empty where nothing is to be done
};

using Findings = std::vector<Finding>;

const char* DisplayText(Finding::State state) noexcept;

/// What all checks look at; made once.
struct Subject {
    Keys keys;
    Sight sight;
    GroupAnswers answers;  ///< what the tools tell of single groups
    Follower follower;
    /// The installed policies, as far as they can be read.
    LumConf::PolicyContainer policies;
    std::string policyProblem;  ///< why they cannot be; empty when they can
    bool isOwner = true;        ///< this user is the one that the daemon runs as

    /// Asks the cluster. @throws as Look
    static Subject Take();
};

/// Each adds its findings.
void CheckUser(const Subject& subject, Findings& findings);
void CheckDaemon(const Subject& subject, Findings& findings);
void CheckProduct(const Subject& subject, Findings& findings);
void CheckTools(const Subject& subject, Findings& findings);
void CheckLocalName(const Subject& subject, Findings& findings);
void CheckKeys(const Subject& subject, Findings& findings);
void CheckWriteBack(const Subject& subject, Findings& findings);
void CheckApplicationFiles(const Subject& subject, Findings& findings);
void CheckApplications(const Subject& subject, Findings& findings);
void CheckPolicies(const Subject& subject, Findings& findings);

/// All of them, in the order in which one would mend what is wrong.
Findings CheckAll(const Subject& subject);

/// A line for each, with what to do below it, without control characters but the colours of the layout.
std::string TextOf(const Findings& findings, bool isEverythingWanted, const lumtools::TableLayout& layout = {});
nlohmann::ordered_json ToJson(const Findings& findings);

}  // namespace lumcluster
