// What the look before has found.
#include "FormerLook.h"

#include <ctime>

#include "MonitoredNode.h"

namespace {

using LumConfCluster::Applications;
using LumConfCluster::FormerLook;

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

}  // namespace
