/// @file
/// One element of an XML file that was read as a whole.
#pragma once

#include <cstdint>
#include <memory>

#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class XmlDataNodes;

/// An element: its local name, its text, its attributes and its children. A value, but copies share the children: a
/// child that is added to one shows in the other. References to children stay valid while more are added.
/// One thread at a time uses a node and its copies.
class LUMCONF_API XmlDataNode {
public:
    /// Without name, text, attributes and children.
    XmlDataNode();
    XmlDataNode(const XmlDataNode& other);
    XmlDataNode& operator=(const XmlDataNode& other);
    ~XmlDataNode();

    const LumPalStr::String_t& GetName() const noexcept { return name; }
    /// All text directly inside the element, trimmed after each piece that the parser told, so that blanks where two
    /// pieces meet are gone.
    const LumPalStr::String_t& GetValue() const noexcept { return value; }

    /// @param array  2 * count texts, name and value in turn, made by new[]; now the node's own; may be null
    /// @param count  of the pairs; nothing is kept for one below 1
    void SetAttributes(LumPalStr::String_t* array, std::int32_t count) noexcept;
    /// The node's own array of 2 * GetNumAttributes texts, name and value in turn; null without attributes.
    LumPalStr::String_t* GetAttributes() const noexcept { return attributes.get(); }
    std::int32_t GetNumAttributes() const noexcept { return attributeCount; }

    std::int32_t ChildrenCount() const;
    /// @throws LumConf::ClusterXmlDataTreeException for an index that is not there
    XmlDataNode& operator[](int index) const;
    /// The first child of this name, whatever its case. @throws LumConf::ClusterXmlDataTreeException
    XmlDataNode& operator[](const LumPalStr::String_t& name) const;
    /// Appends a copy.
    void AddChildNode(XmlDataNode node);

private:
    friend class XmlHandler;
    void SetName(const LumPalStr::String_t& text) { name = text; }
    void SetValue(const LumPalStr::String_t& text) { value = text; }

    XmlDataNode* parent = nullptr;  ///< where the reader goes on behind this element; used while a file is read
    LumPalStr::String_t name, value;
    Handle<XmlDataNodes> children;
    std::int32_t attributeCount = 0;
    std::unique_ptr<LumPalStr::String_t[]> attributes;
};

}  // namespace LumConfCluster
