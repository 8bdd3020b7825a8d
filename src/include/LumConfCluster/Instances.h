/// @file
/// The instances of an application.
#pragma once

#include <cstdint>

#include "Export.h"
#include "Handle.h"
#include "Instance.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class InstancesImpl;

/// The instances in the order of the configuration. Names need not differ; those that stand twice are ambiguous.
/// A handle: copies share the list. One thread at a time.
class LUMCONF_API Instances : public Handle<InstancesImpl> {
public:
    /// An empty list.
    Instances();
    using Handle::Handle;

    std::int32_t Count() const;
    /// @throws LumConf::ClusterInstanceException for an index that is not there
    Instance operator[](int index) const;
    /// The first one of this name, whatever its case.
    /// @throws LumConf::AmbiguousInstanceNamesException 673, before it is looked for; ClusterInstanceException
    Instance operator[](const LumPalStr::String_t& name) const;
    /// Whether the name, in this case, stands twice in the application. The end of such a name counts too.
    bool IsInstanceAmbiguous(const LumPalStr::String_t& name) const;
    /// Whether a name stands twice. @param text  set to " a, b " if so, else left alone
    bool AreAmbiguousInstancesPresent(LumPalStr::String_t& text) const;
};

}  // namespace LumConfCluster
