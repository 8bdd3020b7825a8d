/// @file
/// The hosts that nodes of a cluster are.
#pragma once

#include "LumPalStr.h"

namespace LumConfCluster {

/// Whether the name of the node's host, as the name service tells it, is this one to the letter; not where it tells
/// none. Blocks meanwhile. Any thread.
bool IsNameOfHost(const LumPalStr::String_t& node, const LumPalStr::String_t& host);

/// As long as one lives, its thread asks the name service for each node once: what it said first holds. One inside
/// another changes nothing.
class HostNamesOnce {
public:
    HostNamesOnce();
    HostNamesOnce(const HostNamesOnce&) = delete;
    HostNamesOnce& operator=(const HostNamesOnce&) = delete;
    ~HostNamesOnce();

private:
    bool isOutermost;
};

}  // namespace LumConfCluster
