#include "LumConfCluster/Application.h"

#include "ApplicationImpl.h"

namespace LumConfCluster {

using LumPalStr::String_t;

Application::Application() : Handle(new ApplicationImpl) {}

String_t Application::GetName() const {
    return GetImpl()->name;
}

Instances Application::GetInstances() const {
    return GetImpl()->instances;
}

Strings Application::GetStartActions() const {
    return GetImpl()->startActions;
}

Strings Application::GetStopActions() const {
    return GetImpl()->stopActions;
}

Strings Application::GetCustomAgents() const {
    return GetImpl()->customAgents;
}

Strings Application::GetPolicyHeaders() const {
    return GetImpl()->policies;
}

Strings Application::GetPolicyNames() const {
    return GetImpl()->policies;
}

std::int32_t Application::GetOnlineInstancesCount() const {
    const Instances instances = GetInstances();
    std::int32_t count = 0;
    for (int i = 0; i < instances.Count(); ++i) count += instances[i].GetState() == InstanceState::Online;
    return count;
}

bool Application::IsInstanceAmbiguous(const String_t& name) const {
    return GetInstances().IsInstanceAmbiguous(name);
}

bool Application::AreAmbiguousInstancesPresent(String_t& text) const {
    if (!GetInstances().AreAmbiguousInstancesPresent(text)) return false;
    text = GetName() + "::" + text;
    return true;
}

bool Application::operator==(const Application& other) const {
    return GetName() == other.GetName();
}

}  // namespace LumConfCluster
