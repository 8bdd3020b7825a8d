#include "ChangeListener.h"

#include <gtest/gtest.h>

#include "ConfigServer.h"

namespace {

using namespace LumConf;

TEST(ChangeListener, OneThatWasTakenAwayHearsNothingAndAChangeWithoutOneIsNoFailure) {
    int heard = 0;
    ConfigServer::TellOfChanges([&] { ++heard; });
    ConfigServer::TellOfChanges({});
    EXPECT_NO_THROW(TellChangeListener());
    EXPECT_EQ(heard, 0);
}

TEST(ChangeListener, EachChangeIsToldOnceToTheOneThatWasSetLast) {
    int first = 0, second = 0;
    ConfigServer::TellOfChanges([&] { ++first; });
    TellChangeListener();
    ConfigServer::TellOfChanges([&] { ++second; });
    TellChangeListener();
    TellChangeListener();
    ConfigServer::TellOfChanges({});
    TellChangeListener();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
}

}  // namespace
