#include "AuditLog.h"

#include <gtest/gtest.h>
#include <atomic>

#include <thread>
#include <tuple>
#include <vector>

#include "Configure.h"
#include "Faults.h"
#include "Files.h"
#include "LumPalCfgFile.h"
#include "Messages.h"
#include "TempRoot.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using LumPalStr::String_t;
using Mode = AuditLog::Mode;
using Outcome = AuditLog::Outcome;

class AuditLogTest : public testing::Test {
protected:
    std::string Text() const { return ReadText(root.Native() + "/log/conf.server.audit.log"); }
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::istringstream in(Text());
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }
    void TurnOn(const char* mode = nullptr) const {
        std::filesystem::create_directories(root.Native() + "/log");
        Configure("conf.server", "AUDIT_LOGGING", "true");
        if (mode) Configure("conf.server", "AUDIT_LOG_MODE", mode);
    }
    static bool EndsIn(const std::string& line, const std::string& end) {
        return line.size() >= end.size() && line.compare(line.size() - end.size(), end.size(), end) == 0;
    }
    void ExpectOneLine(const std::string& severity, const std::string& text) const {
        ASSERT_EQ(Lines().size(), 1u);
        EXPECT_TRUE(EndsIn(Lines()[0], text)) << Lines()[0];
        EXPECT_NE(Lines()[0].find(severity), std::string::npos) << Lines()[0];
        std::filesystem::resize_file(root.Native() + "/log/conf.server.audit.log", 0);
    }

    TempRoot root;
};

struct ModeWords {
    int mode;
    const char* success;
    const char* failure;
};

TEST_F(AuditLogTest, EachModeOfAPolicyHasItsTwoLines) {
    const ModeWords rows[] = {
        {0, "INSTALL: Policy (name: 'n', id: 'i') was successfully installed.",
         "INSTALL: Policy (name: 'n', id: 'i') could not be installed."},
        {1, "REMOVE: Policy (name: 'n', id: 'i') was successfully removed.",
         "REMOVE: Policy (name: 'n', id: 'i') could not be removed."},
        {2, "ENABLE: Policy (name: 'n', id: 'i') was successfully enabled.",
         "ENABLE: Policy (name: 'n', id: 'i') could not be enabled."},
        {3, "DISABLE: Policy (name: 'n', id: 'i') was successfully disabled.",
         "DISABLE: Policy (name: 'n', id: 'i') could not be disabled."},
        {6, "MODIFY: Policy (name: 'n', id: 'i') owner was successfully changed.",
         "MODIFY: Policy (name: 'n', id: 'i') owner could not be changed."},
        {7, "MODIFY: Policy (name: 'n', id: 'i') category was successfully changed.",
         "MODIFY: Policy (name: 'n', id: 'i') category could not be changed."},
        {8, "MODIFY: Policy (name: 'n', id: 'i') attribute was successfully changed.",
         "MODIFY: Policy (name: 'n', id: 'i') attribute could not be changed."},
    };
    TurnOn();
    AuditLog log;
    for (const ModeWords& row : rows) {
        log.Log("host", "n", "i", Mode(row.mode), Outcome::Success);
        ExpectOneLine("INFO", std::string("Success Audit: ") + row.success + " Calling system: 'host'");
        log.Log("host", "n", "i", Mode(row.mode), Outcome::Failure);
        ExpectOneLine("WARNING", std::string("Failure Audit: ") + row.failure + " Calling system: 'host'");
    }
}

