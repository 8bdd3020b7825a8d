#include "StrangersLog.h"

#include <gtest/gtest.h>

#include "AuditLog.h"
#include "Configure.h"
#include "Files.h"
#include "TempRoot.h"

namespace {

using namespace LumConf;
using namespace std::chrono_literals;

class StrangersLogTest : public testing::Test {
protected:
    StrangersLogTest() { std::filesystem::create_directories(root.Native() + "/log"); }
    std::string Text() const { return ReadText(root.Native() + "/log/conf.server.audit.strangers.log"); }
    int Count(const std::string& words) const {
        const std::string text = Text();
        int count = 0;
        for (auto at = text.find(words); at != std::string::npos; at = text.find(words, at + 1)) ++count;
        return count;
    }
    static std::string Line(const char* method) {
        return std::string(" WARNING Failure Audit: AUTH: Calling system '' is not authorized to call operation: '") +
               method + "'.\n";
    }
    static std::string Counted(int count, const char* method) {
        return " WARNING Failure Audit: AUTH: " + std::to_string(count) +
               " more calls of systems without an id, which are not authorized to call operation: '" + method +
               "', were refused in ten seconds and are not written one by one.\n";
    }

    TempRoot root;
    const StrangersLog::Clock::time_point start = StrangersLog::Clock::now();
};

TEST_F(StrangersLogTest, TheFirstHundredOfAnOperationAreWrittenAndTheOthersCountedInOneLine) {
    StrangersLog log;
    for (int i = 0; i < 1000; ++i) log.Refuse("install", start);
    log.Refuse("list", start);
    EXPECT_EQ(Count(Line("install")), 100);
    EXPECT_EQ(Count(Line("list")), 1) << "each operation has a hundred of its own";
    log.WriteCounts(start + 10s);
    EXPECT_EQ(Count(Counted(900, "install")), 1);
    EXPECT_EQ(Count("AUTH"), 102);
}

TEST_F(StrangersLogTest, AfterTenSecondsLinesAreWrittenAgainBehindTheCount) {
    StrangersLog log;
    for (int i = 0; i < 102; ++i) log.Refuse("install", start);
    log.Refuse("install", start + 10s);
    EXPECT_EQ(Count(Line("install")), 101);
    const std::string text = Text();
    EXPECT_LT(text.find(Counted(2, "install")), text.rfind(Line("install")));
}

TEST_F(StrangersLogTest, ACountIsWrittenInTimeWhenNobodyCallsAnyMore) {
    StrangersLog log;
    const auto longAgo = start - 10s + 50ms;
    for (int i = 0; i < 105; ++i) log.Refuse("install", longAgo);
    while (Count(Counted(5, "install")) == 0) std::this_thread::yield();
}

TEST_F(StrangersLogTest, WhatIsCountedAtTheEndIsNotLost) {
    {
        StrangersLog log;
        for (int i = 0; i < 105; ++i) log.Refuse("install", start);
        log.Finish();
        EXPECT_EQ(Count(Counted(5, "install")), 1);
        for (int i = 0; i < 3; ++i) log.Refuse("install", start);
    }
    EXPECT_EQ(Count(Counted(3, "install")), 1);
}

TEST_F(StrangersLogTest, ThereIsNoFileWithoutALine) {
    StrangersLog log;
    log.Finish();
    EXPECT_FALSE(std::filesystem::exists(root.Native() + "/log/conf.server.audit.strangers.log"));
}

TEST_F(StrangersLogTest, AProvenCallersRefusalsAreWrittenEachAndInTheAuditLogItself) {
    Configure("conf.server", "AUDIT_LOGGING", "true");
    AuditLog audit;
    for (int i = 0; i < 300; ++i) audit.LogAuthorizationError("host", "install");
    for (int i = 0; i < 300; ++i) audit.LogAuthorizationError("", "install");
    audit.WriteCounts();
    const std::string proven = ReadText(root.Native() + "/log/conf.server.audit.log");
    EXPECT_EQ(std::count(proven.begin(), proven.end(), '\n'), 300);
    EXPECT_EQ(proven.find("Calling system ''"), std::string::npos);
    EXPECT_EQ(Count(Line("install")), 100);
    EXPECT_EQ(Count(Counted(200, "install")), 1);
}

TEST_F(StrangersLogTest, WhileNothingIsAuditedNothingIsWritten) {
    AuditLog audit;
    for (int i = 0; i < 300; ++i) audit.LogAuthorizationError("", "install");
    audit.WriteCounts();
    EXPECT_EQ(Text(), "");
}

}  // namespace
