/// @file
/// The applications of this node's configuration.
#pragma once

#include <cstdint>

#include "Application.h"
#include "Cluster.h"
#include "ClusterResourceGroups.h"
#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class ApplicationsImpl;

/// The applications of apminfo.xml, in the order of their first entries, with the state that their instances had when
/// they were loaded. A handle: copies share. One thread at a time.
class LUMCONF_API Applications : public Handle<ApplicationsImpl> {
public:
    /// An empty list.
    Applications();
    using Handle::Handle;

    std::int32_t Count() const;
    /// @throws LumConf::ClusterApplicationException for an index that is not there
    Application operator[](int index) const;
    /// The first one of this name, whatever its case. @throws LumConf::ClusterApplicationException
    Application operator[](const LumPalStr::String_t& name) const;

    /// Asks a new cluster for its groups, and loads. @throws as Cluster, and as the other form
    void LoadConfig();
    /// Replaces the list by what the configuration files say, held against these groups. Asks the cluster for its
    /// nodes, and blocks meanwhile; it may ask the name service. After a failure the list holds what was loaded before
    /// it.
    /// @throws LumPalIo::FileNotFoundException_t 666 when a file is not there: without apminfo.xml no application is
    ///         configured. An application whose name is no plain file name has no file
    /// @throws LumConf::ClusterParserException 346, 347, 348, 349; 351 for what else went wrong
    /// @throws LumConf::ClusterXmlDataTreeException for a file that is no XML, or an element that is not there
    void LoadConfig(const Cluster& cluster, const ClusterResourceGroups& groups);

    /// Whether an instance of this name, in this case, stands in more than one application. The end of such a name
    /// counts too.
    bool IsInstanceAmbiguous(const LumPalStr::String_t& name) const;
    /// Whether one of the applications has a name of an instance twice.
    /// @param text  set to the texts of these applications, the last one first, each with "; " behind it; without any
    ///              it is emptied
    bool AreAmbiguousInstancesPresent(LumPalStr::String_t& text) const;
};

}  // namespace LumConfCluster
