#include "LumConfCluster/Instances.h"

#include <gtest/gtest.h>

#include "AppConfig.h"
#include "ApplicationImpl.h"
#include "CapturedLog.h"
#include "Configure.h"
#include "HostName.h"
#include "InstanceImpl.h"
#include "LumPalNet.h"
#include "Raised.h"
#include "TraceLines.h"

namespace {

using namespace LumConfCluster;
using LumConf::AmbiguousInstanceNamesException;
using LumConf::ClusterInstanceException;
using LumPalStr::String_t;

Instance Named(const char* name, const char* group = "g") {
    const Instance instance;
    instance.GetImpl()->name = name;
    instance.GetImpl()->resourceGroup.GetImpl()->name = group;
    return instance;
}

/// On this node, as far as names go.
Instance Active(const char* node, InstanceState state = InstanceState::Online) {
    const Instance instance;
    instance.GetImpl()->activeNode.GetImpl()->name = node;
    instance.GetImpl()->state = state;
    return instance;
}

Instances Ambiguous(const std::initializer_list<const char*>& names) {
    const Instances instances;
    for (const char* name : names) instances.GetImpl()->duplicates.Add(name);
    return instances;
}

Application With(const char* name, const Instances& instances) {
    const Application application;
    application.GetImpl()->name = name;
    application.GetImpl()->instances = instances;
    return application;
}

String_t SystemName() {
    return LumPalNet::InetAddress_t::GetLocalHost().GetHostName();
}

class InstanceTest : public testing::Test {
protected:
    void SetLocalName(const char* name) { Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", name); }
    TempRoot root;
};

TEST_F(InstanceTest, IsEmptyAtFirstOnTheNodeOfTheConfiguration) {
    const Instance unnamed;
    EXPECT_EQ(unnamed.GetName(), "");
    EXPECT_EQ(unnamed.GetState(), InstanceState::Unknown);
    EXPECT_TRUE(unnamed.GetResourceGroup() == ClusterResourceGroup());
    EXPECT_TRUE(unnamed.GetActiveNode() == ClusterNode());
    EXPECT_FALSE(unnamed.IsNodeLocalResponsible());
    EXPECT_EQ(unnamed.GetLocalHost(), SystemName());
    SetLocalName("north");
    EXPECT_EQ(Instance().GetLocalHost(), "north");
    EXPECT_EQ(unnamed.GetLocalHost(), SystemName()) << "it is what it was";
}

TEST_F(InstanceTest, EqualsByNameAndResourceGroup) {
    EXPECT_TRUE(Named("a") == Named("a"));
    EXPECT_FALSE(Named("a") == Named("A"));
    EXPECT_FALSE(Named("a", "g") == Named("a", "h"));
    const Instance other = Named("a");
    other.GetImpl()->resourceGroup.GetImpl()->id = 7;
    EXPECT_FALSE(other == Named("a"));
}

TEST_F(InstanceTest, IsLocalByTheConfiguredNameAloneAndOnlyWhileItIsOnline) {
    SetLocalName("north");
    EXPECT_TRUE(Active("north").IsActiveNodeLocal());
    for (const InstanceState state : {InstanceState::Offline, InstanceState::Unknown})
        EXPECT_FALSE(Active("north", state).IsActiveNodeLocal());
    for (const char* node : {"NORTH", "north.example", "south", "", "127.0.0.1"})
        EXPECT_FALSE(Active(node).IsActiveNodeLocal()) << node;
}

TEST_F(InstanceTest, WithoutAConfiguredNameTheSystemsNameCounts) {
    const OwnHostName name("localhost");
    EXPECT_TRUE(Active("localhost").IsActiveNodeLocal());
    EXPECT_FALSE(Active("localhost", InstanceState::Offline).IsActiveNodeLocal());
    EXPECT_FALSE(Active("LOCALHOST").IsActiveNodeLocal());
    for (const char* node : {"", "no such host", "127.0.0.1", "192.0.2.1"})
        EXPECT_FALSE(Active(node).IsActiveNodeLocal()) << node << ": false, and no exception";
}

TEST_F(InstanceTest, CopiesShare) {
    const Instance one = Named("a");
    const Instance copy = one;
    one.GetImpl()->state = InstanceState::Online;
    EXPECT_EQ(copy.GetState(), InstanceState::Online);
}

class InstancesTest : public InstanceTest {};

TEST_F(InstancesTest, AreFoundByIndexAndByNameInAnyCase) {
    const Instances instances;
    instances.GetImpl()->Add(Named("One"));
    instances.GetImpl()->Add(Named("two"));
    EXPECT_EQ(instances.Count(), 2);
    EXPECT_EQ(instances["ONE"].GetName(), "One");
    EXPECT_EQ(instances[1].GetName(), "two");
    EXPECT_EQ(String_t(MessagesOf<ClusterInstanceException>([&] { instances["Three"]; })),
              "><No such element [Three] in the collection.");
    for (const int index : {-1, 2})
        EXPECT_EQ(String_t(MessagesOf<ClusterInstanceException>([&] { instances[index]; })),
                  "><Index is out of range.");
}

TEST_F(InstancesTest, AnAmbiguousNameIsRefusedBeforeItIsLookedFor) {
    Configure("conf.cluster", "MONITOR_MODE", "true");
    const TraceLines trace;
    const CapturedLog log(root.Native());
    const Instances instances = Ambiguous({"x"});
    const auto messages = MessagesOf<AmbiguousInstanceNamesException>([&] { instances["x"]; });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 673u);
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    EXPECT_EQ(String_t(messages), "Ambiguity with Instance name 'x'.");
    EXPECT_TRUE(trace.Contains("Ambiguity with Instance name 'x'."));
    EXPECT_EQ(log.Text(), "") << "traced only, also where the node is monitored";
    instances.GetImpl()->Add(Named("x"));
    instances.GetImpl()->Add(Named("x", "h"));
    EXPECT_RAISES(instances["x"], AmbiguousInstanceNamesException, 673);
    EXPECT_EQ(instances[0].GetName(), "x");
    EXPECT_EQ(instances["X"].GetName(), "x") << "in another case it is not looked for among the ambiguous ones";
}

TEST_F(InstancesTest, TheEndOfAnAmbiguousNameIsAmbiguousToo) {
    const Instances instances = Ambiguous({"abc", "d"});
    for (const char* name : {"abc", "bc", "c", "", "d"}) EXPECT_TRUE(instances.IsInstanceAmbiguous(name)) << name;
    for (const char* name : {"ab", "ABC", "abcd", "dd"}) EXPECT_FALSE(instances.IsInstanceAmbiguous(name)) << name;
}

TEST_F(InstancesTest, WithoutAmbiguousNamesTheTextIsLeftAlone) {
    String_t text = "as it was";
    EXPECT_FALSE(Instances().AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, "as it was");
    EXPECT_FALSE(Application().AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, "as it was");
}

TEST_F(InstancesTest, AmbiguousNamesAreToldWithABlankAtEitherEnd) {
    String_t text;
    EXPECT_TRUE(Ambiguous({"a"}).AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, " a ");
    EXPECT_TRUE(Ambiguous({"a", "b", "c d"}).AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, " a, b, c d ");
    EXPECT_TRUE(Ambiguous({"", "b"}).AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, " , b ");
}

TEST_F(InstancesTest, AnApplicationPutsItsNameBeforeTheText) {
    String_t text;
    EXPECT_TRUE(With("shop", Ambiguous({"a", "b"})).AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, "shop:: a, b ");
}

TEST_F(InstancesTest, OfSeveralApplicationsTheLaterOnesComeFirst) {
    const Applications applications;
    String_t text = "as it was";
    EXPECT_FALSE(applications.AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, "");
    for (const auto& [name, instances] : std::initializer_list<std::pair<const char*, Instances>>{
             {"one", Ambiguous({"a"})}, {"two", Instances()}, {"three", Ambiguous({"a", "b"})}}) {
        applications.GetImpl()->Add(With(name, instances));
    }
    EXPECT_TRUE(applications.AreAmbiguousInstancesPresent(text));
    EXPECT_EQ(text, "three:: a, b ; one:: a ; ");
    applications.GetImpl()->ambiguousNames.Add("x");
    EXPECT_TRUE(applications.IsInstanceAmbiguous("x"));
    applications.AreAmbiguousInstancesPresent(text);
    EXPECT_EQ(text, "three:: a, b ; one:: a ; ") << "a name shared by two applications is not told";
}

TEST_F(InstancesTest, OnlineOnesAreCounted) {
    const Instances instances;
    for (const InstanceState state :
         {InstanceState::Online, InstanceState::Offline, InstanceState::Unknown, InstanceState::Online})
        instances.GetImpl()->Add(Active("n", state));
    EXPECT_EQ(With("shop", instances).GetOnlineInstancesCount(), 2);
}

}  // namespace
