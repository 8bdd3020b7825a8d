/// @file
/// The exceptions of the library, as one tree.
///
/// None carries more than its messages: handlers decide by class. Where several are caught in one place, the
/// derived class stands first. Each is made from a message or from a list of messages.
#pragma once

#include "Export.h"
#include "LumPalMsg.h"
#include "LumPalNet.h"

namespace LumConf {

/// Root of the failures of policies; itself raised when the install of a policy package fails.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ConfException, LumPalMsg::RuntimeException_t);
/// A policy operation failed.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, PolicyException, ConfException);
/// A header document is invalid or cannot be parsed, or has no data file to sign.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, PolicyHeaderException, PolicyException);
/// An install tried to replace a policy of another owner.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, PolicyOwnerError, PolicyException);
/// An install brought a version that is not above the installed one.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, PolicyVersionError, PolicyException);
/// A policy file cannot be read, written or recognised.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, PolicyFileException, PolicyException);
/// The id, name or index addresses no policy.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, PolicyNotFoundError, PolicyException);
/// Nothing to do: the selected policies already are in the requested state.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, NoPolicyOperation, PolicyException);
/// No policy at all is installed on the node.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, NoPoliciesInstalledError, PolicyException);
/// The type may have one policy only, and one is installed.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, NoMultiplePoliciesException, PolicyException);
/// Root of the failures of remote requests.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, TransferException, LumPalNet::ConnectException_t);
/// A remote policy request reported an error.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, PolicyRemoteException, TransferException);
/// A remote settings request reported an error.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, SettingsRemoteException, TransferException);
/// Root of the failures of the cluster side; not a ConfException.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterException, LumPalMsg::RuntimeException_t);
/// A collection has no such resource group.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterNoGroupException, ClusterException);
/// A collection has no such node.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterNoNodeException, ClusterException);
/// A collection of strings has no such element.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterNoStringException, ClusterException);
/// The monitor cannot be started or stopped.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterMonitorException, ClusterException);
/// The XML data tree failed.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterXmlDataTreeException, ClusterException);
/// The configuration of the cluster is wrong; for callers of the library.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterConfigException, ClusterException);
/// An application instance is unknown.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterInstanceException, ClusterException);
/// The name of an instance means more than one.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, AmbiguousInstanceNamesException, ClusterInstanceException);
/// An application is unknown.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterApplicationException, ClusterException);
/// A subagent of the cluster failed; for callers of the library.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterSubagentException, ClusterException);
/// The start command of an instance failed; for callers of the library.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterStartCmdException, ClusterException);
/// The stop command of an instance failed; for callers of the library.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterStopCmdException, ClusterException);
/// The configuration of an application cannot be parsed.
LUMPAL_DECLARE_EXCEPTION(LUMCONF_API, ClusterParserException, ClusterException);

}  // namespace LumConf
