/// @file
/// A list of texts.
#pragma once

#include <cstdint>

#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class StringsImpl;

/// Texts in the order in which they were added. A handle: copies share the list. Not for two threads at a time.
class LUMCONF_API Strings : public Handle<StringsImpl> {
public:
    /// An empty list.
    Strings();
    using Handle::Handle;

    std::int32_t Count() const;
    /// @throws LumConf::ClusterNoStringException for an index that is not there
    LumPalStr::String_t operator[](int index) const;
    /// @return the index of the new text
    std::int32_t Add(const LumPalStr::String_t& text);
};

}  // namespace LumConfCluster
