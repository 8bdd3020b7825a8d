#include "ClusterMscs.h"

#include <algorithm>
#include <iterator>

#include "ClusterNodeImpl.h"
#include "ClusterProducts.h"
#include "ClusterResourceGroupImpl.h"
#include "LoggedFailure.h"
#include "ToolText.h"
#include "Tried.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

constexpr std::uint32_t kCommonProperties = 0x1000059;
constexpr std::uint32_t kPrivateProperties = 0x1000081;
constexpr std::int32_t kUnknown = -1;
constexpr std::uint32_t kComputerNameRoom = 16;

/// What the configuration maps, by the number of the state.
constexpr const char* kGroupWords[]{"ClusterGroupOnline", "ClusterGroupOffline", "ClusterGroupFailed",
                                    "ClusterGroupPartialOnline"};

String_t WordOf(std::int32_t state) {
    const bool isKnown = state >= 0 && state < static_cast<std::int32_t>(std::size(kGroupWords));
    return isKnown ? kGroupWords[state] : "ClusterGroupStateUnknown";
}

/// Of a node as of a group: the first state is the good one.
template <class State>
State Translated(std::int32_t state) {
    if (state == 0) return State::Online;
    return state == kUnknown ? State::Unknown : State::Offline;
}

ClusterNodes Common(const ClusterNodes& some, const ClusterNodes& others) {
    const ClusterNodes common;
    for (int i = 0; i < some.Count(); ++i) {
        const ClusterNode node = some[i];
        Tried([&] {
            others[node.GetName()];
            common.GetImpl()->Add(node);
        });
    }
    return common;
}

}  // namespace

ClusterMscs::ClusterMscs(const ClusterProduct& product, LumPalMscs::System_i& system)
    : ClusterImpl(product.type), system(system), libraries(system) {
    libraries.Load();
    api = system.MakeApi(libraries.Bind());
    calls = std::make_unique<MscsCalls>(system, *api);
    MscsHandle cluster = OpenCluster();
    name = ReadName(cluster.Get());
    Close(cluster);
    OpenGroupStates(product.stateSuffix);
}

MscsHandle ClusterMscs::OpenCluster() const {
    const LumPalMscs::Handle_t cluster = api->OpenCluster(nullptr);
    if (!cluster) TraceAndRaise(msg::MscsNotOpened, system.GetLastError());
    return {cluster, [this](LumPalMscs::Handle_t handle) { api->CloseCluster(handle); }};
}

void ClusterMscs::Close(MscsHandle& cluster) const {
    if (!api->CloseCluster(cluster.Release())) TraceAndRaise(msg::MscsNotReleased, system.GetLastError());
}

MscsHandle ClusterMscs::OpenNode(LumPalMscs::Handle_t cluster, const String_t& node) const {
    const LumPalMscs::Handle_t opened = api->OpenClusterNode(cluster, node);
    if (!opened) TraceAndRaise(msg::MscsNodeNotOpened, system.GetLastError());
    return {opened, [this](LumPalMscs::Handle_t handle) { api->CloseClusterNode(handle); }};
}

MscsHandle ClusterMscs::OpenGroup(LumPalMscs::Handle_t cluster, const String_t& group) const {
    return {api->OpenClusterGroup(cluster, group),
            [this](LumPalMscs::Handle_t handle) { api->CloseClusterGroup(handle); }};
}

MscsHandle ClusterMscs::OpenResource(LumPalMscs::Handle_t cluster, const String_t& resource) const {
    const LumPalMscs::Handle_t opened = api->OpenClusterResource(cluster, resource);
    if (!opened) TraceAndRaise(msg::MscsResourcesNotRead, system.GetLastError());
    return {opened, [this](LumPalMscs::Handle_t handle) { api->CloseClusterResource(handle); }};
}

String_t ClusterMscs::ReadName(LumPalMscs::Handle_t cluster) const {
    std::uint32_t length = 0;
    std::uint32_t result = api->GetClusterInformation(cluster, nullptr, length);
    if (result != LumPalMscs::Success && result != LumPalMscs::MoreData) TraceAndRaise(msg::MscsNameNotRead, result);
    const std::uint32_t room = length + 1;
    const MscsHandle text(system.Calloc(room, sizeof(char16_t)),
                          [this](LumPalMscs::Handle_t bytes) { system.Free(bytes); });
    if (!text.Get()) TraceAndRaise(msg::MscsNoMemory, LumPalStr::NumToStr(std::size_t{room} * sizeof(char16_t)));
    length = room;
    result = api->GetClusterInformation(cluster, static_cast<char16_t*>(text.Get()), length);
    if (result != LumPalMscs::Success) TraceAndRaise(msg::MscsNameNotRead, result);
    return MscsText(static_cast<const char16_t*>(text.Get()), std::min(length, room - 1));
}

ClusterState ClusterMscs::GetState() {
    try {
        MscsHandle cluster = OpenCluster();
        Close(cluster);
    } catch (const ClusterException& e) {
        if (e.GetMessageList().GetMessage(0).GetId() != msg::MscsNotOpened.id) throw;
        return ClusterState::Down;
    }
    return ClusterState::Up;
}

