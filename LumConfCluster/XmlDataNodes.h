/// @file
/// The children of an XML element.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "ClusterCollectionImpl.h"
#include "LumConfCluster/XmlDataNode.h"

namespace LumConfCluster {

/// A vector whose elements keep their places in memory when it grows: children point at their parents.
template <class T>
class SteadyVector {
public:
    std::size_t size() const noexcept { return elements.size(); }
    void push_back(T element) { elements.push_back(std::make_unique<T>(std::move(element))); }
    void clear() noexcept { elements.clear(); }
    const T& operator[](std::size_t place) const { return *elements[place]; }
    T& operator[](std::size_t place) { return *elements[place]; }

private:
    std::vector<std::unique_ptr<T>> elements;
};

class XmlDataNodes final
    : public ClusterCollectionImpl<XmlDataNode, LumConf::ClusterXmlDataTreeException, SteadyVector<XmlDataNode>> {};

}  // namespace LumConfCluster
