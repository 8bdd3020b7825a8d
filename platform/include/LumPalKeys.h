/// @file
/// How the namespaces and keys of a node's configuration are spelled: here and nowhere else in the product. Case
/// matters. docs/configuration.md tells what they mean. Constants of the compiler, which may be used at any time.
#pragma once

namespace LumPalKeys {

using Name = const char*;

// The namespaces.
inline constexpr Name NsConf = "conf";  ///< also the domain of rights
inline constexpr Name NsConfCore = "conf.core";
inline constexpr Name NsConfPar = "conf.par";
inline constexpr Name NsConfServer = "conf.server";
inline constexpr Name NsConfCluster = "conf.cluster";
inline constexpr Name NsSecCore = "sec.core";
inline constexpr Name NsSecCmCert = "sec.cm.certificates";
inline constexpr Name NsVoxHttp = "vox.http.ext.conf";

// The node and its certificate.
inline constexpr Name CoreIdKey = "CORE_ID";
inline constexpr Name CertInstalledKey = "CERT_INSTALLED";

// "conf.core".
inline constexpr Name StrictSignersKey = "STRICT_SIGNERS";
inline constexpr Name AsyncControlNotifyKey = "ASYNC_CONTROL_NOTIFY";
inline constexpr Name ControlAckTimeoutKey = "CONTROL_ACK_TIMEOUT";
inline constexpr Name CacheSettingsPoliciesKey = "CACHE_CONFIGSETTINGS_POLICIES";

// "conf.server".
inline constexpr Name AuditLoggingKey = "AUDIT_LOGGING";
inline constexpr Name AuditLogModeKey = "AUDIT_LOG_MODE";
inline constexpr Name MetricsOnLoopbackKey = "METRICS_ON_LOOPBACK";
inline constexpr Name NoMultiplePoliciesKey = "NOMULTIPLEPOLICIES";
inline constexpr Name SharedDataFilesKey = "SHARED_DATA_FILES";
inline constexpr Name FormatPolicyListKey = "FORMAT_POLICY_LIST";
inline constexpr Name MergedPolicyListFilenameKey = "MERGED_POLICY_LIST_FILENAME";
inline constexpr Name LocateServerKey = "LOCATE_SERVER";
inline constexpr Name PingServerKey = "PING_SERVER";
inline constexpr Name WaitTimeKey = "WAIT_TIME";
inline constexpr Name BufferSizeKey = "BUFFER_SIZE";  ///< reserved; nobody reads it

// "conf.cluster".
inline constexpr Name ClusterTypeKey = "CLUSTER_TYPE";
inline constexpr Name ClusterLocalNodenameKey = "CLUSTER_LOCAL_NODENAME";
inline constexpr Name PollingIntervalKey = "POLLING_INTERVAL";
inline constexpr Name MonitorModeKey = "MONITOR_MODE";
inline constexpr Name ToolTimeoutKey = "TOOL_TIMEOUT";
inline constexpr Name CommandTimeoutKey = "COMMAND_TIMEOUT";
inline constexpr Name MaxRetriesForClusterUpKey = "MAX_RETRIES_FOR_CLUSTERUP";

// "vox.http.ext.conf": the server.
inline constexpr Name ServerPortKey = "SERVER_PORT";
inline constexpr Name BindAddressKey = "BIND_ADDRESS";
inline constexpr Name LocalSecretHeaderKey = "LOCAL_SECRET_HEADER";
inline constexpr Name MaxConnectionsKey = "MAX_CONNECTIONS";
inline constexpr Name MaxAddressConnectionsKey = "MAX_ADDRESS_CONNECTIONS";
inline constexpr Name IoThreadsKey = "IO_THREADS";
inline constexpr Name WorkerThreadsKey = "WORKER_THREADS";
inline constexpr Name HeaderLimitKey = "HEADER_LIMIT";
inline constexpr Name BodyLimitKey = "BODY_LIMIT";
inline constexpr Name BodyTotalLimitKey = "BODY_TOTAL_LIMIT";
inline constexpr Name HandshakeTimeoutKey = "HANDSHAKE_TIMEOUT";
inline constexpr Name HeaderTimeoutKey = "HEADER_TIMEOUT";
inline constexpr Name BodyTimeoutKey = "BODY_TIMEOUT";
inline constexpr Name IdleTimeoutKey = "IDLE_TIMEOUT";
inline constexpr Name WriteTimeoutKey = "WRITE_TIMEOUT";
inline constexpr Name CloseTimeoutKey = "CLOSE_TIMEOUT";
inline constexpr Name MinRateKey = "MIN_RATE";

// "vox.http.ext.conf": the client.
inline constexpr Name TargetPortKey = "TARGET_PORT";
inline constexpr Name ConnectTimeoutKey = "CONNECT_TIMEOUT";
inline constexpr Name RequestTimeoutKey = "REQUEST_TIMEOUT";
inline constexpr Name CallTimeoutKey = "CALL_TIMEOUT";
inline constexpr Name ResponseLimitKey = "RESPONSE_LIMIT";

}  // namespace LumPalKeys
