#include "ReportedStep.h"

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"
#include "TempRoot.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;

struct ReportedStepTest : testing::Test {
    static void Fail() { throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("the reason")); }
    TempRoot root;
    CapturedLog log{root.Native()};
};

TEST_F(ReportedStepTest, AStepThatSucceedsIsNotReported) {
    bool ran = false;
    RunReported(msg::ServerNotCreated, [&] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ReportedStepTest, AFailureIsLoggedAndTracedWithTheApplicationAndTheReasonAndTheNextStepIsTried) {
    TraceLines traced;
    bool triedNext = false;
    RunReported(msg::ServerNotCreated, Fail);
    RunReported(msg::MessengerNotCreated, [&] {
        triedNext = true;
        Fail();
    });
    EXPECT_TRUE(triedNext);
    const std::string name = LumPalRuntime::App_t::GetName().ToUtf8();
    const std::string first = "Could not create configuration server '" + name + "' and register its methods.";
    EXPECT_TRUE(log.Holds("ERROR " + first + "\n  the reason\n")) << log.Text();
    EXPECT_TRUE(log.Holds("ERROR Could not create messenger for configuration server '" + name +
                          "' and register its methods with the messenger object.\n  the reason\n"))
        << log.Text();
    EXPECT_TRUE(traced.Contains(first + "\n  the reason"));
}

TEST_F(ReportedStepTest, WhatIsNoFailureOfOursPassesThrough) {
    EXPECT_THROW(RunReported(msg::ServerNotCreated, [] { throw std::logic_error("a bug"); }), std::logic_error);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ReportedStepTest, TheNumbersAreThoseThatOperatorsSearchFor) {
    EXPECT_EQ(msg::ServerNotCreated.id, 179u);
    EXPECT_EQ(msg::MessengerNotCreated.id, 180u);
    EXPECT_EQ(msg::CheckPolicyErrors.id, 178u);
    EXPECT_EQ(msg::HostNotAuthenticated.id, 177u) << "kept in the catalogue, raised by nobody";
}

}  // namespace
