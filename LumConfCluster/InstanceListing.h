/// @file
/// What lumappinstance prints of applications and instances.
#pragma once

#include "LumConfCluster/Applications.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The application with its commands, agents and policies, in lines of labels and values.
/// @param activeOnly  nothing unless one of its instances is online
LumPalStr::String_t CollectApplication(const Application& application, bool activeOnly);
/// Its instances. @param activeOnly  those that are online
/// @throws LumConf::ClusterException  an address cannot be had
LumPalStr::String_t CollectInstances(const Application& application, bool activeOnly);

/// The state of an instance ("Online" or "Offline"), or the address of its group ("None " without one); with a line
/// feed behind it but for "None ". Of several that may be meant one that is online, or all addresses.
/// @param appNamespace   the application; null: any
/// @param isInstanceState  the state is asked for, else the address
/// @throws LumConf::AmbiguousInstanceNamesException InstanceAmbiguousInApplication, InstanceAmbiguousAcross
/// @throws LumConf::ClusterInstanceException InstanceNotInApplication, InstanceNotThere
/// @throws LumConf::ClusterApplicationException for an application that is not there
LumPalStr::String_t GetInstance(const Applications& applications, const LumPalStr::String_t& appNamespace,
                                const LumPalStr::String_t& instanceName, bool isInstanceState);

}  // namespace LumConfCluster