TEST_F(AuditLogTest, EachModeOfAnOperationHasItsTwoLines) {
    const ModeWords rows[] = {
        {0, "INSTALL: Policy installation was successful.", "NOTIFY: Policy installation had errors."},
        {1, "REMOVE: Policy successfully removed.", "REMOVE: Policy could not be removed."},
        {2, "ENABLE: Policy successfully enabled.", "ENABLE: Policy could not be enabled."},
        {3, "DISABLE: Policy successfully disabled.", "DISABLE: Policy could not be disabled."},
        {4, "NOTIFY: Notification trigger was successfully sent.", "NOTIFY: Notification trigger could not be sent."},
        {5, "LIST: Policy list operation was successfully.", "LIST: Policy list operation was not successful."},
        {6, "MODIFY: Policy owner changed successfully.", "MODIFY: Policy owner could not be changed."},
        {7, "MODIFY: Policy category modified successfully.", "MODIFY: Policy category could not be modified."},
        {8, "MODIFY: Policy attribute modified successfully.", "MODIFY: Policy attribute could not be modified."},
        {9, "REINIT: Policy cache successfully re-initialized.", "REINIT: Policy cache could not be re-initialized."},
        {10, "CONFIG: Configuration set operation completed successfully.",
         "CONFIG: Configuration set operation failed."},
        {11, "CONFIG: Configuration get operation completed successfully.",
         "CONFIG: Configuration get operation failed."},
        {12, "CONFIG: Configuration clear operation completed successfully.",
         "CONFIG: Configuration clear operation failed."},
    };
    TurnOn();
    AuditLog log;
    for (const ModeWords& row : rows) {
        log.Log("host", Mode(row.mode), Outcome::Success);
        ExpectOneLine("INFO", std::string("Success Audit: ") + row.success + " Calling system: 'host'");
        log.Log("host", Mode(row.mode), Outcome::Failure);
        ExpectOneLine("WARNING", std::string("Failure Audit: ") + row.failure + " Calling system: 'host'");
    }
}

TEST_F(AuditLogTest, ALineMoreStandsDirectlyBehindItsOwnUnderTheSameChoices) {
    TurnOn("failure");
    AuditLog log;
    std::atomic<int> made = 0;
    const auto more = [&made] {
        ++made;
        return LumPalMsg::Message_t(LumPalMsg::CreateWarn_t(String_t("more")));
    };
    log.Log("host", AuditLog::ConfigSet, Outcome::Success, log.GetChoices(), more);
    log.Log("conf.cluster", AuditLog::ConfigSet, Outcome::Failure, log.GetChoices(), more);
    EXPECT_EQ(made, 0) << "it is not made for a line that is not wanted";
    EXPECT_EQ(Lines().size(), 0u);
    std::vector<std::jthread> writers;
    for (int i = 0; i < 4; ++i) {
        writers.emplace_back([&] {
            for (int j = 0; j < 50; ++j) log.Log("host", AuditLog::ConfigSet, Outcome::Failure, log.GetChoices(), more);
        });
    }
    writers.clear();
    const std::vector<std::string> lines = Lines();
    ASSERT_EQ(lines.size(), 400u);
    for (std::size_t i = 0; i < lines.size(); i += 2) {
        EXPECT_TRUE(EndsIn(lines[i], "Configuration set operation failed. Calling system: 'host'")) << lines[i];
        EXPECT_TRUE(EndsIn(lines[i + 1], "WARNING more")) << lines[i + 1];
    }
}

TEST_F(AuditLogTest, AnOperationThatChangesTheChoicesIsWrittenWhenItWasWantedBefore) {
    std::filesystem::create_directories(root.Native() + "/log");
    AuditLog log;
    const auto more = [] { return LumPalMsg::Message_t(LumPalMsg::CreateInfo_t(String_t("more"))); };
    log.Log("host", AuditLog::ConfigSet, Outcome::Success, {false, false}, more);
    log.Log("host", AuditLog::ConfigSet, Outcome::Success, {true, true}, more);
    log.Log("conf.cluster", AuditLog::ConfigSet, Outcome::Success, {true, false}, more);
    EXPECT_EQ(Lines().size(), 0u);
    log.Log("host", AuditLog::ConfigSet, Outcome::Success, {true, false}, more);
    log.Log("host", AuditLog::ConfigSet, Outcome::Failure, {true, true}, more);
    EXPECT_EQ(Lines().size(), 4u);
}

TEST_F(AuditLogTest, ARefusedCallIsAWarningThatNamesTheMethod) {
    TurnOn();
    AuditLog().LogAuthorizationError("host", "set owner");
    ExpectOneLine("WARNING",
                  "Failure Audit: AUTH: Calling system 'host' is not authorized to call operation: 'set owner'.");
}

