#include "InstanceListing.h"

#include "Exceptions.h"
#include "ListingLines.h"
#include "Messages.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

void AddEach(Lines& lines, const char* label, const Strings& values) {
    for (int i = 0; i < values.Count(); ++i) lines.Add(label, values[i]);
}

bool IsOnline(const Instance& instance) {
    return instance.GetState() == InstanceState::Online;
}

void AddInstance(Lines& lines, const Instance& instance) {
    // kept: labels 13 and 15 wide beside each other: scripts read the columns
    lines.Add("#Instance ", instance.GetName())
        .Add("virtual IP   ", AddressOf(instance.GetResourceGroup()))
        .Add("state          ", DisplayText(instance.GetState()))
        .Add("active node    ", instance.GetActiveNode().GetName());
}

/// Gathers the answer to one question about one name.
class Answer {
public:
    Answer(const String_t& name, bool isInstanceState) : name(name), isInstanceState(isInstanceState) {}
    void Look(const Application& application) {
        const Instances instances = application.GetInstances();
        for (int i = 0; i < instances.Count(); ++i) {
            if (instances[i].GetName() == name) Take(instances[i]);
        }
    }
    bool IsFound() const { return isFound; }
    String_t Text() const { return isInstanceState ? String_t(isOnline ? "Online\n" : "Offline\n") : addresses; }

private:
    void Take(const Instance& instance) {
        isFound = true;
        if (isInstanceState) {
            isOnline = isOnline || IsOnline(instance);
            return;
        }
        const String_t address = instance.GetResourceGroup().GetVirtualIP();
        addresses += address.IsEmpty() ? "None " : address + "\n";  // kept: no line feed behind "None "
    }

    const String_t name;
    const bool isInstanceState;
    bool isFound = false, isOnline = false;
    String_t addresses;
};

void ExpectUnambiguous(const Application& application, const String_t& instanceName, const String_t& appNamespace) {
    if (!application.IsInstanceAmbiguous(instanceName)) return;
    Raise<AmbiguousInstanceNamesException>(msg::InstanceAmbiguousInApplication, instanceName, appNamespace);
}

void LookInOne(Answer& answer, const Applications& applications, const String_t& appNamespace,
               const String_t& instanceName) {
    const Application application = applications[appNamespace];
    ExpectUnambiguous(application, instanceName, appNamespace);
    answer.Look(application);
}

void LookInAll(Answer& answer, const Applications& applications, const String_t& instanceName) {
    for (int i = 0; i < applications.Count(); ++i) {
        if (applications.IsInstanceAmbiguous(instanceName))
            Raise<AmbiguousInstanceNamesException>(msg::InstanceAmbiguousAcross, instanceName);
        ExpectUnambiguous(applications[i], instanceName, applications[i].GetName());
        answer.Look(applications[i]);
    }
}

}  // namespace

String_t CollectApplication(const Application& application, bool activeOnly) {
    if (activeOnly && application.GetOnlineInstancesCount() == 0) return {};
    Lines lines;
    lines.Add("#Application ", application.GetName());
    AddEach(lines, "start command  ", application.GetStartActions());
    AddEach(lines, "stop command   ", application.GetStopActions());
    AddEach(lines, "custom agent   ", application.GetCustomAgents());
    AddEach(lines, "policy         ", application.GetPolicyNames());
    return lines.Text();
}

String_t CollectInstances(const Application& application, bool activeOnly) {
    const Instances instances = application.GetInstances();
    Lines lines;
    for (int i = 0; i < instances.Count(); ++i) {
        if (!activeOnly || IsOnline(instances[i])) AddInstance(lines, instances[i]);
    }
    return lines.Text();
}

// Without any application a namespace is not looked for: the instance is what is missing then.
String_t GetInstance(const Applications& applications, const String_t& appNamespace, const String_t& instanceName,
                     bool isInstanceState) {
    Answer answer(instanceName, isInstanceState);
    const bool isOneMeant = appNamespace.IsNotNull();
    const bool isOneLookedAt = isOneMeant && applications.Count() > 0;
    if (isOneLookedAt) LookInOne(answer, applications, appNamespace, instanceName);
    if (!isOneMeant) LookInAll(answer, applications, instanceName);
    if (!answer.IsFound() && isOneMeant)
        Raise<ClusterInstanceException>(msg::InstanceNotInApplication, instanceName, appNamespace);
    if (!answer.IsFound()) Raise<ClusterInstanceException>(msg::InstanceNotThere, instanceName);
    // kept: never reached, since nothing is found where nothing was looked at
    if (isOneMeant && !isOneLookedAt) Raise<ClusterApplicationException>(msg::ApplicationNotThere, appNamespace);
    return answer.Text();
}

}  // namespace LumConfCluster
