/// @file
/// The two libraries of the cluster API.
#pragma once

#include <vector>

#include "LumPalMscs.h"

namespace LumConfCluster {

/// They are there only where Windows can have clusters, so they are loaded at run time; unloaded when this goes.
struct MscsLibraries {
    explicit MscsLibraries(LumPalMscs::System_i& system) : system(system) {}
    MscsLibraries(const MscsLibraries&) = delete;
    MscsLibraries& operator=(const MscsLibraries&) = delete;
    ~MscsLibraries() { Unload(); }
    /// @throws LumConf::ClusterException MscsClusapiLoadedTwice, MscsClusapiNotLoaded, MscsResutilsLoadedTwice
    void Load();
    /// Every operation, in the order of LumPalMscs::Operation. One that is not there unloads the libraries.
    /// @throws LumConf::ClusterException MscsNotInClusapi, MscsNotInResutils
    std::vector<LumPalMscs::Function_t> Bind();
    void Unload();

    LumPalMscs::System_i& system;
    LumPalMscs::Handle_t clusapi = nullptr;  ///< null until it is loaded, as the other one
    LumPalMscs::Handle_t resutils = nullptr;
};

}  // namespace LumConfCluster
