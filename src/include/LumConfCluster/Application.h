/// @file
/// Something that the cluster moves between nodes.
#pragma once

#include <cstdint>

#include "Export.h"
#include "Handle.h"
#include "Instances.h"
#include "LumPalStr.h"
#include "Strings.h"

namespace LumConfCluster {

class ApplicationImpl;

/// An application as it was when the configuration was loaded: its instances, its policies, what is run when one of
/// its instances comes or goes. A handle: copies share. One thread at a time.
class LUMCONF_API Application : public Handle<ApplicationImpl> {
public:
    /// An application without a name and with empty lists.
    Application();
    using Handle::Handle;

    LumPalStr::String_t GetName() const;
    /// The list itself, as the next five.
    Instances GetInstances() const;
    Strings GetStartActions() const;
    Strings GetStopActions() const;
    Strings GetCustomAgents() const;
    /// The names of its policies.
    Strings GetPolicyHeaders() const;
    /// The same list.
    Strings GetPolicyNames() const;
    /// How many instances have the state Online.
    std::int32_t GetOnlineInstancesCount() const;
    /// As Instances.
    bool IsInstanceAmbiguous(const LumPalStr::String_t& name) const;
    /// As Instances, with the name of the application and "::" before the text.
    bool AreAmbiguousInstancesPresent(LumPalStr::String_t& text) const;
    /// Whether the names (their case too) are equal.
    bool operator==(const Application& other) const;
};

}  // namespace LumConfCluster
