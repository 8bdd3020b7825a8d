#include "ApplicationLoader.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "InstanceImpl.h"
#include "LumConfCluster/ApplicationFiles.h"
#include "LumConfCluster/XmlDataTree.h"
#include "Names.h"
#include "PlainName.h"
#include "StorePaths.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalIo::FileNotFoundException_t;
using LumPalStr::String_t;

namespace {

constexpr const char* kListTag = "APMClusterConfiguration";
constexpr const char* kFileTag = "APMApplicationConfiguration";
constexpr const char* kApplicationTag = "Application";
constexpr const char* kInstanceTag = "Instance";

/// An element of an application's file, and the list that its text goes to.
struct ElementRow {
    const char* name;
    Strings ApplicationImpl::*list;
};

constexpr ElementRow kElements[]{
    {"Name", nullptr},
    {"Template", &ApplicationImpl::policies},
    {"Subagent", &ApplicationImpl::customAgents},
    {"StartCommand", &ApplicationImpl::startActions},
    {"StopCommand", &ApplicationImpl::stopActions},
};

struct XmlFile {
    String_t path;
    XmlDataTree tree;
};

XmlFile Loaded(const LumPalIo::File_t& file) {
    XmlFile loaded{file.GetAbsolutePath(), {}};
    loaded.tree.Load(file);
    return loaded;
}

/// A name that leads out of the folders has no file: nothing is opened.
void CheckName(const String_t& name) {
    if (!CanHaveApplicationFile(name)) Raise<FileNotFoundException_t>(msg::AppNameNotPlain, Shown(name));
}

XmlFile LoadedApplication(const String_t& name) {
    CheckName(name);
    try {
        return Loaded(paths::ApplicationFile(name));
    } catch (const FileNotFoundException_t& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
    return Loaded(paths::OtherApplicationFile(name));
}

void ExpectTag(const XmlDataNode& element, const char* tag, const String_t& path) {
    if (element.GetName() != tag) Raise<ClusterParserException>(msg::AppUnknownTag, element.GetName(), path);
}

void AddElement(ApplicationImpl& application, const XmlDataNode& element, const String_t& path) {
    const auto row = std::find_if(std::begin(kElements), std::end(kElements),
                                  [&](const ElementRow& known) { return element.GetName() == known.name; });
    if (row == std::end(kElements)) Raise<ClusterParserException>(msg::AppUnknownTag, element.GetName(), path);
    if (row->list) (application.*row->list).Add(element.GetValue());
}

/// @return where the file was
String_t AddApplicationFile(ApplicationImpl& application, const String_t& name) {
    const XmlFile file = LoadedApplication(name);
    const XmlDataNode& document = file.tree[0];
    if (document.GetName() != kFileTag) Raise<ClusterParserException>(msg::AppConfigFirstTag, file.path);
    const XmlDataNode& element = document[0];
    ExpectTag(element, kApplicationTag, file.path);
    for (int i = 0; i < element.ChildrenCount(); ++i) AddElement(application, element[i], file.path);
    return file.path;
}

/// The groups by their names, as a list of groups finds them, without a walk for each question.
class GroupsByName {
public:
    explicit GroupsByName(const ClusterResourceGroups& groups) : groups(groups) {
        for (int i = 0; i < groups.Count(); ++i) places.try_emplace(groups[i].GetName().ToLower(), i);
    }
    /// @param path  the file that is being read
    ClusterResourceGroup Get(const String_t& name, const String_t& path) const {
        const auto found = places.find(name.ToLower());
        if (found == places.end()) Raise<ClusterParserException>(msg::AppGroupDoesNotExist, path, name);
        return groups[found->second];
    }

private:
    ClusterResourceGroups groups;
    std::map<String_t, int> places;
};

/// Reads the configuration once.
class ConfigLoad {
public:
    ConfigLoad(ApplicationsImpl& applications, const Cluster& cluster, const ClusterResourceGroups& groups)
        : applications(applications),
          cluster(cluster),
          groups(groups),
          local(LocalName::Read().OrToldBy(cluster)),
          address(local.name) {}
    void Run() {
        const XmlFile list = Loaded(paths::ApplicationListFile());
        const XmlDataNode& document = list.tree[0];
        if (document.GetName() != kListTag) Raise<ClusterParserException>(msg::AppListFirstTag, list.path);
        cluster.GetNodes();  // kept: a cluster that does not tell its nodes fails the load
        applications.ambiguousNames = MarkedNames();
        for (int i = 0; i < document.ChildrenCount(); ++i) {
            ExpectTag(document[i], kApplicationTag, list.path);
            AddEntry(document[i]);
        }
    }

private:
    /// kept: one that is dropped is read all the same.
    void AddEntry(const XmlDataNode& entry) {
        const String_t name = entry["Name"].GetValue();
        const ApplicationNames::Entry kind = seenApplications.Add(name);
        const Application application = kind == ApplicationNames::Entry::Further ? byName.at(name) : Application();
        const String_t path = AddApplicationFile(*application.GetImpl(), name);
        AddInstances(application, entry, path);
        if (kind == ApplicationNames::Entry::Dropped) {
            applications.dropped.emplace_back(name, seenApplications.FindHolder(name));
        }
        if (kind != ApplicationNames::Entry::First) return;
        application.GetImpl()->name = name;
        byName.emplace(name, application);
        applications.Add(application);
    }
    void AddInstances(const Application& application, const XmlDataNode& entry, const String_t& path) {
        InstancesImpl& instances = *application.GetInstances().GetImpl();
        MarkedNames here;
        for (int i = 0; i < instances.Count(); ++i) here.Add(instances.At(i).GetName());
        for (int i = 0; i < entry.ChildrenCount(); ++i) {
            if (entry[i].GetName() == kInstanceTag) AddInstance(instances, here, entry[i], path);
        }
    }
    void AddInstance(InstancesImpl& instances, MarkedNames& here, const XmlDataNode& element, const String_t& path) {
        const String_t name = element["Name"].GetValue();
        const String_t package = element["Package"].GetValue();
        Note(name, here, instances.duplicates);
        instances.Add(MakeInstance(name, groups.Get(package, path)));
    }
    void Note(const String_t& name, MarkedNames& here, MarkedNames& duplicates) {
        AddWhereNew(name, here, duplicates);
        if (!seenInstances.Holds(name)) {
            seenInstances.Add(name);
        } else if (!duplicates.Holds(name) && !applications.ambiguousNames.Holds(name)) {
            applications.ambiguousNames.Add(name);
        }
    }
    static void AddWhereNew(const String_t& name, MarkedNames& here, MarkedNames& duplicates) {
        if (!here.Holds(name)) {
            here.Add(name);
        } else if (!duplicates.Holds(name)) {
            duplicates.Add(name);
        }
    }
    Instance MakeInstance(const String_t& name, const ClusterResourceGroup& group) {
        const Instance instance(new InstanceImpl(local));
        InstanceImpl& impl = *instance.GetImpl();
        impl.name = name;
        impl.resourceGroup = group;
        impl.activeNode = group.GetActiveNode();
        impl.state = StateOf(group);
        return instance;
    }
    // kept: by its address a group's node makes an instance online whatever the state of the group, unless unknown
    InstanceState StateOf(const ClusterResourceGroup& group) {
        if (group.GetState() == RGState::Unknown) return InstanceState::Unknown;
        const String_t node = group.GetActiveNode().GetName();
        const bool isHere =
            local.isExact ? group.GetState() == RGState::Online && local.name == node : address.IsOf(node);
        return isHere ? InstanceState::Online : InstanceState::Offline;
    }

    ApplicationsImpl& applications;
    const Cluster& cluster;
    const GroupsByName groups;
    const LocalName local;
    LocalAddress address;
    ApplicationNames seenApplications;
    MarkedNames seenInstances;
    std::map<String_t, Application> byName;
};

template <class E>
[[noreturn]] void TraceAndThrow(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    throw E(message);
}

}  // namespace

void LoadAPMConfig(ApplicationsImpl& applications, const Cluster& cluster, const ClusterResourceGroups& groups) {
    applications.Clear();
    applications.dropped.clear();
    try {
        ConfigLoad(applications, cluster, groups).Run();
    } catch (const ClusterParserException&) {
        throw;
    } catch (const ClusterXmlDataTreeException&) {
        throw;
    } catch (const FileNotFoundException_t& e) {
        TraceAndThrow<FileNotFoundException_t>(Make(msg::AppFileNotFound, e));
    } catch (const LumPalMsg::Exception_t& e) {
        TraceAndThrow<ClusterParserException>(Make(msg::AppConfigNotParsed, e));
    }
}

}  // namespace LumConfCluster
