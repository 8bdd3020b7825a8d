/// @file
/// What a request on the configuration names, for the audit log.
#pragma once

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace LumConfPar {

/// What a request goes for.
enum class Reach {
    Namespaces,  ///< whole ones: attributes in the group mean nothing
    Attributes
};

/// The namespaces of a group with the names of their attributes, never their values:
/// "[sec.core] 'CORE_ID'; [test] 'a', 'b'; and 12 more, of the package 'rg1'". The keys that the node itself knows come
/// first, and are all given; then the namespaces of words for states, each with its first keys; then what else stands
/// in namespaces that begin like its own. Of a long group the first names are given, and how many more there are; of a
/// long name the beginning.
/// @param package  empty for the node's own configuration
LumPalStr::String_t ChangedNames(const LumPalStr::String_t& package, const LumPalConfig::ConfigGroup_t& group,
                                 Reach reach);

}  // namespace LumConfPar
