#include "LumConfCluster/Instances.h"

#include "InstanceImpl.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

Instances::Instances() : Handle(new InstancesImpl) {}

std::int32_t Instances::Count() const {
    return GetImpl()->Count();
}

Instance Instances::operator[](int index) const {
    return GetImpl()->At(index);
}

Instance Instances::operator[](const String_t& name) const {
    if (IsInstanceAmbiguous(name)) {
        const LumPalMsg::Message_t message = Make(msg::InstanceAmbiguous, name);
        LUMCONF_TRACE(trace::Cluster, message);
        throw AmbiguousInstanceNamesException(message);
    }
    return GetImpl()->At(name);
}

bool Instances::IsInstanceAmbiguous(const String_t& name) const {
    return GetImpl()->duplicates.Holds(name);
}

bool Instances::AreAmbiguousInstancesPresent(String_t& text) const {
    const MarkedNames& duplicates = GetImpl()->duplicates;
    if (duplicates.IsEmpty()) return false;
    text = duplicates.Listed();
    return true;
}

}  // namespace LumConfCluster
