/// @file
/// What every product's side of a cluster inherits.
#pragma once

#include <cstdint>
#include <map>

#include "LumConfCluster/ClusterNodes.h"
#include "LumConfCluster/ClusterResourceGroups.h"
#include "LumConfCluster/ClusterStates.h"
#include "LumConfCluster/ClusterType.h"
#include "LumPalConfig.h"
#include "LumPalRef.h"
#include "LumPalStr.h"
#include "StateWords.h"
#include "ToolLine.h"

namespace LumConfCluster {

/// The base of the adapters: one for each product, which asks the product by its tools and knows its words.
/// A constructor fills the fields and may throw ClusterException; an operation that a product lacks is refused with the
/// number of the type. One thread at a time uses an adapter; nothing is remembered between calls.
class ClusterImpl : public LumPalRef::RefCounted_t {
public:
    ~ClusterImpl() override;
    /// See Cluster.
    virtual LumPalStr::String_t GetLocalNodeName() const { return {}; }
    virtual ClusterState GetState();
    virtual ClusterNodes GetNodes();
    virtual ClusterResourceGroups GetGroups();
    virtual ClusterNodes GetGroupNodes(LumPalStr::String_t group);
    virtual LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group);
    /// What the configuration makes of a product's word for a group's state: the value of the attribute of this name is
    /// "ONLINE" or "UNKNOWN", in any case. Everything else is Offline, also a word that is not there: only who says so
    /// puts a group on line.
    virtual RGState MapGroupState(const LumPalStr::String_t& word);

    const LumPalStr::String_t& GetName() const noexcept { return name; }
    ClusterType GetType() const noexcept { return type; }

protected:
    explicit ClusterImpl(ClusterType type) : type(type) {}
    /// Fills the table of tools: program `program` of the folder becomes the tool of the index, in double quotes. What
    /// LUM_SUDO holds, and a blank, stand before it.
    void AddTool(std::int32_t index, const LumPalStr::String_t& folder, const char* program);
    /// A line that runs the tool of the index.
    ToolLine Tool(std::int32_t index) const { return ToolLine(commands.at(index)); }
    /// This node as the product calls it: CLUSTER_LOCAL_NODENAME of "conf.cluster", else the system's own name for it.
    /// @param command  prints that name; without it the one that serves most products
    static LumPalStr::String_t LocalNodeName();
    static LumPalStr::String_t LocalNodeName(const LumPalStr::String_t& command);
    static LumPalStr::String_t ConfiguredNodeName();
    /// Ends a constructor: opens the namespace "conf.cluster" with the suffix behind it, where the states of groups may
    /// be mapped; empty or unreadable, it is traced, and the adapter's own table counts.
    void OpenGroupStates(const char* suffix);
    /// By that namespace (where a "|" of the word is an underscore) or else by the table.
    RGState GroupStateOf(const LumPalStr::String_t& word);
    /// The warning ClusterLocalGroupStateUnknown; in the application log too when this process monitors the cluster.
    static void ReportUnknownLocalState(const LumPalStr::String_t& group);

    LumPalStr::String_t name;
    ClusterType type;
    std::map<std::int32_t, LumPalStr::String_t> commands;  ///< the beginnings of tool lines
    StateWords<NodeState> nodeStates;
    StateWords<RGState> groupStates;
    StateWords<ClusterState> clusterStates;
    LumPalConfig::Configuration_t groupStateConfig;
    bool groupStateConfigured = false;
};

}  // namespace LumConfCluster
