#include "ClusterRhas.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "LumPalPlainFile.h"
#include "LumPalWhole.h"
#include "NodesByName.h"
#include "Reported.h"
#include "Tried.h"
#include "XmlSearch.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalIo::File_t;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

enum Tools : std::int32_t { Status, Configuration, Cman };

constexpr const char* kReleaseFile = "/etc/redhat-release";
constexpr const char* kConfigurationFile = "/etc/cluster/cluster.conf";
constexpr const char* kConfigurationTool = "redhat-config-cluster-cmd";
constexpr std::size_t kMostOfRelease = std::size_t{1} << 20;

struct Generation {
    std::int32_t lastRelease;
    RhasGeneration generation;
    const char* configurationFile;
};

constexpr Generation kGenerations[]{{2, RhasGeneration::Below3, "/etc/cluster.conf"},
                                    {3, RhasGeneration::Exactly3, "/etc/cluster.xml"},
                                    {5, RhasGeneration::Above3, kConfigurationFile}};

constexpr StateWords<RGState>::Row kGroupWords[]{{"started", RGState::Online}};

bool IsThere(const char* folder, const char* program) {
    return File_t(String_t(folder), program).Exists();
}

}  // namespace

ClusterRhas::ClusterRhas(const ClusterProduct& product) : ClusterImpl(product.type) {
    try {
        ReadRelease();
        FillTools();
        groupStates = StateWords<RGState>(kGroupWords, RGState::Offline);
        name = AskName();
        LoadConfiguration();
        localNodeName = LocalNodeName();
        OpenGroupStates(product.stateSuffix);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::RhasNotMade, e);
    }
}

void ClusterRhas::ReadRelease() {
    const File_t file(kReleaseFile);
    if (!file.Exists()) Raise<LumPalIo::FileNotFoundException_t>(msg::RhasReleaseNotThere, kReleaseFile);
    bool isWhole = false;
    try {
        const auto release = LumPalIo::ReadWhole(LumPalIo::OpenPlainFile(file), kMostOfRelease);
        isWhole = release.has_value();
        if (isWhole) rhelVersion = RhasReleaseIn(String_t::FromUtf8(release->View()), rhelVersion);
    } catch (const Exception_t& e) {
        Raise<ClusterException>(msg::DataFileNotRead, kReleaseFile, e);
    }
    if (!isWhole) Raise<ClusterException>(msg::DataFileNotRead, kReleaseFile);
}

void ClusterRhas::FillTools() {
    const auto found = std::find_if(std::begin(kGenerations), std::end(kGenerations),
                                    [&](const Generation& row) { return rhelVersion <= row.lastRelease; });
    if (found == std::end(kGenerations)) Raise<ClusterException>(msg::RhasReleaseUnknown, rhelVersion);
    generation = found->generation;
    configurationFile = found->configurationFile;
    if (generation == RhasGeneration::Below3) return AddTool(Status, "/sbin", "cluadmin");
    AddTool(Status, "/usr/sbin", "clustat");
    AddTool(Configuration, "/usr/sbin", kConfigurationTool);
    AddTool(Cman, IsThere("/sbin", "cman_tool") ? "/sbin" : "/usr/sbin", "cman_tool");
}

String_t ClusterRhas::AskName() {
    if (generation == RhasGeneration::Below3) return Tool(Status).Words("-- cluster name").GetOut();
    if (generation == RhasGeneration::Exactly3) {
        if (!IsThere("/usr/sbin", kConfigurationTool)) Raise<ClusterException>(msg::RhasCmdNotThere);
        return RhasClusterName(Tool(Configuration).Words("--cluster").GetOutColl(), generation);
    }
    if (!IsThere("/sbin", "cman_tool") && !IsThere("/usr/sbin", "cman_tool"))
        Raise<ClusterException>(msg::RhasCmanNotThere);
    return RhasClusterName(Tool(Cman).Words("status").GetOutColl(), generation);
}

void ClusterRhas::LoadConfiguration() {
    const File_t file(configurationFile);
    if (!file.Exists()) Raise<ClusterException>(msg::RhasConfNotThere);  // kept: it names one file on every release
    clusterConf.Load(file);
}

std::vector<RhasMember> ClusterRhas::Members() const {
    ToolLine line = Tool(Status);
    if (generation == RhasGeneration::Below3) line.Words("-- cluster status");
    return RhasMembers(line.GetOutColl(), generation);
}

