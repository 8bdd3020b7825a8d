/// @file
/// What the handles of instances refer to.
#pragma once

#include "ClusterCollectionImpl.h"
#include "LocalNode.h"
#include "LumConfCluster/Instance.h"
#include "MarkedNames.h"

namespace LumConfCluster {

/// What loading the configuration fills in right after making it; constant from then on.
class InstanceImpl final : public LumPalRef::RefCounted_t {
public:
    InstanceImpl() : InstanceImpl(LocalName::Read()) {}
    explicit InstanceImpl(const LocalName& local) : isLocalNameExact(local.isExact), localHost(local.name) {}
    /// See Instance::IsActiveNodeLocal.
    bool IsActiveNodeLocal() const;

    LumPalStr::String_t name;
    InstanceState state = InstanceState::Unknown;
    ClusterResourceGroup resourceGroup;
    ClusterNode activeNode;
    bool nodeLocalResponsible = false;
    bool isLocalNameExact;
    LumPalStr::String_t localHost;

private:
    bool IsNameLocal() const;
};

class InstancesImpl final : public ClusterCollectionImpl<Instance, LumConf::ClusterInstanceException> {
public:
    MarkedNames duplicates;  ///< names that stand twice or more
};

}  // namespace LumConfCluster
