/// @file
/// The names that the daemon, the tools and the callers of the library share with it.
#pragma once

#include "Export.h"
#include "LumPalConfig.h"

namespace LumConf {

/// Exported view of the names of the system: static members only, no state. Each text lives as long as the library,
/// each namespace is a copy. Case matters in all of them. Any thread, also during static initialisation.
class LUMCONF_API ConfBase {
public:
    ConfBase() = delete;

    static LumPalConfig::ConfigNamespace_t Get_NS_ConfCore();
    static LumPalConfig::ConfigNamespace_t Get_NS_ConfServer();
    static LumPalConfig::ConfigNamespace_t Get_NS_ConfCluster();
    static LumPalConfig::ConfigNamespace_t Get_NS_SecCmCert();

    static const char* Get_s_lumconfdLocateServer();
    static const char* Get_s_lumconfdPingServer();
    static const char* Get_s_lumconfdWaitTime();
    static const char* GetrpcPath();
    static const char* GetconfMsgPath();
    static const char* Get_d_confServerMsgPath();
    static const char* Get_d_rpcCheckPolicyPath();
    static const char* GetCoreIdKey();
    static const char* Get_g_SecCmCertInstalledKey();
    static const char* Get_g_FileSuffix();
    static const char* Get_g_FormatPolicyListKey();
    static const char* Get_g_MergedPolicyListFilenameKey();
    static const char* Get_g_DumpFilename();
};

}  // namespace LumConf