ClusterNode ClusterMscs::MakeNode(LumPalMscs::Handle_t cluster, const String_t& node) const {
    const MscsHandle opened = OpenNode(cluster, node);
    String_t id;
    const auto askId = [&](char16_t* text, std::uint32_t& length) {
        return api->GetClusterNodeId(opened.Get(), text, length);
    };
    if (!calls->Ask(askId, id, {msg::MscsNodeIdNoRoom, msg::MscsNodeIdNotRead}))
        TraceAndRaise(msg::MscsNodeIdNotRead, LumPalMscs::NoMoreItems);
    return NodeOf(node.ToLower(), NumberIn(id, ClusterNodeImpl::kUnknownId),
                  Translated<NodeState>(api->GetClusterNodeState(opened.Get())));
}

ClusterNodes ClusterMscs::MakeNodes(LumPalMscs::Handle_t cluster, const std::vector<String_t>& names) const {
    const ClusterNodes nodes;
    for (const String_t& node : names) nodes.GetImpl()->Add(MakeNode(cluster, node));
    return nodes;
}

ClusterNodes ClusterMscs::GetNodes() {
    MscsHandle cluster = OpenCluster();
    const ClusterNodes nodes = MakeNodes(cluster.Get(), calls->Names(cluster.Get(), kMscsNodes));
    Close(cluster);
    return nodes;
}

String_t ClusterMscs::LocalName() const {
    const String_t configured = ConfiguredNodeName();
    if (configured.IsNotEmpty()) return configured;
    char text[kComputerNameRoom] = "";
    std::uint32_t length = kComputerNameRoom;
    if (!system.GetComputerNameA(text, length)) TraceAndRaise(msg::MscsLocalNameNotRead, system.GetLastError());
    text[kComputerNameRoom - 1] = '\0';
    return text;
}

RGState ClusterMscs::StateOf(std::int32_t state) {
    return groupStateConfigured ? MapGroupState(WordOf(state)) : Translated<RGState>(state);
}

ClusterResourceGroup ClusterMscs::MakeGroup(LumPalMscs::Handle_t cluster, const String_t& groupName, std::uint16_t id,
                                            const String_t& local) {
    const MscsHandle opened = OpenGroup(cluster, groupName);
    if (!opened.Get()) TraceAndRaise(msg::MscsGroupsNotRead, system.GetLastError());
    std::uint32_t length = 0;
    api->GetClusterGroupState(opened.Get(), nullptr, length);  // only for the length of the owner's name
    const std::uint32_t room = length + 1;
    const MscsBuffer buffer(system, (std::size_t{length} + 1) * sizeof(char16_t), msg::MscsGroupsNoRoom);
    length = room;
    const std::int32_t state = api->GetClusterGroupState(opened.Get(), buffer.Text(), length);
    const String_t owner = MscsText(buffer.Text(), room - 1);

    const ClusterResourceGroup group;
    ClusterResourceGroupImpl& record = *group.GetImpl();
    record.name = groupName;
    record.id = id;
    record.state = StateOf(state);
    record.localState = owner == local ? record.state : RGState::Offline;
    if (record.state != RGState::Online) return group;
    const ClusterNodes nodes = GetGroupNodes(groupName);
    Tried([&] { record.activeNode = nodes[owner]; });
    return group;
}

ClusterResourceGroups ClusterMscs::GetGroups() {
    const String_t local = LocalName();
    MscsHandle cluster = OpenCluster();
    const ClusterResourceGroups groups;
    for (const String_t& group : calls->Names(cluster.Get(), kMscsGroups)) {
        const auto id = static_cast<std::uint16_t>(groups.Count());
        groups.GetImpl()->Add(MakeGroup(cluster.Get(), group, id, local));
    }
    Close(cluster);
    return groups;
}

ClusterNodes ClusterMscs::GetGroupNodes(String_t group) {
    ClusterNodes nodes = GetNodes();
    MscsHandle cluster = OpenCluster();
    {
        const MscsHandle opened = OpenGroup(cluster.Get(), group);
        if (!opened.Get()) TraceAndRaise(msg::MscsGroupNotOpened, group, system.GetLastError());
        for (const String_t& name : calls->Names(opened.Get(), kMscsResourcesOfGroup)) {
            const MscsHandle resource = OpenResource(cluster.Get(), name);
            nodes = Common(nodes, MakeNodes(cluster.Get(), calls->Names(resource.Get(), kMscsNodesOfResource)));
        }
    }
    Close(cluster);
    return nodes;
}

String_t ClusterMscs::AddressOf(LumPalMscs::Handle_t cluster, const String_t& resource) const {
    const MscsHandle opened = OpenResource(cluster, resource);
    const MscsProperties common = calls->Properties(opened.Get(), kCommonProperties, msg::MscsCommonPropertiesNotRead);
    if (calls->Property(common, u"Type", msg::MscsTypeNotRead) != "IP Address") return String_t::Null();
    const MscsProperties own = calls->Properties(opened.Get(), kPrivateProperties, msg::MscsPrivatePropertiesNotRead);
    return calls->Property(own, u"Address", msg::MscsAddressNotRead);
}

String_t ClusterMscs::GetVirtualIP(String_t group) {
    MscsHandle cluster = OpenCluster();
    String_t address = "";
    {
        const MscsHandle opened = OpenGroup(cluster.Get(), group);
        if (!opened.Get()) TraceAndRaise(msg::MscsGroupsNotRead, system.GetLastError());
        for (const String_t& resource : calls->Names(opened.Get(), kMscsResourcesOfGroup)) {
            const String_t found = AddressOf(cluster.Get(), resource);
            if (found.IsNotNull()) address = found;  // kept: the last one counts
        }
    }
    Close(cluster);
    return address;
}

}  // namespace LumConfCluster
