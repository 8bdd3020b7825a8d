#include "NodesByName.h"

namespace LumConfCluster {

using LumPalStr::String_t;

ClusterNode NodesByName::operator[](const String_t& name) {
    if (!nodes) Ask();
    const auto found = byName.find(name.ToLower());
    return found == byName.end() ? (*nodes)[name] : found->second;  // the list says what it lacks
}

ClusterNode NodesByName::Find(const String_t& name) {
    if (!nodes) Ask();
    const auto found = byName.find(name.ToLower());
    return found == byName.end() ? ClusterNode() : found->second;
}

void NodesByName::Ask() {
    nodes = ask();
    for (int i = 0; i < nodes->Count(); ++i) {
        const ClusterNode node = (*nodes)[i];
        byName.emplace(node.GetName().ToLower(), node);
    }
}

}  // namespace LumConfCluster
