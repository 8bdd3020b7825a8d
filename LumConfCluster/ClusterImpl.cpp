#include "ClusterImpl.h"

#include "ConfBase.h"
#include "LoggedFailure.h"
#include "LumConfCluster/ClusterUtil.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"
#include "Names.h"
#include "ThisSystem.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalConfig::ConfigNamespace_t;
using LumPalStr::String_t;

namespace {

bool IsWord(const String_t& value, const char16_t* word) {
    return LumPalStr::Compare(value, word, true) == 0;
}

/// A name that a configuration can hold.
String_t AsKey(String_t word) {
    for (std::uint32_t i = 0; i < word.GetLength(); ++i) {
        if (word.GetAt(i) == '|') word.SetAt(i, '_');
    }
    return word;
}

int Number(ClusterType type) {
    return static_cast<int>(type);
}

}  // namespace

ClusterImpl::~ClusterImpl() = default;

ClusterState ClusterImpl::GetState() {
    LogAndRaise(msg::ClusterStateNotImplemented, Number(type));
}

ClusterNodes ClusterImpl::GetNodes() {
    LogAndRaise(msg::ClusterNodesNotImplemented, Number(type));
}

ClusterResourceGroups ClusterImpl::GetGroups() {
    LogAndRaise(msg::ClusterGroupsNotImplemented, Number(type));
}

ClusterNodes ClusterImpl::GetGroupNodes(String_t) {
    LogAndRaise(msg::ClusterGroupNodesNotImplemented, Number(type));
}

String_t ClusterImpl::GetVirtualIP(String_t) {
    LogAndRaise(msg::ClusterVirtualIPNotImplemented, Number(type));
}

RGState ClusterImpl::MapGroupState(const String_t& word) {
    const String_t value = groupStateConfig.GetValue(word);
    if (IsWord(value, u"ONLINE")) return RGState::Online;
    return IsWord(value, u"UNKNOWN") ? RGState::Unknown : RGState::Offline;
}

void ClusterImpl::AddTool(std::int32_t index, const String_t& folder, const char* program) {
    const String_t sudo = LumPalRuntime::Environment_t::Get("LUM_SUDO");
    const String_t path = LumPalIo::File_t(folder, program + String_t(ProgramSuffix())).ToString();
    commands[index] = (sudo.IsEmpty() ? String_t() : sudo + " ") + "\"" + path + "\"";
}

String_t ClusterImpl::LocalNodeName() {
    return LocalNodeName(LocalNodeCommand());
}

String_t ClusterImpl::ConfiguredNodeName() {
    return ConfBase::Get_NS_ConfCluster().Open().GetValue(names::ClusterLocalNodenameKey);
}

String_t ClusterImpl::LocalNodeName(const String_t& command) {
    const String_t configured = ConfiguredNodeName();
    return configured.IsNotEmpty() ? configured : ClusterUtil::GetOut(command);
}

void ClusterImpl::OpenGroupStates(const char* suffix) {
    const ConfigNamespace_t place(ConfBase::Get_NS_ConfCluster().GetName() + suffix);
    try {
        groupStateConfig = place.Open();
        groupStateConfigured = groupStateConfig.GetAttrCount() > 0;
    } catch (const LumPalMsg::Exception_t& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
    if (!groupStateConfigured)
        LUMCONF_TRACE(trace::Cluster, String_t("Can not open the Config Namespace ") + place.GetName());
}

RGState ClusterImpl::GroupStateOf(const String_t& word) {
    return groupStateConfigured ? MapGroupState(AsKey(word)) : groupStates.Of(word);
}

void ClusterImpl::ReportUnknownLocalState(const String_t& group) {
    const LumPalMsg::Message_t warning = Make(msg::ClusterLocalGroupStateUnknown, group);
    LUMCONF_TRACE(trace::Cluster, warning);
    if (ClusterUtil::IsMonitorMode()) LumPalLog::Log(warning);
}

}  // namespace LumConfCluster
