/// @file
/// What is known of the cluster at one moment, as plain values. Texts are UTF-8 as they were told: not fit for a
/// terminal.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "common/Outcome.h"

namespace lumcluster {

/// The keys of "conf.cluster" as they are in force; empty where they are not set.
struct Keys {
    std::string type, localNodeName, pollingInterval, monitorMode, toolTimeout;
    bool isMonitorModeOn = false;  ///< as the library reads it
    int pollingIntervalMs = 0;     ///< likewise
    int toolTimeoutSeconds = 0;    ///< likewise

    /// @throws LumPalIo::IOException_t, LumPalCfgFile::SyntaxException_t
    static Keys Read();
};

/// What this node is called.
struct LocalName {
    std::string name;
    bool isConfigured = false;  ///< by CLUSTER_LOCAL_NODENAME
    bool isTold = false;        ///< by the cluster; else it is the system's own

    static LocalName Of(const Keys& keys);
    /// Who says so: "CLUSTER_LOCAL_NODENAME", "told by the cluster" or "the system's own name".
    std::string Source() const;
};

/// Whether the name service knows a name.
using Resolves = std::function<bool(const std::string& name)>;
/// Asks it, and blocks meanwhile.
bool HasAddress(const std::string& name);

/// A node's name held against this node's, by the rule of the monitor: to the letter, and a name of the system's own
/// must have an address besides.
struct Comparison {
    std::string node, local;
    std::string source;  ///< of the local one
    bool isConfigured = false, hasAddress = true, isSame = false;

    static Comparison Of(const LocalName& local, const std::string& node, const Resolves& resolves);
    /// "'beta' is not 'alpha' (CLUSTER_LOCAL_NODENAME)"
    std::string Sentence() const;
};

struct NodeFacts {
    std::string name;
    int id = 0;
    std::string state;
    bool isLocal = false;
    std::string detail = {};  ///< what the product says beyond the state
};

struct GroupFacts {
    std::string name;
    int id = 0;
    std::string state, localState, activeNode;
    std::optional<std::string> address;  ///< nothing when it could not be had
    std::string detail = {};             ///< what the product says beyond the state
    bool isEverywhere = false;           ///< copies on several nodes: nothing can follow it
    bool isSettled = true;               ///< the cluster could know where it runs
};

struct InstanceFacts {
    std::string name, group, state, activeNode;
    bool isHere = false;
};

struct ApplicationFacts {
    std::string name;
    std::vector<InstanceFacts> instances;
    std::vector<std::string> policies;  ///< as it lists them: names, or types and names; each text once
    std::string ambiguous;              ///< names that stand twice in it, with commas between them
};

/// Something that could not be had.
struct Problem {
    std::string what;
    lumtools::Outcome outcome;
};

/// Of what has failed, without the full stop behind it: it becomes a part of a sentence.
std::string FirstMessage(const lumtools::Outcome& outcome);

struct Sight {
    LocalName local;
    bool isClusterSeen = false;
    std::string product, cluster, state;
    std::vector<NodeFacts> nodes;
    std::vector<GroupFacts> groups;
    std::vector<ApplicationFacts> applications;  ///< as far as they could be loaded
    bool isApplicationListThere = false;
    std::vector<Problem> problems;

    bool HasProblem(const char* what) const;
    /// Whether a group that is not among them is none of the cluster.
    bool AreGroupsSeen() const;
    /// Why an application that is configured may not be among them, a part of a sentence; empty when all are.
    std::string WhyApplicationsAreMissing() const;
    /// The first group of this name, whatever its case; null without one.
    const GroupFacts* FindGroup(const std::string& name) const;
};

/// "Online (standby)"
std::string StateWithDetail(const std::string& state, const std::string& detail);

/// The words of the library for states.
inline constexpr char kOnline[] = "Online", kUnknown[] = "Unknown";
inline constexpr char kCluster[] = "cluster", kState[] = "state", kNodes[] = "nodes", kGroups[] = "groups",
                      kApplications[] = "applications";

}  // namespace lumcluster
