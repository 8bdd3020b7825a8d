// What applications list, and what policies name.
#include <map>
#include <set>

#include "LumConfCluster/ApplicationNames.h"
#include "common/Arguments.h"
#include "common/Outcome.h"
#include "lumcluster/Checks.h"
#include "lumcluster/Reasons.h"

namespace lumcluster {

using LumConf::PolicyHeader;
using State = Finding::State;

namespace {

void CheckListed(const ApplicationFacts& application, const std::string& listed, const Subject& subject,
                 Findings& findings) {
    // One that no name can be is told with its file.
    if (!CanBeListed(listed) || !subject.policyProblem.empty()) return;
    for (int i = 0; i < subject.policies.GetCount(); ++i) {
        if (Means(listed, subject.policies.GetPolicyHeader(i))) return;
    }
    findings.push_back(
        {State::Note, "applications",
         "the application '" + application.name + "' lists the policy '" + listed + "', which is not installed",
         "install it, if it is wanted here"});
}

/// A policy can be switched by attributes and by applications at the same time; they need not agree.
void CheckFollowing(const PolicyHeader& policy, const Explanation& explanation, Findings& findings) {
    std::set<std::string> applications;
    for (const Listing& listing : explanation.listings) {
        if (!listing.instances.empty()) applications.insert(listing.application);
    }
    const bool hasAttributes = !explanation.attributes.empty();
    if (applications.size() + (hasAttributes ? 1 : 0) < 2) return;
    std::string named = hasAttributes ? "its attributes" : "";
    for (const std::string& application : applications) {
        named += (named.empty() ? "" : " and ") + ("the application '" + application + "'");
    }
    findings.push_back({State::Warning, "policies",
                        "'" + policy.GetName().ToUtf8() + "' follows " + named + ": " +
                            (explanation.inEveryCycle ? "it is switched off and on in every cycle"
                                                      : "when they differ it is switched off and on in every cycle"),
                        "let only one of them name it"});
}

void CheckGroups(const PolicyHeader& policy, const Explanation& explanation, const Sight& sight, Findings& findings) {
    if (!sight.AreGroupsSeen()) return;
    for (const Tie& tie : explanation.attributes) {
        const GroupFacts* const group = tie.isNoGroup ? nullptr : sight.FindGroup(tie.group);
        if (group && group->isEverywhere) {
            findings.push_back({State::Warning, "policies",
                                "'" + policy.GetName().ToUtf8() + "' names the group '" + tie.group +
                                    "', which runs as copies on several nodes: it does not enable it",
                                "mend its attribute " + tie.by});
        }
        if (tie.isNoGroup || tie.isGroupKnown) continue;
        findings.push_back({State::Warning, "policies",
                            "'" + policy.GetName().ToUtf8() + "' names the group '" + tie.group +
                                "', which is none of the cluster: it does not enable it",
                            "mend its attribute " + tie.by});
    }
}

/// Look-ups of the monitor take them for one another.
/// @param whose  of instances
template <class T>
void CheckAlike(const std::vector<T>& facts, const std::string& whose, Findings& findings) {
    std::vector<LumPalStr::String_t> names;
    for (const T& each : facts) names.push_back(lumtools::Text(each.name));
    for (const auto& [name, first] : LumConfCluster::FindAlikeButForCase(names)) {
        findings.push_back({State::Warning, "applications",
                            std::string("the names of the ") + (whose.empty() ? "applications" : "instances") + " '" +
                                first.ToUtf8() + "' and '" + name.ToUtf8() + "'" + whose +
                                " differ in nothing but the case: commands of the second one may run in every cycle",
                            "give one of them another name"});
    }
}

}  // namespace

void CheckApplications(const Subject& subject, Findings& findings) {
    CheckAlike(subject.sight.applications, "", findings);
    for (const ApplicationFacts& application : subject.sight.applications) {
        const std::set<std::string> listed(application.policies.begin(), application.policies.end());
        for (const std::string& each : listed) CheckListed(application, each, subject, findings);
        CheckAlike(application.instances, " of the application '" + application.name + "'", findings);
        if (application.ambiguous.empty()) continue;
        findings.push_back(
            {State::Warning, "applications",
             "the application '" + application.name + "' has several instances named " + application.ambiguous,
             "give each a name of its own; lumappinstance tells nothing of them"});
    }
}

void CheckPolicies(const Subject& subject, Findings& findings) {
    if (!subject.policyProblem.empty()) {
        findings.push_back({State::Warning, "policies", "not all of them can be read: " + subject.policyProblem,
                            "run it as the user that owns the node's root, or as root"});
    }
    int tied = 0;
    for (int i = 0; i < subject.policies.GetCount(); ++i) {
        const PolicyHeader policy = subject.policies.GetPolicyHeader(i);
        const Explanation explanation = Explain(policy, subject.sight, HasAddress);
        tied += explanation.IsTied() ? 1 : 0;
        CheckFollowing(policy, explanation, findings);
        CheckGroups(policy, explanation, subject.sight, findings);
    }
    const std::string count = std::to_string(tied) + " of " + std::to_string(subject.policies.GetCount()) +
                              " installed policies follow the cluster",
                      why = subject.sight.WhyApplicationsAreMissing();
    if (why.empty()) return findings.push_back({State::Ok, "policies", count, ""});
    findings.push_back({State::Note, "policies", count + ", as far as it is known: " + why, "mend that; see above"});
}

}  // namespace lumcluster