ClusterState ClusterRhas::GetState() {
    return Reported(msg::RhasStateNotRead, msg::RhasStateFailed, [&] {
        const std::vector<RhasMember> members = Members();
        const bool isAnyUp =
            std::any_of(members.begin(), members.end(), [](const RhasMember& member) { return member.isUp; });
        return isAnyUp ? ClusterState::Up : ClusterState::Down;
    });
}

ClusterNodes ClusterRhas::GetNodes() {
    return Reported(msg::ClusterNodesNotRead, msg::RhasNodesFailed, [&] {
        const ClusterNodes nodes;
        for (const auto& [node, isUp] : Members()) {
            const auto id = static_cast<std::uint16_t>(nodes.Count());
            nodes.GetImpl()->Add(NodeOf(node, id, isUp ? NodeState::Online : NodeState::Offline));
        }
        return nodes;
    });
}

std::vector<RhasService> ClusterRhas::Services() const {
    if (generation != RhasGeneration::Below3) return RhasServices(Tool(Status).GetOutColl(), generation, rhelVersion);
    const ToolLines names = Tool(Status).Words("-- service show services").GetOutColl();
    return RhasServicesOf(names, Tool(Status).Words("-- service show state").GetOutColl());
}

ClusterResourceGroup ClusterRhas::MakeGroup(const RhasService& service, std::uint16_t id) {
    const ClusterResourceGroup group;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    record.name = service.name;
    record.id = id;
    record.state = GroupStateOf(service.word);
    if (service.owner) record.localState = *service.owner == localNodeName ? record.state : RGState::Offline;
    return group;
}

ClusterResourceGroups ClusterRhas::GetGroups() {
    return Reported(msg::ClusterGroupsNotRead, msg::RhasGroupsFailed, [&] {
        NodesByName nodes([this] { return GetNodes(); });
        const ClusterResourceGroups groups;
        for (const RhasService& service : Services()) {
            const ClusterResourceGroup group = MakeGroup(service, static_cast<std::uint16_t>(groups.Count()));
            if (service.owner) group.GetImpl()->activeNode = nodes.Find(*service.owner);
            groups.GetImpl()->Add(group);
        }
        return groups;
    });
}

bool ClusterRhas::IsUnknown(const String_t& group) const {
    // The tool ends with a code of its own for a service that does not run, of which the configuration tells all the
    // same.
    bool isUnknown = false;
    Tried([&] { isUnknown = RhasKnowsNothing(Tool(Status).Words("-s").Name(group).GetOutColl()); });
    return isUnknown;
}

ClusterNodes ClusterRhas::NodesOfDomain(const String_t& group) {
    const ClusterNodes nodes;
    const XmlDataNode* const service = FindElement(clusterConf[0], "service", {{"name", group}});
    const String_t domainName = service ? AttributeOf(*service, "domain") : String_t("");
    const XmlDataNode* const domain =
        domainName.IsEmpty() ? nullptr : FindElement(clusterConf[0], "failoverdomain", {{"name", domainName}});
    if (!domain) return nodes;
    const ClusterNodes all = GetNodes();
    NodesByName byName([&] { return all; });
    for (int i = 0; i < domain->ChildrenCount(); ++i) {
        const XmlDataNode& child = (*domain)[i];
        if (child.GetName() == "failoverdomainnode")
            Tried([&] { nodes.GetImpl()->Add(byName[AttributeOf(child, "name")]); });
    }
    return nodes;
}

ClusterNodes ClusterRhas::GetGroupNodes(String_t group) {
    if (generation == RhasGeneration::Above3 && IsUnknown(group)) return {};
    return rhelVersion == 5 ? NodesOfDomain(group) : GetNodes();
}

String_t ClusterRhas::ConfiguredAddress(const String_t& group) const {
    if (!File_t(kConfigurationFile).Exists()) Raise<ClusterException>(msg::RhasConfDoesNotExist, kConfigurationFile);
    const XmlDataNode* const service = FindElement(clusterConf[0], "service", {{"name", group}});
    const XmlDataNode* const address = service ? FindElement(*service, "ip") : nullptr;
    return address ? AttributeOf(*address, "ref") : String_t("");
}

String_t ClusterRhas::GetVirtualIP(String_t group) {
    if (generation == RhasGeneration::Above3) return ConfiguredAddress(group);
    ToolLine line = Tool(generation == RhasGeneration::Below3 ? Status : Configuration);
    if (generation == RhasGeneration::Below3) {
        line.Words("-- service show config").Name(group);
    } else {
        line.NameBehind("--service=", group).Words("--service_ipaddresses");
    }
    return RhasAddress(line.GetOutColl(), generation);
}

}  // namespace LumConfCluster
