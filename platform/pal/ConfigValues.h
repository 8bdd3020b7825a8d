/// @file
/// Sorted attributes, found by name and by position.
#pragma once

#include <ext/pb_ds/assoc_container.hpp>
#include <ext/pb_ds/tree_policy.hpp>
#include <functional>
#include <set>

#include "LumPalConfig.h"

namespace LumPalConfig {

/// A map that also finds its n-th entry in logarithmic time, so that a walk by index stays cheap
/// however many entries a caller from outside has brought.
template <class Value>
using IndexedMap = __gnu_pbds::tree<LumPalStr::String_t, Value, std::less<LumPalStr::String_t>, __gnu_pbds::rb_tree_tag,
                                    __gnu_pbds::tree_order_statistics_node_update>;

struct ChangedConfiguration_t::Impl {
    std::set<LumPalStr::String_t> names;
};

/// Sets every attribute of one configuration in another.
void SetAll(const Configuration_t& from, Configuration_t to);
void SetAll(const ConfigGroup_t& from, const ConfigGroup_t& to);

/// A configuration with the same attributes that shares nothing with the original.
Configuration_t CopyOf(const Configuration_t& configuration);

/// The attributes that were added, taken away or given another value.
std::set<LumPalStr::String_t> Difference(const Configuration_t& before, const Configuration_t& after);

}  // namespace LumPalConfig
