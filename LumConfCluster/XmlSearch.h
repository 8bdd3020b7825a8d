/// @file
/// Finding elements of an XML file.
#pragma once

#include <initializer_list>
#include <utility>

#include "LumConfCluster/XmlDataNode.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The value of the attribute; empty without it.
LumPalStr::String_t AttributeOf(const XmlDataNode& node, const char* attribute);
/// An attribute, and the value that it is to have, exactly.
using AttributePair = std::pair<const char*, LumPalStr::String_t>;

/// The first element of this name that has all these attributes: the node itself, or what is found in depth from its
/// first child on; null when there is none. Without pairs any element of the name is it. Valid as long as the tree.
const XmlDataNode* FindElement(const XmlDataNode& node, const char* element,
                               std::initializer_list<AttributePair> wanted = {});

}  // namespace LumConfCluster
