#include "ConfBase.h"

#include "Names.h"

namespace LumConf {

using LumPalConfig::ConfigNamespace_t;

ConfigNamespace_t ConfBase::Get_NS_ConfCore() {
    return ConfigNamespace_t(names::NsConfCore);
}
ConfigNamespace_t ConfBase::Get_NS_ConfServer() {
    return ConfigNamespace_t(names::NsConfServer);
}
ConfigNamespace_t ConfBase::Get_NS_ConfCluster() {
    return ConfigNamespace_t(names::NsConfCluster);
}
ConfigNamespace_t ConfBase::Get_NS_SecCmCert() {
    return ConfigNamespace_t(names::NsSecCmCert);
}

const char* ConfBase::Get_s_lumconfdLocateServer() {
    return names::LocateServerKey;
}
const char* ConfBase::Get_s_lumconfdPingServer() {
    return names::PingServerKey;
}
const char* ConfBase::Get_s_lumconfdWaitTime() {
    return names::WaitTimeKey;
}
const char* ConfBase::GetrpcPath() {
    return names::RpcPath;
}
const char* ConfBase::GetconfMsgPath() {
    return names::ConfMsgPath;
}
const char* ConfBase::Get_d_confServerMsgPath() {
    return names::ConfServerMsgPath;
}
const char* ConfBase::Get_d_rpcCheckPolicyPath() {
    return names::RpcCheckPolicyPath;
}
const char* ConfBase::GetCoreIdKey() {
    return names::CoreIdKey;
}
const char* ConfBase::Get_g_SecCmCertInstalledKey() {
    return names::CertInstalledKey;
}
const char* ConfBase::Get_g_FileSuffix() {
    return names::HeaderFileSuffix;
}
const char* ConfBase::Get_g_FormatPolicyListKey() {
    return names::FormatPolicyListKey;
}
const char* ConfBase::Get_g_MergedPolicyListFilenameKey() {
    return names::MergedPolicyListFilenameKey;
}
const char* ConfBase::Get_g_DumpFilename() {
    return names::DumpFilename;
}

}  // namespace LumConf
