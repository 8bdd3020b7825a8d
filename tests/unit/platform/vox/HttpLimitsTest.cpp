#include "HttpLimits.h"

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "LumVoxMsg.h"
#include "TempRoot.h"

using LumPalConfig::Configuration_t;
using LumVoxMsg::HttpLimits;

namespace {

Configuration_t With(const char* key, const char* value) {
    Configuration_t configuration{LumPalStr::String_t("vox.http.ext.conf")};
    configuration.SetAttrValue(key, value);
    return configuration;
}

struct Row {
    const char* key;
    std::uint64_t (*get)(const HttpLimits&);
    const char *least, *below, *most, *above;
};

#define MEMBER(expression) [](const HttpLimits& l) { return static_cast<std::uint64_t>(l.expression); }

const Row kRows[] = {
    {"SERVER_PORT", MEMBER(port), "0", "-1", "65535", "65536"},
    {"IO_THREADS", MEMBER(ioThreads), "1", "0", "64", "65"},
    {"WORKER_THREADS", MEMBER(workerThreads), "1", "0", "256", "257"},
    {"HEADER_LIMIT", MEMBER(headerBytes), "1024", "1023", "1048576", "1048577"},
    {"BODY_LIMIT", MEMBER(bodyBytes), "1024", "1023", "2147483647", "2147483648"},
    {"BODY_TOTAL_LIMIT", MEMBER(allBodiesBytes), "1048576", "1048575", "1099511627776", "1099511627777"},
    {"MAX_CONNECTIONS", MEMBER(connections), "1", "0", "1000000", "1000001"},
    {"MAX_ADDRESS_CONNECTIONS", MEMBER(addressConnections), "1", "0", "1000000", "1000001"},
    {"HANDSHAKE_TIMEOUT", MEMBER(handshakeTime.count()), "100", "99", "3600000", "3600001"},
    {"HEADER_TIMEOUT", MEMBER(headerTime.count()), "100", "99", "3600000", "3600001"},
    {"BODY_TIMEOUT", MEMBER(bodyTime.count()), "100", "99", "3600000", "3600001"},
    {"IDLE_TIMEOUT", MEMBER(idleTime.count()), "100", "99", "3600000", "3600001"},
    {"WRITE_TIMEOUT", MEMBER(writeTime.count()), "100", "99", "3600000", "3600001"},
    {"CLOSE_TIMEOUT", MEMBER(closeTime.count()), "100", "99", "3600000", "3600001"},
    {"MIN_RATE", MEMBER(bytesPerSecond), "1", "0", "1073741824", "1073741825"},
};

struct HttpLimitsTest : testing::Test {
    TempRoot root;
    CapturedLog log{root.Native()};
};

}  // namespace

TEST_F(HttpLimitsTest, EachKeyIsTakenWithinItsBounds) {
    for (const Row& row : kRows) {
        for (const char* good : {row.least, row.most})
            EXPECT_EQ(row.get(HttpLimits::Load(With(row.key, good))), std::stoull(good)) << row.key;
        EXPECT_EQ(log.Text(), "") << row.key;
    }
}

TEST_F(HttpLimitsTest, AWrongValueGivesTheDefaultAndAWarningThatNamesTheKey) {
    for (const Row& row : kRows)
        for (const char* bad : {row.below, row.above, "", "many", "1e3", "10 000", "0x10", "99999999999999999999"}) {
            EXPECT_EQ(row.get(HttpLimits::Load(With(row.key, bad))), row.get(HttpLimits())) << row.key << " " << bad;
            EXPECT_TRUE(log.Holds(std::string("'") + row.key + "'")) << row.key << " " << bad;
        }
}

TEST_F(HttpLimitsTest, AnEmptyConfigurationGivesTheDefaults) {
    const HttpLimits limits = HttpLimits::Load(Configuration_t());
    for (const Row& row : kRows) EXPECT_EQ(row.get(limits), row.get(HttpLimits())) << row.key;
    EXPECT_EQ(limits.port, 7443u);
    EXPECT_EQ(limits.bodyBytes, 64u << 20);
    EXPECT_TRUE(limits.bindAddress.IsEmpty());
    EXPECT_EQ(log.Text(), "");
}

TEST_F(HttpLimitsTest, AnAddressIsTakenAsItIsAndASlipOpensNothing) {
    const struct {
        const char *value, *taken;
    } rows[] = {{"", ""},
                {" ", ""},
                {"0.0.0.0", "0.0.0.0"},
                {" 192.0.2.1 ", "192.0.2.1"},
                {"::", "::"},
                {"::1", "::1"},
                {"localhost", "127.0.0.1"},
                {"127.0.0.", "127.0.0.1"},
                {"*", "127.0.0.1"},
                {"127.0.0.256", "127.0.0.1"}};
    for (const auto& row : rows)
        EXPECT_EQ(HttpLimits::Load(With("BIND_ADDRESS", row.value)).bindAddress, row.taken) << row.value;
    EXPECT_TRUE(log.Holds("'BIND_ADDRESS'"));
}

TEST_F(HttpLimitsTest, EachWrongValueIsFoundWithoutALineInTheLog) {
    for (const Row& row : kRows) {
        for (const char* good : {row.least, row.most})
            EXPECT_EQ(LumVoxMsg::FindWrongLimits(With(row.key, good)).GetMessageCount(), 0) << row.key << " " << good;
        for (const char* bad : {row.below, row.above, "", "many"}) {
            const auto wrong = LumVoxMsg::FindWrongLimits(With(row.key, bad));
            ASSERT_EQ(wrong.GetMessageCount(), 1) << row.key << " " << bad;
            const std::string text = wrong.GetMessage(0).Format(LumPalMsg::BareText).ToUtf8();
            EXPECT_NE(text.find(std::string("'") + bad + "' is no value for '" + row.key + "'"), text.npos) << text;
        }
    }
    EXPECT_EQ(LumVoxMsg::FindWrongLimits(With("BIND_ADDRESS", "everywhere")).GetMessageCount(), 1);
    EXPECT_EQ(LumVoxMsg::FindWrongLimits(Configuration_t()).GetMessageCount(), 0);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(HttpLimitsTest, KnowsLoopbackAddresses) {
    for (const char* address : {"127.0.0.1", "127.1.2.3", "::1"})
        EXPECT_TRUE(HttpLimits::IsLoopback(address)) << address;
    for (const char* address : {"0.0.0.0", "::", "192.0.2.1", "128.0.0.1", "", "localhost"})
        EXPECT_FALSE(HttpLimits::IsLoopback(address)) << address;
}
