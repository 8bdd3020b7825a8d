/// @file
/// The lists of the cluster side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Exceptions.h"
#include "LumPalRef.h"
#include "LumPalStr.h"
#include "Messages.h"
#include "Trace.h"

namespace LumConfCluster {

/// An ordered list, whose names need not differ. One thread at a time.
/// @tparam T     has GetName
/// @tparam E     thrown by a look-up that fails
/// @tparam List  holds the elements
template <class T, class E, class List = std::vector<T>>
class ClusterCollectionImpl : public LumPalRef::RefCounted_t {
public:
    std::int32_t Count() const noexcept { return static_cast<std::int32_t>(elements.size()); }
    /// @return the index of the new element
    std::int32_t Add(T element) {
        elements.push_back(std::move(element));
        return Count() - 1;
    }
    const T& At(int index) const { return elements[PlaceOf(index)]; }
    /// The first one of the name, in any case.
    const T& At(const LumPalStr::String_t& name) const { return elements[PlaceOf(name)]; }
    T& At(int index) { return elements[PlaceOf(index)]; }
    T& At(const LumPalStr::String_t& name) { return elements[PlaceOf(name)]; }
    void Clear() { elements.clear(); }

private:
    std::size_t PlaceOf(int index) const {
        if (index < 0 || index >= Count()) Fail(LumConf::Make(LumConf::msg::ClusterIndexOutOfRange));
        return static_cast<std::size_t>(index);
    }
    std::size_t PlaceOf(const LumPalStr::String_t& name) const {
        const LumPalStr::String_t wanted = name.ToLower();
        for (std::size_t place = 0; place < elements.size(); ++place) {
            if (elements[place].GetName().ToLower() == wanted) return place;
        }
        Fail(LumConf::Make(LumConf::msg::ClusterNoSuchElement, name));
    }
    [[noreturn]] static void Fail(const LumPalMsg::Message_t& message) {
        LUMCONF_TRACE(LumConf::trace::Cluster, message);
        throw E(message);
    }

    List elements;
};

}  // namespace LumConfCluster
