#include "LumConfCluster/XmlDataNode.h"

#include <algorithm>

#include "XmlDataNodes.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

std::unique_ptr<String_t[]> CopyOf(const String_t* attributes, std::int32_t count) {
    if (count == 0) return nullptr;
    auto copy = std::make_unique<String_t[]>(2 * static_cast<std::size_t>(count));
    std::copy_n(attributes, 2 * static_cast<std::size_t>(count), copy.get());
    return copy;
}

}  // namespace

XmlDataNode::XmlDataNode() : children(new XmlDataNodes) {}

XmlDataNode::XmlDataNode(const XmlDataNode& other)
    : parent(other.parent),
      name(other.name),
      value(other.value),
      children(other.children),
      attributeCount(other.attributeCount),
      attributes(CopyOf(other.attributes.get(), other.attributeCount)) {}

XmlDataNode& XmlDataNode::operator=(const XmlDataNode& other) {
    if (this == &other) return *this;
    // Taken ahead: the other one may be a child that goes with the children of this one.
    const Handle<XmlDataNodes> otherChildren = other.children;
    const Handle<XmlDataNodes> formerChildren = children;
    attributes = CopyOf(other.attributes.get(), other.attributeCount);
    attributeCount = other.attributeCount;
    parent = other.parent;
    name = other.name;
    value = other.value;
    children = otherChildren;
    return *this;
}

XmlDataNode::~XmlDataNode() = default;

void XmlDataNode::SetAttributes(String_t* array, std::int32_t count) noexcept {
    if (array != attributes.get()) attributes.reset(array);
    if (count < 1) attributes.reset();
    attributeCount = attributes ? count : 0;
}

std::int32_t XmlDataNode::ChildrenCount() const {
    return children.GetImpl()->Count();
}

XmlDataNode& XmlDataNode::operator[](int index) const {
    return children.GetImpl()->At(index);
}

XmlDataNode& XmlDataNode::operator[](const String_t& childName) const {
    return children.GetImpl()->At(childName);
}

void XmlDataNode::AddChildNode(XmlDataNode node) {
    children.GetImpl()->Add(node);
}

}  // namespace LumConfCluster
