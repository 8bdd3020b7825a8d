// The data files that a list is narrowed to, on the wire.
#include "DataFilesSoapArg.h"

#include <gtest/gtest.h>

#include "SoapText.h"

namespace LumConf {
namespace {

using Files = DataFilesSoapArg::Files;

Files Read(const std::string& inside) {
    DataFilesSoapArg argument;
    ReadArgument(argument, inside);
    return argument.GetFiles();
}

TEST(DataFilesSoapArg, EachFileIsAnElement) {
    DataFilesSoapArg argument(Files{"a.txt", "b<c"});
    EXPECT_EQ(Written(argument),
              "<policy_data_file>a.txt</policy_data_file><policy_data_file>b&lt;c</policy_data_file>");
    DataFilesSoapArg none;
    EXPECT_EQ(Written(none), "");
}

TEST(DataFilesSoapArg, TheFilesSurviveTheWayInTheirOrder) {
    const Files files{" z ", "a", "a", LumPalStr::String_t::FromUtf8("\xC3\x84 \xF0\x9F\x94\x92")};
    DataFilesSoapArg argument(files);
    EXPECT_EQ(Read(Written(argument)), files);
}

TEST(DataFilesSoapArg, WhatItDoesNotKnowIsPassedOver) {
    EXPECT_EQ(Read("<new>x<newer>y</newer></new><policy_data_file>a</policy_data_file>"), Files{"a"});
    EXPECT_EQ(Read("text"), Files{});
}

TEST(DataFilesSoapArg, ARequestMayComeWithoutIt) {
    DataFilesSoapArg argument;
    EXPECT_TRUE(argument.IsOptional());
    ReadMessage(argument, "<Other/>");
    EXPECT_FALSE(argument.HasArrived());
    EXPECT_EQ(argument.GetFiles(), Files{});
}

}  // namespace
}  // namespace LumConf
