/// @file
/// Every name that more than one place has to spell the same way: files, paths, remote methods and parameters, document
/// tags, events, and by LumPalKeys.h the namespaces and keys of the configuration. Case matters in all of them.
/// Constants of the compiler, so that they can be used at any time, also while other static objects come and go.
#pragma once

#include "LumPalKeys.h"

namespace LumConf::names {

using LumPalKeys::Name;

// Namespaces and keys of the configuration.
using namespace LumPalKeys;
/// Behind the namespace of the cluster and before a cluster's short name.
inline constexpr Name RgStateInfix = ".RGState.";

// The audit log.
inline constexpr Name AuditLogName = "conf.server.audit.log";
inline constexpr Name StrangersLogName = "conf.server.audit.strangers.log";
inline constexpr Name ServerComponent = "lumconfd";

// Files and words of the store.
inline constexpr Name HeaderFileSuffix = "_header.xml";
inline constexpr Name SettingsTypeName = "configsettings";
inline constexpr Name SettingsFile = "policy_settings.ini";
inline constexpr Name NewSettingsFile = "new_policy_settings.ini";
inline constexpr Name DumpFilename = "lum_policies.txt";
inline constexpr Name Utf8 = "UTF-8";
inline constexpr Name ApplicationListFile = "apminfo.xml";
inline constexpr Name ApplicationFileSuffix = ".apm.xml";
inline constexpr Name TemporaryFilePrefix = "POL";
inline constexpr Name AsideFilePrefix = ".aside-";  ///< of a copy in the store until it has its name
inline constexpr Name ChangeRecordFile = "store.change";

// Addresses of the transport.
inline constexpr Name RpcPath = "/voxrpcserver";
inline constexpr Name RpcCheckPolicyPath = "/checkpolicy/voxrpcserver";
inline constexpr Name ConfMsgPath = "/com.tessel.lum.conf.core";
/// The two servers on a messenger that the caller supplies.
inline constexpr Name RpcPathOnMessenger = "com.tessel.lum.conf.core/voxrpcserver";
inline constexpr Name RpcCheckPolicyPathOnMessenger = "com.tessel.lum.conf.core/checkpolicy/voxrpcserver";
inline constexpr Name ConfServerMsgPath = "/com.tessel.lum.conf.server";
inline constexpr Name HttpsScheme = "https://";
inline constexpr Name HttpScheme = "http://";
inline constexpr Name LocalHost = "localhost";
inline constexpr Name ApplicationVersion = "01.00";

// Remote methods.
inline constexpr Name InstallMethod = "install";
inline constexpr Name PolicyOpMethod = "policyOp";
inline constexpr Name ListMethod = "list";
inline constexpr Name ConfigOpMethod = "configOp";
inline constexpr Name MgrConfMethod = "mgrconf";
inline constexpr Name CheckPolicyMethod = "checkpolicy";
inline constexpr Name PolicyFilesMethod = "policyFiles";
inline constexpr Name NodeStatusMethod = "nodeStatus";
inline constexpr Name NotifyRequest = "notify";
inline constexpr Name ConfigChangeRequest = "configchange";

// Parameters of the remote methods.
inline constexpr Name PolicyOperationMode = "PolicyOperationMode";
inline constexpr Name PolicyContainer = "PolicyContainer";
inline constexpr Name PolicySelection = "PolicySelection";
inline constexpr Name PolicyOptions = "PolicyOptions";
inline constexpr Name PolicyDataFiles = "PolicyDataFiles";
inline constexpr Name PolicySelectionRetValue = "PolicySelectionRetValue";
inline constexpr Name PolicySelectionRetString = "PolicySelectionRetString";
inline constexpr Name PolicyString1 = "PolicyString1";
inline constexpr Name PolicyInstallOptions = "PolicyInstallOptions";
inline constexpr Name PolicyInstallFilename = "PolicyInstallFilename";
inline constexpr Name PolicyByteArrayName = "PolicyByteArrayName";
inline constexpr Name PolicyInstallMethod = "PolicyInstallMethod";
inline constexpr Name PolicyInstallRetValue = "PolicyInstallRetValue";
inline constexpr Name PolicyInstallRetString = "PolicyInstallRetString";
inline constexpr Name PolicyFilesName = "PolicyFiles";
inline constexpr Name PolicyFilesMode = "PolicyFilesMode";
inline constexpr Name NodeStatusName = "NodeStatus";
inline constexpr Name ConfigPackageName = "ConfigPackageName";
inline constexpr Name ConfigGroupName = "ConfigGroupName";
inline constexpr Name ConfigReturnValue = "ConfigReturnValue";
inline constexpr Name ConfigReturnString = "ConfigReturnString";

// One policy in a list of policies.
inline constexpr Name FieldPolicyHeader = "policyheader";
inline constexpr Name FieldContainerId = "policy_container_id";
inline constexpr Name FieldStatus = "policy_status";
inline constexpr Name FieldName = "policy_name";
inline constexpr Name FieldVersion = "policy_version";
inline constexpr Name FieldDescription = "policy_description";
inline constexpr Name FieldOwner = "policy_owner";
inline constexpr Name FieldTypeName = "policy_type_name";
inline constexpr Name FieldTypeVersion = "policy_type_version";
inline constexpr Name FieldTypeId = "policy_type_id";
inline constexpr Name FieldCategory = "policy_category";
inline constexpr Name FieldCategories = "policy_categories";
inline constexpr Name FieldAttributeName = "policy_attributename";
inline constexpr Name FieldAttributeValue = "policy_attributevalue";
inline constexpr Name FieldAttribute = "policy_attribute";
inline constexpr Name FieldDataFile = "policy_data_file";
inline constexpr Name FieldMissingDataFile = "policy_missing_data_file";

// Policy documents.
inline constexpr Name PolicyNamespace = "http://lum.tessel.com/xmlns/conf/2003/04";
inline constexpr Name PolicyNamespaceFamily = "http://lum.tessel.com/xmlns/conf/";
inline constexpr Name TagHeader = "header";
inline constexpr Name TagPolicy = "policy";
inline constexpr Name TagCertificate = "certificate";
inline constexpr Name TagIds = "ids";
inline constexpr Name TagContainerId = "container_id";
inline constexpr Name TagVersionId = "version_id";
inline constexpr Name TagName = "name";
inline constexpr Name TagOwner = "owner";
inline constexpr Name TagVersion = "version";
inline constexpr Name TagDescription = "description";
inline constexpr Name TagStatus = "status";
inline constexpr Name TagAttributes = "attributes";
inline constexpr Name TagAttribute = "attribute";
inline constexpr Name TagValue = "value";
inline constexpr Name TagFiles = "files";
inline constexpr Name TagData = "data";
inline constexpr Name TagFileName = "file_name";
inline constexpr Name TagEncoding = "encoding";
inline constexpr Name TagChecksum = "checksum";
inline constexpr Name TagSignature = "signature";
inline constexpr Name TagCategories = "categories";
inline constexpr Name TagCategory = "category";
inline constexpr Name TagPolicyType = "policytype";
inline constexpr Name StatusEnabled = "enabled";
inline constexpr Name StatusDisabled = "disabled";

// Events of the control service; each is followed by a policy type.
inline constexpr Name EventCheck = "CHECK_POLICY:";
inline constexpr Name EventRemove = "REMOVE_POLICY:";
inline constexpr Name EventEnable = "ENABLE_POLICY:";
inline constexpr Name EventDisable = "DISABLE_POLICY:";
inline constexpr Name EventFirst = "FIRST_POLICY:";
inline constexpr Name EventLast = "LAST_POLICY:";

// The message catalogue and the trace components.
inline constexpr Name CatalogName = "conf";
inline constexpr Name TracePolicy = "conf.policy";
inline constexpr Name TraceMessage = "conf.message";
inline constexpr Name TraceConfig = "conf.config";
inline constexpr Name TraceCluster = "conf.cluster";
inline constexpr Name TraceClusterCliOutputs = "conf.cluster.clioutputs";

}  // namespace LumConf::names
