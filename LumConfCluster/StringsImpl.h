/// @file
/// What the handles of lists of texts refer to.
#pragma once

#include "ClusterCollectionImpl.h"

namespace LumConfCluster {

/// A text that is its own name.
class NamedText {
public:
    explicit NamedText(const LumPalStr::String_t& text) : text(text) {}
    const LumPalStr::String_t& GetName() const noexcept { return text; }

private:
    LumPalStr::String_t text;
};

class StringsImpl final : public ClusterCollectionImpl<NamedText, LumConf::ClusterNoStringException> {};

}  // namespace LumConfCluster
