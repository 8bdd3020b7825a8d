/// @file
/// The policies that a selection means in a container.
#pragma once

#include <vector>

#include "Export.h"
#include "LumPalStr.h"

namespace LumConf {

class PolicyContainer;
class Selection;

/// Applies a selection to a container and keeps the ids that it picks. Linear in the number of policies.
/// Finding none is no failure. A value; one thread at a time.
class LUMCONF_API SelectionContainer {
public:
    /// Replaces the ids by those that the selection picks, in ascending order. An id given by itself is picked whether
    /// or not there is such a policy; a policy with several attributes of a selected name comes once for each.
    /// @throws LumPalMsg::IllegalStateError_t 69 for a selection of no known kind
    void Init(const PolicyContainer& container, const Selection& selection);
    /// @throws LumPalMsg::IllegalStateError_t 68 before Init
    int GetCount() const;
    /// @throws LumPalMsg::IllegalStateError_t 68 before Init and for an index that is not there
    LumPalStr::String_t GetId(int index) const;
    /// Hands over all of them; as before Init afterwards.
    /// @throws LumPalMsg::IllegalStateError_t 68 before Init
    std::vector<LumPalStr::String_t> TakeIds();

private:
    std::vector<LumPalStr::String_t> ids;
    bool initialized = false;
};

}  // namespace LumConf
