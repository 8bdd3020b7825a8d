/// @file
/// The lists of the cluster side.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "Exceptions.h"
#include "LumPalRef.h"
#include "LumPalStr.h"
#include "Messages.h"
#include "Trace.h"

namespace LumConfCluster {

/// An ordered list of handles, whose names need not differ. One thread at a time.
/// @tparam T  has GetName
/// @tparam E  thrown by a look-up that fails
template <class T, class E>
class ClusterCollectionImpl : public LumPalRef::RefCounted_t {
public:
    std::int32_t Count() const noexcept { return static_cast<std::int32_t>(elements.size()); }
    /// @return the index of the new element
    std::int32_t Add(T element) {
        elements.push_back(std::move(element));
        return Count() - 1;
    }
    const T& At(int index) const {
        if (index < 0 || index >= Count()) Fail(LumConf::Make(LumConf::msg::ClusterIndexOutOfRange));
        return elements[static_cast<std::size_t>(index)];
    }
    /// The first one of the name, in any case.
    const T& At(const LumPalStr::String_t& name) const {
        const LumPalStr::String_t wanted = name.ToLower();
        const auto found = std::find_if(elements.begin(), elements.end(),
                                        [&](const T& element) { return element.GetName().ToLower() == wanted; });
        if (found == elements.end()) Fail(LumConf::Make(LumConf::msg::ClusterNoSuchElement, name));
        return *found;
    }

private:
    [[noreturn]] static void Fail(const LumPalMsg::Message_t& message) {
        LUMCONF_TRACE(LumConf::trace::Cluster, message);
        throw E(message);
    }

    std::vector<T> elements;
};

}  // namespace LumConfCluster
