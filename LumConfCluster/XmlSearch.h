/// @file
/// Finding elements of an XML file.
#pragma once

#include "LumConfCluster/XmlDataNode.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The value of the attribute; empty without it.
LumPalStr::String_t AttributeOf(const XmlDataNode& node, const char* attribute);
/// The first element of this name of which the attribute "name" has the value, exactly: the node itself, or what is
/// found in depth from its first child on; null when there is none. Valid as long as the tree.
const XmlDataNode* FindNamed(const XmlDataNode& node, const char* element, const LumPalStr::String_t& name);

}  // namespace LumConfCluster
