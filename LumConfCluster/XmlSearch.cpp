#include "XmlSearch.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

/// Null without the attribute.
const String_t* ValueOf(const XmlDataNode& node, const char* attribute) {
    const String_t* const pairs = node.GetAttributes();
    for (int i = 0; i < node.GetNumAttributes(); ++i) {
        if (pairs[2 * i] == attribute) return &pairs[2 * i + 1];
    }
    return nullptr;
}

bool IsNamed(const XmlDataNode& node, const String_t& name) {
    const String_t* const value = ValueOf(node, "name");
    return value && *value == name;
}

}  // namespace

String_t AttributeOf(const XmlDataNode& node, const char* attribute) {
    const String_t* const value = ValueOf(node, attribute);
    return value ? *value : String_t("");
}

const XmlDataNode* FindNamed(const XmlDataNode& node, const char* element, const String_t& name) {
    if (node.GetName() == element && IsNamed(node, name)) return &node;
    for (int i = 0; i < node.ChildrenCount(); ++i) {
        if (const XmlDataNode* const found = FindNamed(node[i], element, name)) return found;
    }
    return nullptr;
}

}  // namespace LumConfCluster
