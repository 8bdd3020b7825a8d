/// @file
/// Looking at the cluster by the library.
#pragma once

#include <map>
#include <string>

#include "lumcluster/Facts.h"

namespace lumcluster {

/// The addresses of groups. What was asked once is not asked again: each costs some tools, and hardly changes.
using Addresses = std::map<std::string, std::string>;

/// Asks the cluster and loads the applications. What cannot be had is a problem of the sight, and what does not depend
/// on it is there. Blocks as long as the product's tools do. Changes nothing.
/// @param addresses  null: the addresses of groups are not wanted
/// @throws LumPalMsg::Exception_t  what reading the configuration throws
Sight Look(const Keys& keys, Addresses* addresses);

/// Where the list of applications lies.
LumPalStr::String_t ApplicationListPath();

}  // namespace lumcluster
