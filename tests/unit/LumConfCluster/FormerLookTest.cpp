// What the look before has found.
#include "FormerLook.h"

#include <ctime>

#include "ApplicationImpl.h"
#include "InstanceImpl.h"
#include "MonitoredNode.h"

namespace {

using LumConfCluster::Application;
using LumConfCluster::Applications;
using LumConfCluster::FormerLook;
using LumConfCluster::Instance;
using LumConfCluster::InstanceState;

Instance Of(const char* name, const char* group, bool isOnline = false) {
    const Instance instance;
    instance.GetImpl()->name = name;
    instance.GetImpl()->resourceGroup.GetImpl()->name = group;
    instance.GetImpl()->activeNode.GetImpl()->name = "north";
    instance.GetImpl()->state = isOnline ? InstanceState::Online : InstanceState::Offline;
    return instance;
}

class FormerLooks : public MonitoredNode {
protected:
    /// Of one application with so many instances.
    Applications Loaded(int count) {
        TestApplication shop{"shop", {}, {}};
        for (int i = 0; i < count; ++i) shop.instances.emplace_back("i" + std::to_string(i), "web");
        Write({shop});
        Applications loaded;
        seen = [&](const Applications& applications) { loaded = applications; };
        Begin();
        return loaded;
    }
};

/// Of the processor: others may have it meanwhile.
std::clock_t TimeToAskForEach(const Applications& applications) {
    const std::clock_t begin = std::clock();
    const FormerLook look(applications);
    const auto instances = applications[0].GetInstances();
    for (int i = 0; i < instances.Count(); ++i) EXPECT_TRUE(look.SideOf("SHOP", instances[i]).has_value());
    return std::clock() - begin;
}

TEST_F(FormerLooks, TenTimesTheInstancesTakeTenTimesAsLong) {
    const Applications few = Loaded(1000), many = Loaded(10000);
    ASSERT_EQ(many[0].GetInstances().Count(), 10000);
    std::clock_t best = TimeToAskForEach(few), bestOfMany = TimeToAskForEach(many);
    for (int i = 0; i < 2; ++i) {
        best = std::min(best, TimeToAskForEach(few));
        bestOfMany = std::min(bestOfMany, TimeToAskForEach(many));
    }
    EXPECT_LT(bestOfMany, 30 * best) << "a walk for each would take a hundred times as long";
}

TEST_F(FormerLooks, OfWhatItDoesNotHoldNothingIsKnown) {
    const Applications loaded = Loaded(1);
    const FormerLook look(loaded);
    EXPECT_EQ(look.SideOf("shop", loaded[0].GetInstances()[0]), false);
    EXPECT_EQ(look.SideOf("store", loaded[0].GetInstances()[0]), std::nullopt);
    EXPECT_EQ(look.SideOf("shop", LumConfCluster::Instance()), std::nullopt);
}

TEST_F(FormerLooks, ANameThatStandsTwiceCountsWithItsGroupToTheLetterOrNotAtAll) {
    const Application shop;
    shop.GetImpl()->name = "shop";
    for (const Instance& each : {Of("ab", "web", true), Of("ab", "db"), Of("b", "web", true), Of("c", "db", true)})
        shop.GetImpl()->instances.GetImpl()->Add(each);
    shop.GetImpl()->instances.GetImpl()->duplicates.Add("ab");
    const Applications applications;
    applications.GetImpl()->Add(shop);
    const FormerLook look(applications);
    struct Row {
        const char *name, *group;
        std::optional<bool> side;
    };
    for (const Row& row : {Row{"ab", "web", true},
                           {"ab", "db", false},
                           {"ab", "Web", std::nullopt},
                           {"ab", "idle", std::nullopt},
                           {"b", "web", true},  // ends one that stands twice
                           {"b", "WEB", std::nullopt},
                           {"b", "db", std::nullopt},
                           {"B", "idle", true},
                           {"C", "idle", true}}) {
        EXPECT_EQ(look.SideOf("shop", Of(row.name, row.group)), row.side) << row.name << " of " << row.group;
    }
}

}  // namespace