TEST_F(AuditLogTest, AModeWithoutAMessageGivesAnEmptyLine) {
    TurnOn();
    AuditLog log;
    log.Log("host", "n", "i", AuditLog::Notify, Outcome::Success);
    log.Log("host", Mode(13), Outcome::Success);
    log.Log("host", Mode(-1), Outcome::Failure);
    EXPECT_EQ(Text().find("Audit:"), std::string::npos);
}

TEST_F(AuditLogTest, WithoutConfigurationNothingIsWritten) {
    std::filesystem::create_directories(root.Native() + "/log");
    AuditLog log;
    EXPECT_FALSE(log.IsEnabled());
    log.Log("host", AuditLog::List, Outcome::Failure);
    log.LogAuthorizationError("host", "list");
    EXPECT_EQ(Text(), "");
}

TEST_F(AuditLogTest, TurnedOffNotEvenARefusedCallIsWritten) {
    TurnOn("all");
    Configure("conf.server", "AUDIT_LOGGING", "false");
    AuditLog log;
    log.Log("host", "n", "i", AuditLog::Install, Outcome::Failure);
    log.LogAuthorizationError("host", "install");
    EXPECT_EQ(Text(), "");
}

TEST_F(AuditLogTest, FailureInLowerCaseAtTheStartLimitsToFailures) {
    TurnOn("failure");
    AuditLog log;
    log.Log("host", "n", "i", AuditLog::Install, Outcome::Success);
    log.Log("host", AuditLog::Install, Outcome::Success);
    EXPECT_EQ(Text(), "");
    log.Log("host", "n", "i", AuditLog::Install, Outcome::Failure);
    ExpectOneLine("WARNING", "INSTALL: Policy (name: 'n', id: 'i') could not be installed. Calling system: 'host'");
    log.LogAuthorizationError("host", "install");
    ExpectOneLine("WARNING", "operation: 'install'.");
}

TEST_F(AuditLogTest, FailureInUpperCaseAtTheStartWritesEverythingAndIsTraced) {
    TurnOn("FAILURE");
    TraceLines traced;
    AuditLog log;
    EXPECT_TRUE(traced.Contains("audit log mode 'FAILURE' is unknown"));
    log.Log("host", AuditLog::Install, Outcome::Success);
    ExpectOneLine("INFO", "Calling system: 'host'");
}

TEST_F(AuditLogTest, AllAtTheStartIsNotTraced) {
    TurnOn("all");
    TraceLines traced;
    AuditLog log;
    EXPECT_FALSE(log.IsFailureOnly());
    EXPECT_FALSE(traced.Contains("is unknown"));
}

TEST_F(AuditLogTest, AChangeTakesUpFailureInUpperCaseAlone) {
    TurnOn("all");
    AuditLog log;
    Configure("conf.server", "AUDIT_LOG_MODE", "FAILURE");
    EXPECT_TRUE(Eventually([&log] { return log.IsFailureOnly(); }));
    log.Log("host", AuditLog::List, Outcome::Success);
    EXPECT_EQ(Text(), "");
    Configure("conf.server", "AUDIT_LOG_MODE", "failure");
    EXPECT_TRUE(Eventually([&log] { return !log.IsFailureOnly(); }));
    log.Log("host", AuditLog::List, Outcome::Success);
    ExpectOneLine("INFO", "Calling system: 'host'");
}

TEST_F(AuditLogTest, AChangeTurnsTheLogOffAndOn) {
    TurnOn();
    AuditLog log;
    EXPECT_TRUE(log.IsEnabled());
    Configure("conf.server", "AUDIT_LOGGING", "no");
    EXPECT_TRUE(Eventually([&log] { return !log.IsEnabled(); }));
    Configure("conf.server", "AUDIT_LOGGING", "1");
    EXPECT_TRUE(Eventually([&log] { return log.IsEnabled(); }));
}

