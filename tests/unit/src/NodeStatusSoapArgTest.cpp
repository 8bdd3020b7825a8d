// The status of a node on the wire.
#include "NodeStatusSoapArg.h"

#include <gtest/gtest.h>

#include "SoapText.h"

namespace LumConf {
namespace {

NodeStatus Read(const std::string& inside) {
    NodeStatusSoapArg argument;
    ReadArgument(argument, inside);
    return argument.GetStatus();
}

NodeStatus Full() {
    NodeStatus status;
    status.version = "1.2.3";
    status.coreId = "node <1>";
    status.started = 1700000000;
    status.port = 7443;
    status.tls = true;
    status.onLoopbackAlone = true;
    status.awaitsRestart = true;
    status.policies = 9;
    status.enabled = 5;
    status.disabled = 3;
    status.missingFiles = 2;
    status.settingsBroken = "because & so";
    status.queued = 4;
    status.consumers = 6;
    status.cluster = "Pacemaker (PCMK)";
    status.certificates = {{"own", "node", 1800000000}, {"trusted", "ca", -5}};
    status.errors = {{1700000001, "one"}, {1700000002, "two\nlines"}};
    return status;
}

TEST(NodeStatusSoapArg, EachFieldSurvivesTheWay) {
    const NodeStatus sent = Full();
    NodeStatusSoapArg argument(sent);
    const NodeStatus got = Read(Written(argument));
    EXPECT_EQ(got.version, sent.version);
    EXPECT_EQ(got.coreId, sent.coreId);
    EXPECT_EQ(got.started, sent.started);
    EXPECT_EQ(got.port, sent.port);
    EXPECT_EQ(got.tls, sent.tls);
    EXPECT_EQ(got.onLoopbackAlone, sent.onLoopbackAlone);
    EXPECT_EQ(got.awaitsRestart, sent.awaitsRestart);
    EXPECT_EQ(got.policies, sent.policies);
    EXPECT_EQ(got.enabled, sent.enabled);
    EXPECT_EQ(got.disabled, sent.disabled);
    EXPECT_EQ(got.missingFiles, sent.missingFiles);
    EXPECT_EQ(got.settingsBroken, sent.settingsBroken);
    EXPECT_EQ(got.queued, sent.queued);
    EXPECT_EQ(got.consumers, sent.consumers);
    EXPECT_EQ(got.cluster, sent.cluster);
}

TEST(NodeStatusSoapArg, RowsSurviveTheWayInTheirOrder) {
    const NodeStatus sent = Full();
    NodeStatusSoapArg argument(sent);
    const NodeStatus got = Read(Written(argument));
    ASSERT_EQ(got.certificates.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(got.certificates[i].kind, sent.certificates[i].kind);
        EXPECT_EQ(got.certificates[i].name, sent.certificates[i].name);
        EXPECT_EQ(got.certificates[i].end, sent.certificates[i].end);
        EXPECT_EQ(got.errors[i].time, sent.errors[i].time);
        EXPECT_EQ(got.errors[i].text, sent.errors[i].text);
    }
}

TEST(NodeStatusSoapArg, WhatDoesNotComeStaysEmptyAndWhatIsNotKnownIsPassedOver) {
    const NodeStatus got = Read("<newer>x</newer><port>no number</port><tls>1</tls>");
    EXPECT_EQ(got.version, "");
    EXPECT_EQ(got.port, 0u);
    EXPECT_TRUE(got.tls);
    EXPECT_FALSE(got.awaitsRestart);
    EXPECT_TRUE(got.certificates.empty());
}

TEST(NodeStatusSoapArg, ANodeThatTellsRowsWithoutEndIsCutShort) {
    std::string rows;
    for (std::size_t i = 0; i < NodeStatusSoapArg::kMostRows + 10; ++i) rows += "<error_text>x</error_text>";
    EXPECT_EQ(Read(rows).errors.size(), NodeStatusSoapArg::kMostRows);
}

}  // namespace
}  // namespace LumConf
