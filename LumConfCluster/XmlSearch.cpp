#include "XmlSearch.h"

#include <algorithm>

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

bool HasAll(const XmlDataNode& node, std::initializer_list<AttributePair> wanted) {
    return std::all_of(wanted.begin(), wanted.end(), [&](const AttributePair& pair) {
        const String_t* const value = ValueOf(node, pair.first);
        return value && *value == pair.second;
    });
}

}  // namespace

String_t AttributeOf(const XmlDataNode& node, const char* attribute) {
    const String_t* const value = ValueOf(node, attribute);
    return value ? *value : String_t("");
}

const XmlDataNode* FindElement(const XmlDataNode& node, const char* element,
                               std::initializer_list<AttributePair> wanted) {
    if (node.GetName() == element && HasAll(node, wanted)) return &node;
    for (int i = 0; i < node.ChildrenCount(); ++i) {
        if (const XmlDataNode* const found = FindElement(node[i], element, wanted)) return found;
    }
    return nullptr;
}

}  // namespace LumConfCluster
