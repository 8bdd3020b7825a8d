// What lumcluster asks the tools of a cluster for.
#include "lumcluster/Look.h"

#include <gtest/gtest.h>

#include "MonitoredNode.h"

namespace {

using lumcluster::Addresses;
using std::chrono::seconds;

constexpr const char* kAddressCall = "hares -value web_ip Address";

class LookAtACluster : public MonitoredNode {
protected:
    lumcluster::Sight Look(Addresses* addresses) { return lumcluster::Look(lumcluster::Keys::Read(), addresses); }
    std::string AddressOfWeb() {
        for (const lumcluster::GroupFacts& group : Look(&addresses).groups) {
            if (group.name == "web") return group.address.value_or("?");
        }
        return "no group";
    }
    std::size_t Asked() const { return cluster.tools.Count(kAddressCall); }

    std::chrono::steady_clock::time_point now;
    Addresses addresses{[this] { return now; }};
};

TEST_F(LookAtACluster, AnAddressIsAskedForAgainWhenItsGroupHasMovedAndEveryMinute) {
    EXPECT_EQ(AddressOfWeb(), "10.0.0.7");
    now += seconds(59);
    EXPECT_EQ(AddressOfWeb(), "10.0.0.7");
    EXPECT_EQ(Asked(), 1u) << "nothing has changed";
    cluster.tools.Answer(kAddressCall, "10.0.0.8\n");
    now += seconds(1);
    EXPECT_EQ(AddressOfWeb(), "10.0.0.8") << "it is a minute old";
    cluster.tools.Answer(kAddressCall, "10.0.0.9\n");
    Move("web", "north");
    EXPECT_EQ(AddressOfWeb(), "10.0.0.9") << "another node";
    cluster.tools.Answer(kAddressCall, "10.0.0.10\n");
    cluster.tools.Answer("hagrp -value web State", "|OFFLINE|\n");
    Move("web", "");
    EXPECT_EQ(AddressOfWeb(), "10.0.0.10") << "another state";
    EXPECT_EQ(Asked(), 4u);
}

TEST_F(LookAtACluster, AnAddressThatCannotBeHadIsAskedForEachTime) {
    cluster.tools.Answer(kAddressCall, "", 1);
    EXPECT_EQ(AddressOfWeb(), "?");
    cluster.tools.Answer(kAddressCall, "10.0.0.7\n");
    EXPECT_EQ(AddressOfWeb(), "10.0.0.7");
}

}  // namespace
