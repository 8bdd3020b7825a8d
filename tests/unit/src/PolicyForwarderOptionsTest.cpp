#include <gtest/gtest.h>

#include "PolicyForwarder.h"

namespace {

using Options = LumConf::PolicyForwarder::Options;

TEST(PolicyForwarderOptions, NewOptionsNotifyKeepTheConnectionAndNameNoTarget) {
    Options options;
    EXPECT_TRUE(options.GetNotify());
    EXPECT_FALSE(options.GetCloseConnection());
    EXPECT_TRUE(options.GetTargetID().IsEmpty());
}

TEST(PolicyForwarderOptions, SettersChain) {
    Options options;
    Options& same = options.SetNotify(false).SetCloseConnection(true).SetTargetID("Target");
    EXPECT_EQ(&same, &options);
    EXPECT_FALSE(options.GetNotify());
    EXPECT_TRUE(options.GetCloseConnection());
    EXPECT_EQ(options.GetTargetID(), "Target");
}

TEST(PolicyForwarderOptions, ACopyIsIndependent) {
    Options first;
    first.SetTargetID("a");
    Options copy(first), assigned;
    assigned = first;
    first.SetTargetID("b").SetNotify(false);
    EXPECT_EQ(copy.GetTargetID(), "a");
    EXPECT_TRUE(copy.GetNotify());
    EXPECT_EQ(assigned.GetTargetID(), "a");
    assigned = *&assigned;
    EXPECT_EQ(assigned.GetTargetID(), "a");
}

}  // namespace
