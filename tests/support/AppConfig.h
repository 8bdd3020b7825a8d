/// @file
/// The configuration of applications, and a cluster to hold it against.
#pragma once

#include <string>

#include "ClusterImpl.h"
#include "ClusterNodeImpl.h"
#include "ClusterResourceGroupImpl.h"
#include "Exceptions.h"
#include "Files.h"
#include "LumConfCluster/Applications.h"
#include "Messages.h"
#include "StringsImpl.h"
#include "TempRoot.h"

/// The files of applications below a node's root.
class AppConfig {
public:
    explicit AppConfig(const TempRoot& root) : root(root) {}
    std::string ListPath() const { return root.Native() + "/conf/conf/apminfo.xml"; }
    std::string Path(const std::string& name) const {
        return root.Native() + "/bin/instrumentation/conf/" + name + ".apm.xml";
    }
    std::string OtherPath(const std::string& name) const {
        return root.Native() + "/bin/instrumentation/" + name + ".apm.xml";
    }
    /// @param applications  what stands in the document's element
    void List(const std::string& applications) const {
        WriteText(ListPath(), "<APMClusterConfiguration>" + applications + "</APMClusterConfiguration>");
    }
    /// @param elements  what stands in the application's element
    void Describe(const std::string& name, const std::string& elements = "") const {
        WriteText(Path(name), Document(elements));
    }
    static std::string Document(const std::string& elements) {
        return "<APMApplicationConfiguration><Application>" + elements + "</Application></APMApplicationConfiguration>";
    }
    static std::string Entry(const std::string& name, const std::string& instances = "") {
        return "<Application><Name>" + name + "</Name>" + instances + "</Application>";
    }
    static std::string Instance(const std::string& name, const std::string& package) {
        return "<Instance><Name>" + name + "</Name><Package>" + package + "</Package></Instance>";
    }

private:
    const TempRoot& root;
};

/// A cluster that a test makes up; it runs no tools.
class MadeUpCluster {
public:
    class Impl final : public LumConfCluster::ClusterImpl {
    public:
        Impl() : ClusterImpl(LumConfCluster::ClusterType::Unknown) {}
        LumConfCluster::ClusterNodes GetNodes() override {
            ++asked;
            if (fails) LumConf::Raise<LumConf::ClusterNoNodeException>(LumConf::msg::VcsNodesNotRead);
            return {};
        }
        int asked = 0;
        bool fails = false;
    };
    void Add(const char* name, LumConfCluster::RGState state, const char* activeNode, std::uint16_t id = 0) const {
        const LumConfCluster::ClusterResourceGroup group;
        group.GetImpl()->name = name;
        group.GetImpl()->id = id;
        group.GetImpl()->state = state;
        group.GetImpl()->activeNode.GetImpl()->name = activeNode;
        groups.GetImpl()->Add(group);
    }

    Impl* const impl = new Impl;
    const LumConfCluster::Cluster cluster{impl};
    LumConfCluster::ClusterResourceGroups groups;
};
