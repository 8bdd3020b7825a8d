// How several nodes fare, a line for each.
#include "lumpolicy/StatusTable.h"

#include <gtest/gtest.h>

#include <ctime>

#include "common/NodeStatusText.h"

namespace lumpolicy {
namespace {

using LumConf::NodeStatus;
using lumtools::Answer;

NodeStatus Sound() {
    NodeStatus status;
    status.version = "1.0";
    status.started = std::time(nullptr) - 100;
    status.port = 7443;
    status.tls = true;
    status.policies = 2;
    status.certificates = {{"own", "n", std::time(nullptr) + 10 * 86400}};
    return status;
}

Answer AnswerOf(const NodeStatus& status) {
    Answer answer;
    answer.fields = lumtools::ToJson(status);
    answer.outcome = lumtools::Judge(status);
    return answer;
}

Answer SilentFor(lumtools::ExitCode code) {
    Answer answer;
    answer.outcome.code = code;
    return answer;
}

/// The line of the node in a table without headings.
std::string LineOf(const Answer& answer, bool isWide = false, bool isColoured = false) {
    return StatusTable({{"h", &answer}}, isWide, {.isColoured = isColoured, .hasHeader = false});
}

std::string Red(const std::string& word) {
    return "\033[31m" + word + "\033[0m";
}

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != text.npos;
}

TEST(StatusTable, ANodeInOrderIsGreen) {
    const std::string line = LineOf(AnswerOf(Sound()), false, true);
    EXPECT_TRUE(Holds(line, "\033[32mok\033[0m")) << line;
    EXPECT_TRUE(Holds(line, "merged")) << line;
    EXPECT_FALSE(Holds(line, "\033[31m")) << line;
}

TEST(StatusTable, ABrokenMergeIsRedAndTheLastErrorTellsOfIt) {
    NodeStatus status = Sound();
    status.settingsBroken = "Line 1 of 'a.ini' is none.";
    status.errors = {{1, "older"}, {2, "Line 1 of 'a.ini' is none."}};
    const std::string line = LineOf(AnswerOf(status), true, true);
    EXPECT_TRUE(Holds(line, Red("failed"))) << line;
    EXPECT_TRUE(Holds(line, Red("BROKEN"))) << line;
    EXPECT_TRUE(Holds(line, "Line 1 of 'a.ini' is none.")) << line;
    EXPECT_FALSE(Holds(line, "older")) << line;
}

TEST(StatusTable, OfTheCertificatesTheOneThatEndsFirstIsToldAndOneThatHasEndedIsRed) {
    NodeStatus status = Sound();
    status.certificates.push_back({"trusted", "t", std::time(nullptr) + 3 * 86400 + 60});
    EXPECT_TRUE(Holds(LineOf(AnswerOf(status)), "3 days")) << LineOf(AnswerOf(status));
    status.certificates.push_back({"trusted", "u", std::time(nullptr) - 60});
    const std::string line = LineOf(AnswerOf(status), false, true);
    EXPECT_TRUE(Holds(line, Red("ENDED"))) << line;
    EXPECT_TRUE(Holds(line, Red("failed"))) << line;
}

TEST(StatusTable, ANodeThatTellsNothingHasALineThatSaysHowItEnded) {
    EXPECT_EQ(LineOf(SilentFor(lumtools::kUnreachable)), "h  unreachable\n");
    EXPECT_EQ(LineOf(SilentFor(lumtools::kRefused)), "h  refused\n");
    EXPECT_EQ(LineOf(SilentFor(lumtools::kFailed)), "h  not told\n");
    EXPECT_EQ(LineOf(SilentFor(lumtools::kUnreachable), false, true), "h  " + Red("unreachable") + "\n");
}

TEST(StatusTable, WithoutColoursNothingButTextIsPrinted) {
    NodeStatus status = Sound();
    status.settingsBroken = "why";
    EXPECT_FALSE(Holds(LineOf(AnswerOf(status), true), "\033")) << LineOf(AnswerOf(status), true);
}

}  // namespace
}  // namespace lumpolicy