TEST_F(AuditLogTest, AnOperationThatSwitchesTheLogOnOrOffIsWrittenAndOneWhileItIsOffIsNot) {
    const auto more = [] { return Make(msg::AuditConfigNamed, "host", "config set", "[conf.server]"); };
    const AuditChoices off, on{true, false};
    for (const auto& [before, isOnAfter, lines] :
         {std::tuple{off, false, 0u}, {on, false, 2u}, {off, true, 2u}, {on, true, 2u}}) {
        Configure("conf.server", "AUDIT_LOGGING", isOnAfter ? "true" : "false");
        AuditLog log;
        const std::size_t written = Lines().size();
        log.Log("host", AuditLog::ConfigSet, Outcome::Success, before, more);
        EXPECT_EQ(Lines().size() - written, lines) << before.enabled << isOnAfter;
    }
}

TEST_F(AuditLogTest, AChangeOfAnotherKeyChangesNothing) {
    TurnOn("failure");
    AuditLog log;
    Configure("conf.server", "NOMULTIPLEPOLICIES", "x");
    Configure("conf.server", "AUDIT_LOGGING", "false");
    EXPECT_TRUE(Eventually([&log] { return !log.IsEnabled(); }));
    EXPECT_TRUE(log.IsFailureOnly());
}

TEST_F(AuditLogTest, OperationsOfTheClusterMonitorAreNotWrittenButItsRefusalsAre) {
    TurnOn();
    AuditLog log;
    log.Log("conf.cluster", "n", "i", AuditLog::Enable, Outcome::Failure);
    log.Log("conf.cluster", AuditLog::Enable, Outcome::Success);
    EXPECT_EQ(Text(), "");
    log.LogAuthorizationError("conf.cluster", "enable");
    ExpectOneLine("WARNING", "operation: 'enable'.");
}

TEST_F(AuditLogTest, ANameCannotForgeALine) {
    TurnOn();
    AuditLog().Log("host", "n\nSuccess Audit: forged", "i\r\n", AuditLog::Remove, Outcome::Success);
    EXPECT_EQ(Lines().size(), 1u);
}

TEST_F(AuditLogTest, ALineDoesNotGrowWithANameFromOutside) {
    TurnOn();
    const String_t longText = String_t::FromUtf8(std::string(100000, 'x'));
    AuditLog().Log("host", longText, longText, AuditLog::Install, Outcome::Failure);
    ASSERT_EQ(Lines().size(), 1u);
    EXPECT_LT(Lines()[0].size(), 3000u);
    EXPECT_TRUE(EndsIn(Lines()[0], "xxx...') could not be installed. Calling system: 'host'")) << Lines()[0];
}

TEST_F(AuditLogTest, ALogThatCannotBeOpenedIsOnlyTraced) {
    TurnOn();
    std::filesystem::create_directories(root.Native() + "/log/conf.server.audit.log");
    AuditLog log;
    TraceLines traced;
    EXPECT_NO_THROW(log.Log("host", AuditLog::List, Outcome::Success));
    EXPECT_TRUE(traced.Contains("no audit log: Success Audit: LIST:"));
}

TEST_F(AuditLogTest, OthersMayNotReadTheLog) {
    TurnOn();
    AuditLog().Log("host", AuditLog::List, Outcome::Success);
    EXPECT_EQ(ModeOf(root.Native() + "/log/conf.server.audit.log") & 0007u, 0u);
}

TEST_F(AuditLogTest, TheOwnerMayWriteItAndTheGroupMayReadIt) {
    TurnOn();
    AuditLog().Log("host", AuditLog::List, Outcome::Success);
    EXPECT_EQ(ModeOf(root.Native() + "/log/conf.server.audit.log"), 0640u);
}

TEST_F(AuditLogTest, ALogThatHasGrownLargeIsPutAsideAndBegunAnew) {
    TurnOn();
    const std::string path = root.Native() + "/log/conf.server.audit.log";
    AuditLog log;
    log.Log("host", AuditLog::List, Outcome::Success);
    std::filesystem::resize_file(path, 10 << 20);
    log.Log("host", AuditLog::Reinit, Outcome::Success);
    log.Log("host", AuditLog::Notify, Outcome::Success);
    EXPECT_TRUE(std::filesystem::exists(path + ".1"));
    EXPECT_NE(Text().find("NOTIFY"), std::string::npos);
    EXPECT_LT(std::filesystem::file_size(path), 10u << 20);
}

