#include "LumConfCluster/Applications.h"

#include <vector>

#include "ApplicationImpl.h"
#include "ApplicationLoader.h"

namespace LumConfCluster {

using LumPalStr::String_t;

Applications::Applications() : Handle(new ApplicationsImpl) {}

std::int32_t Applications::Count() const {
    return GetImpl()->Count();
}

Application Applications::operator[](int index) const {
    return GetImpl()->At(index);
}

Application Applications::operator[](const String_t& name) const {
    return GetImpl()->At(name);
}

void Applications::LoadConfig() {
    const Cluster cluster;
    LoadConfig(cluster, cluster.GetGroups());
}

void Applications::LoadConfig(const Cluster& cluster, const ClusterResourceGroups& groups) {
    LoadAPMConfig(*GetImpl(), cluster, groups);
}

bool Applications::IsInstanceAmbiguous(const String_t& name) const {
    return GetImpl()->ambiguousNames.Holds(name);
}

bool Applications::AreAmbiguousInstancesPresent(String_t& text) const {
    std::vector<String_t> texts;
    for (int i = 0; i < Count(); ++i) {
        if ((*this)[i].AreAmbiguousInstancesPresent(text)) texts.push_back(text);
    }
    text.Clear();
    for (auto last = texts.rbegin(); last != texts.rend(); ++last) text += *last + "; ";
    return !texts.empty();
}

}  // namespace LumConfCluster
