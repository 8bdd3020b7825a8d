/// @file
/// What an application means by a policy that it lists.
#pragma once

#include "Export.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// A name, or a type and a name with a colon between them; without a type policies of every type are meant: "disk-io"
/// and ":disk-io" are one. Texts are compared exactly. A value; any thread.
struct LUMCONF_API ListedPolicy {
    LumPalStr::String_t type;  ///< empty: every type
    LumPalStr::String_t name;

    /// As it is listed: cut at its first colon. kept: a name that itself holds a colon is never found by it alone.
    static ListedPolicy Of(const LumPalStr::String_t& listed);
    bool Means(const LumPalStr::String_t& policyName, const LumPalStr::String_t& policyType) const;
};

}  // namespace LumConfCluster