TEST_F(AuditLogTest, LinesThatFindNoRoomAreCountedAndToldByTheNextThatFits) {
    TurnOn();
    AuditLog log;
    {
        const Faults disk(1, FaultMode::DiskFull);
        log.Log("host", "n", "i", AuditLog::Install, Outcome::Success);
        log.LogAuthorizationError("host", "list");
    }
    log.Log("host", AuditLog::List, Outcome::Success);
    ASSERT_EQ(Lines().size(), 2u);
    EXPECT_NE(Lines()[0].find("ERROR 2 line(s) of this log were lost since "), std::string::npos) << Lines()[0];
    EXPECT_NE(Lines()[0].find("Cannot write log file"), std::string::npos) << Lines()[0];
    EXPECT_TRUE(EndsIn(Lines()[1], "LIST: Policy list operation was successfully. Calling system: 'host'"));
}

TEST_F(AuditLogTest, ALogThatWasTakenAwayIsMadeAgain) {
    TurnOn();
    AuditLog log;
    log.Log("host", AuditLog::List, Outcome::Success);
    std::filesystem::remove(root.Native() + "/log/conf.server.audit.log");
    log.Log("host", AuditLog::Reinit, Outcome::Success);
    ExpectOneLine("INFO", "Success Audit: REINIT: Policy cache successfully re-initialized. Calling system: 'host'");
}

TEST_F(AuditLogTest, TheModeIsComparedExactly) {
    for (const char* mode : {"Failure", "failure ", "failures", "ALL", ""}) {
        Configure("conf.server", "AUDIT_LOG_MODE", mode);
        TraceLines traced;
        EXPECT_FALSE(AuditLog().IsFailureOnly()) << mode;
        EXPECT_TRUE(traced.Contains("is unknown")) << mode;
    }
}

TEST_F(AuditLogTest, OnAChangeTheModeIsComparedExactlyToo) {
    TurnOn("all");
    AuditLog log;
    Configure("conf.server", "AUDIT_LOG_MODE", "FAILURE");
    ASSERT_TRUE(Eventually([&log] { return log.IsFailureOnly(); }));
    for (const char* mode : {"Failure", "failure", "FAILURES", "", "all"}) {
        Configure("conf.server", "AUDIT_LOG_MODE", mode);
        EXPECT_TRUE(Eventually([&log] { return !log.IsFailureOnly(); })) << mode;
        Configure("conf.server", "AUDIT_LOG_MODE", "FAILURE");
        EXPECT_TRUE(Eventually([&log] { return log.IsFailureOnly(); })) << mode;
    }
}

TEST_F(AuditLogTest, AKeyThatIsTakenAwayCountsAsNotSet) {
    TurnOn();
    AuditLog log;
    LumPalConfig::ConfigUpdate_t update{String_t::Null()};
    update.ClearNamespace("conf.server");
    update.Apply();
    EXPECT_TRUE(Eventually([&log] { return !log.IsEnabled(); }));
}

TEST_F(AuditLogTest, ABrokenConfigurationAtTheStartIsRaised) {
    WriteText(root.Native() + "/etc/pal/config/local_settings.ini", "no namespace, no value\n");
    EXPECT_THROW(AuditLog(), LumPalCfgFile::SyntaxException_t);
}

TEST_F(AuditLogTest, LinesOfSeveralThreadsStayWhole) {
    TurnOn();
    AuditLog log;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&log] {
            for (int i = 0; i < 100; ++i) log.Log("host", AuditLog::List, Outcome::Success);
        });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(Lines().size(), 400u);
    for (const std::string& line : Lines()) EXPECT_TRUE(EndsIn(line, "Calling system: 'host'")) << line;
}

}  // namespace
