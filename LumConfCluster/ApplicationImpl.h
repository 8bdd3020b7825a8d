/// @file
/// What the handles of applications refer to.
#pragma once

#include "ClusterCollectionImpl.h"
#include "LumConfCluster/Application.h"
#include "LumConfCluster/ApplicationNames.h"
#include "MarkedNames.h"

namespace LumConfCluster {

/// What loading the configuration fills in; constant from then on.
class ApplicationImpl final : public LumPalRef::RefCounted_t {
public:
    LumPalStr::String_t name;
    Instances instances;
    Strings customAgents, startActions, stopActions, policies;
};

class ApplicationsImpl final : public ClusterCollectionImpl<Application, LumConf::ClusterApplicationException> {
public:
    MarkedNames ambiguousNames;  ///< of instances, in more than one application
    NamePairs dropped;           ///< names of entries that nothing comes of, each with the one that holds it
};

}  // namespace LumConfCluster
