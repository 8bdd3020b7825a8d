#include "ToolRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Configure.h"
#include "Exceptions.h"
#include "Files.h"
#include "LumConfCluster/ClusterUtil.h"
#include "Raised.h"
#include "TempRoot.h"
#include "ToolLine.h"
#include "ToolText.h"
#include "TraceLines.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalMsg::Message_t;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;

class Tools : public testing::Test {
protected:
    /// The line of a tool that is this script.
    String_t Tool(const std::string& script) {
        WriteText(root.Native() + "/tool", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(root.Native() + "/tool", std::filesystem::perms(0755));
        return root.Path("tool");
    }
    TempRoot root;
};

std::vector<std::string> Utf8(const std::vector<String_t>& lines) {
    std::vector<std::string> texts;
    for (const String_t& line : lines) texts.push_back(line.ToUtf8());
    return texts;
}

using Texts = std::vector<std::string>;

/// The first detail of 335.
template <class Action>
Message_t DetailOf335(Action&& action) {
    const MessageList_t messages = MessagesOf<ClusterException>(action);
    if (messages.GetMessageCount() != 1) return {};
    EXPECT_EQ(messages.GetMessage(0).GetId(), 335u);
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    EXPECT_EQ(String_t(messages.GetMessage(0)), "Exception during execution:");
    const MessageList_t details = messages.GetMessage(0).GetDetails();
    EXPECT_EQ(details.GetMessageCount(), 1);
    return details.GetMessageCount() > 0 ? details.GetMessage(0) : Message_t();
}

std::string Whole(const Message_t& message) {
    return message.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
}

TEST_F(Tools, GiveTheFirstLineOrAll) {
    const String_t tool = Tool("echo one; echo two; echo three");
    EXPECT_EQ(ClusterUtil::GetOut(tool), "one");
    EXPECT_EQ(Utf8(ClusterUtil::GetOutColl(tool)), (Texts{"one", "two", "three"}));
}

TEST_F(Tools, TellHowTheyEndWhateverTheyWriteToBothStreams) {
    const ToolEnd end = EndOf(Tool("echo one; printf 'no\\tgood\\n' >&2; echo two; exit 3"), {});
    EXPECT_EQ(Utf8(end.lines), (Texts{"one", "two"}));
    EXPECT_EQ(end.code, 3);
    EXPECT_EQ(end.said, "no good");
    const ToolEnd much = EndOf(Tool("yes error | head -c 20000000 >&2; yes line | head -c 1000000"), {});
    EXPECT_EQ(much.lines.size(), 200000u) << "neither stream waits for the other";
    EXPECT_EQ(much.said.GetLength(), 1024u);
    EXPECT_EQ(EndOf(Tool("exit 0"), {}).said, "");
}

TEST_F(Tools, LinesComeWithoutTheirEnds) {
    EXPECT_EQ(Utf8(ClusterUtil::GetOutColl(Tool("printf 'a\\r\\n\\n b \\nlast'"))), (Texts{"a", "", " b ", "last"}));
    EXPECT_EQ(ClusterUtil::GetOut(Tool("printf 'no end'")), "no end");
    EXPECT_EQ(ClusterUtil::GetOut(Tool("echo")), "");
}

TEST_F(Tools, AnExitCodeIsAFailureAlsoBehindOutput) {
    const String_t tool = Tool("echo one; echo two; exit 1");
    const Message_t first = DetailOf335([&] { ClusterUtil::GetOut(tool); });
    const Message_t all = DetailOf335([&] { ClusterUtil::GetOutColl(tool); });
    for (const Message_t& detail : {first, all}) {
        EXPECT_EQ(detail.GetId(), 334u);
        EXPECT_EQ(detail.GetSeverity(), LumPalMsg::Severity_e::Error);
        EXPECT_EQ(String_t(detail), "Execute command failed. Child returned '1'.");
        EXPECT_NE(Whole(detail).find(root.Native()), std::string::npos) << "the line is told";
    }
}

TEST_F(Tools, ASignalIsAFailure) {
    const Message_t detail = DetailOf335([&] { ClusterUtil::GetOut(Tool("echo x; kill -9 $$")); });
    EXPECT_EQ(String_t(detail), "Execute command failed. Child returned '137'.");
}

TEST_F(Tools, NothingPrintedIsNoLineButAnEmptyList) {
    EXPECT_TRUE(ClusterUtil::GetOutColl(Tool("")).empty());
    const Message_t detail = DetailOf335([&] { ClusterUtil::GetOut(Tool("")); });
    EXPECT_NE(Whole(detail).find("printed nothing and returned '0'"), std::string::npos) << Whole(detail);
    const Message_t failed = DetailOf335([&] { ClusterUtil::GetOut(Tool("exit 3")); });
    EXPECT_NE(Whole(failed).find("printed nothing and returned '3'"), std::string::npos) << Whole(failed);
    EXPECT_EQ(DetailOf335([&] { ClusterUtil::GetOutColl(Tool("exit 3")); }).GetId(), 334u);
}

TEST_F(Tools, AToolThatIsNotThereIsAFailureThatNamesIt) {
    const Message_t detail = DetailOf335([] { ClusterUtil::GetOut("/nowhere/tool -x"); });
    EXPECT_NE(Whole(detail).find("/nowhere/tool"), std::string::npos);
    EXPECT_NE(Whole(DetailOf335([] { ClusterUtil::GetOutColl(""); })), "");
    EXPECT_NE(Whole(DetailOf335([] { ClusterUtil::GetOutColl("\"open"); })), "");
}

TEST_F(Tools, SpeakTheCLanguage) {
    setenv("LANG", "de_DE.UTF-8", 1);
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    EXPECT_EQ(ClusterUtil::GetOut(Tool("echo $LANG $LC_ALL")), "C C");
    unsetenv("LANG");
    unsetenv("LC_ALL");
}

TEST_F(Tools, GetNoInputAndTheirErrorsAreNotRead) {
    // What stands on our own standard input is not theirs.
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(write(ends[1], "ours\n", 5), 5);
    const int before = dup(STDIN_FILENO);
    ASSERT_GE(dup2(ends[0], STDIN_FILENO), 0);
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(Utf8(ClusterUtil::GetOutColl(Tool("cat; echo wrong >&2; echo right"))), (Texts{"right"}));
    dup2(before, STDIN_FILENO);
    close(before);
}

TEST_F(Tools, WhatIsNotReadDoesNotBlockThem) {
    EXPECT_EQ(ClusterUtil::GetOut(
                  Tool("echo first; head -c 20000000 /dev/zero; echo; echo done >" + root.Native() + "/done")),
              "first");
    EXPECT_EQ(ReadText(root.Native() + "/done"), "done\n") << "the tool ended by itself";
}

TEST_F(Tools, PrintWhateverTheyLike) {
    EXPECT_EQ(ClusterUtil::GetOut(Tool("head -c 10000000 /dev/zero | tr '\\0' x")).GetLength(), 10000000u);
    EXPECT_EQ(ClusterUtil::GetOut(Tool("printf 'a\\000b\\n'")), String_t(u"a\0b", 3));
    EXPECT_EQ(ClusterUtil::GetOut(Tool("printf 'a\\377b\\n'")), String_t(u"a\uFFFDb"));
    EXPECT_EQ(ClusterUtil::GetOutColl(Tool("yes | head -n 1000000")).size(), 1000000u);
}

/// Whether a process runs, that of a number that the script wrote to a file.
bool EndsSoon(const std::string& path) {
    const pid_t pid = std::stoi(ReadText(path));
    return Eventually([&] {
        const std::string stat = ReadText("/proc/" + std::to_string(pid) + "/stat");
        return stat.empty() || stat.find(") Z ") != std::string::npos;
    });
}

TEST_F(Tools, TooManyLinesAreRefusedAndTheToolIsEnded) {
    const std::string tool = root.Native() + "/number";
    const Message_t detail = DetailOf335([&] { ClusterUtil::GetOutColl(Tool("echo $$ >" + tool + "; exec yes")); });
    EXPECT_EQ(Whole(detail),
              "The command printed more than '67108864' bytes or '1000000' lines: " + root.Path("tool").ToUtf8());
    EXPECT_TRUE(EndsSoon(tool));
}

TEST_F(Tools, TooManyBytesAreRefusedAndTheToolIsEnded) {
    const std::string tool = root.Native() + "/number";
    for (const char* script : {"exec cat /dev/zero", "echo x; exec cat /dev/zero"}) {
        const Message_t detail =
            DetailOf335([&] { ClusterUtil::GetOutColl(Tool("echo $$ >" + tool + "; " + script)); });
        EXPECT_NE(Whole(detail).find("more than '67108864' bytes"), std::string::npos) << script;
        EXPECT_TRUE(EndsSoon(tool)) << script;
    }
    const Message_t detail = DetailOf335([&] { ClusterUtil::GetOut(Tool("exec cat /dev/zero")); });
    EXPECT_NE(Whole(detail).find("more than '67108864' bytes"), std::string::npos) << "as one line, too";
}

TEST_F(Tools, AsMuchAsTheLimitsIsTaken) {
    const ToolLimits limits{0, 10, 3};
    EXPECT_EQ(AllLinesOf(Tool("printf '123\\n567\\n90'"), limits).size(), 3u);
    EXPECT_THROW(AllLinesOf(Tool("printf '123\\n567\\n901'"), limits), LumPalMsg::RuntimeException_t);
    EXPECT_EQ(AllLinesOf(Tool("printf 'a\\nb\\nc\\n'"), limits).size(), 3u);
    EXPECT_THROW(AllLinesOf(Tool("printf 'a\\nb\\nc\\n\\n'"), limits), LumPalMsg::RuntimeException_t);
}

TEST_F(Tools, OneThatTakesTooLongIsEndedWithItsChildren) {
    ToolLimits limits;
    limits.timeMs = 1000;
    const std::string child = root.Native() + "/child";
    for (const char* end : {"wait", "echo x; wait", "while :; do echo y; done", "exec >&- 2>&-; wait", "exec yes"}) {
        const String_t tool = Tool("sleep 1000 & echo $! >" + child + "; " + end);
        EXPECT_THROW(AllLinesOf(tool, limits), LumPalMsg::RuntimeException_t) << end;
        EXPECT_TRUE(EndsSoon(child)) << end;
    }
    EXPECT_THROW(FirstLineOf(Tool("sleep 1000 & echo $! >" + child + "; echo x; wait"), limits),
                 LumPalMsg::RuntimeException_t);
    EXPECT_TRUE(EndsSoon(child));
}

TEST_F(Tools, TheLimitOfTheTimeIsConfigured) {
    EXPECT_EQ(ConfiguredToolLimits().timeMs, 0u);
    struct Case {
        const char* value;
        std::uint32_t ms;
    };
    for (const Case& row : {Case{"2", 2000}, Case{"0", 0}, Case{"-5", 0}, Case{"soon", 0}, Case{"", 0},
                            Case{"99999999999", 4294967000}}) {
        Configure("conf.cluster", "TOOL_TIMEOUT", row.value);
        EXPECT_EQ(ConfiguredToolLimits().timeMs, row.ms) << row.value;
    }
    Configure("conf.cluster", "TOOL_TIMEOUT", "1");
    const Message_t detail = DetailOf335([&] { ClusterUtil::GetOut(Tool("exec sleep 1000")); });
    EXPECT_EQ(Whole(detail),
              "The command took longer than '1' seconds, the limit TOOL_TIMEOUT: " + root.Path("tool").ToUtf8());
}

TEST_F(Tools, WithoutALimitOnlyTheCallerOfAHangingToolWaits) {
    const std::string go = root.Native() + "/go";
    ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
    const String_t tool = Tool("echo early; read word <" + go + "; echo late");
    std::vector<String_t> lines;
    std::thread caller([&] { lines = ClusterUtil::GetOutColl(tool); });
    EXPECT_EQ(ClusterUtil::GetOut("/bin/echo meanwhile"), "meanwhile");
    WriteText(go, "word\n");
    caller.join();
    EXPECT_EQ(Utf8(lines), (Texts{"early", "late"}));
}

TEST_F(Tools, WhatTheyPrintIsTraced) {
    const TraceLines traced;
    EXPECT_THROW(ClusterUtil::GetOut(Tool("echo some words; exit 4")), ClusterException);
    EXPECT_TRUE(traced.Contains("run: " + root.Path("tool").ToUtf8()));
    EXPECT_TRUE(traced.Contains("some words"));
    EXPECT_TRUE(traced.Contains("returned 4"));
}

TEST_F(Tools, ABrokenConfigurationIsAFailureOfTheTool) {
    WriteText(root.Native() + "/etc/pal/config/local_settings.ini", "[conf.cluster\n");
    const Message_t detail = DetailOf335([] { ClusterUtil::GetOut("/bin/echo x"); });
    EXPECT_NE(Whole(detail).find("local_settings.ini"), std::string::npos) << Whole(detail);
}

TEST_F(Tools, ANameIsOneWordOfTheLine) {
    const String_t tool = String_t("\"") + Tool("printf '<%s>\\n' \"$@\"") + "\"";
    for (const char* name : {"plain", "two words", "a\\b", "$HOME `id` ; &", "'", "a-b", "*", ""}) {
        const auto lines = ToolLine(tool).Words("-state").Name(name).Words("-sys x").GetOutColl();
        EXPECT_EQ(Utf8(lines), (Texts{"<-state>", "<" + std::string(name) + ">", "<-sys>", "<x>"}));
    }
    EXPECT_EQ(ToolLine(tool).Name(u"\u00E4\u20AC").GetOut(), String_t(u"<\u00E4\u20AC>"));
}

TEST_F(Tools, ANameThatCouldBeSomethingElseRunsNoTool) {
    const String_t tool = Tool("echo x >" + root.Native() + "/ran");
    for (const String_t& name :
         {String_t("a\"b"), String_t("-force"), String_t("-"), String_t("a\nb"), String_t("a\tb"), String_t(u"a\0b", 3),
          String_t(u"a\u007Fb"), String_t(u"a\u0085b")}) {
        const Message_t detail = DetailOf335([&] { ToolLine(tool).Words("-state").Name(name).GetOut(); });
        EXPECT_NE(Whole(detail).find("is given to no command"), std::string::npos);
        EXPECT_TRUE(String_t(detail).Find(name) != LumPalStr::NotFound) << "it is named";
    }
    EXPECT_FALSE(std::filesystem::exists(root.Native() + "/ran"));
}

TEST(ToolLine, ANameMayStandBehindAnOption) {
    EXPECT_EQ(ToolLine("\"/t\"").NameBehind("--service=", "two words").Words("-x").Text(),
              "\"/t\" \"--service=two words\" -x");
    EXPECT_RAISES(ToolLine("\"/t\"").NameBehind("--service=", "a\"b"), ClusterException, 335);
    EXPECT_RAISES(ToolLine("\"/t\"").NameBehind("--service=", "-x"), ClusterException, 335);
}

TEST(ToolText, TheFirstColumnEndsAtABlankOrTab) {
    EXPECT_EQ(FirstColumn("name  more"), "name");
    EXPECT_EQ(FirstColumn("name\tmore"), "name");
    EXPECT_EQ(FirstColumn("name"), "name");
    EXPECT_EQ(FirstColumn(" name"), "");
    EXPECT_EQ(FirstColumn(""), "");
}

TEST(ToolText, BehindTheFirstColonTextIsTrimmed) {
    EXPECT_EQ(BehindColon("site1:node1"), "node1");
    EXPECT_EQ(BehindColon("site1: node1 "), "node1");
    EXPECT_EQ(BehindColon("a:b:c"), "b:c");
    EXPECT_EQ(BehindColon(" node1 "), " node1 ");
    EXPECT_EQ(BehindColon("node1:"), "");
}

TEST(ToolText, AFieldStandsBetweenSeparatorsAsItIs) {
    const char* line = "a: b ::d";
    for (const auto& [number, text] : {std::pair{0, "a"}, {1, " b "}, {2, ""}, {3, "d"}, {4, ""}, {1000, ""}}) {
        EXPECT_EQ(Field(line, ":", static_cast<std::size_t>(number)), text) << number;
    }
    EXPECT_EQ(Field("", ":", 0), "");
    EXPECT_EQ(Field("a", ":", 0), "a");
    EXPECT_EQ(Field("a, b", ", ", 1), "b");
}

TEST(ToolText, WhatStandsBetweenTwoWordsIsTrimmed) {
    EXPECT_EQ(Between("Node: a State: UP", "Node: ", "State: "), "a");
    EXPECT_EQ(Between("Node: a State: UP ", "State: "), "UP");
    EXPECT_EQ(Between("Node: a", "Node: ", "State: "), "a") << "up to the end";
    EXPECT_EQ(Between("State: UP Node: a", "Node: ", "State: "), "a") << "the end stands behind the word";
    EXPECT_EQ(Between("Node a", "Node: "), "");
    EXPECT_EQ(Between("Node: ", "Node: "), "");
    EXPECT_EQ(LineWith({"one", "two of them", "two"}, "two"), "two of them");
    EXPECT_EQ(LineWith({"one"}, "two"), "");
    EXPECT_EQ(LineWith({}, "two"), "");
}

TEST(ToolText, NamesStandInEveryOtherPieceOfAListOfPairs) {
    EXPECT_EQ(Utf8(NamesOfPairs("a 0\tb 1")), (Texts{"a", "b"}));
    EXPECT_EQ(Utf8(NamesOfPairs("a 0 b\t\t 1 c")), (Texts{"a", "b"})) << "the last piece has nothing behind it";
    EXPECT_EQ(Utf8(NamesOfPairs("a 0 b 1 c ")), (Texts{"a", "b"})) << "trimmed away";
    EXPECT_EQ(Utf8(NamesOfPairs("a")), Texts{});
    EXPECT_EQ(Utf8(NamesOfPairs("")), Texts{});
    EXPECT_EQ(Utf8(NamesOfPairs("a 0")), Texts{"a"});
}

TEST(ToolText, ANumberStandsAtTheBeginningOfALine) {
    struct Case {
        const char* line;
        int expected;
    };
    for (const Case& row : {Case{"0", 0}, Case{" 12 ", 12}, Case{"7 seven", 7}, Case{"65535", 65535}, Case{"65536", 9},
                            Case{"99999999999", 9}, Case{"none", 9}, Case{"", 9}, Case{"-1", 9}, Case{"+1", 9}}) {
        EXPECT_EQ(NumberIn(row.line, 9), row.expected) << row.line;
    }
}

TEST_F(Tools, MonitorModeIsConfigured) {
    EXPECT_FALSE(ClusterUtil::IsMonitorMode());
    Configure("conf.cluster", "MONITOR_MODE", "true");
    EXPECT_TRUE(ClusterUtil::IsMonitorMode());
    Configure("conf.cluster", "MONITOR_MODE", "false");
    EXPECT_FALSE(ClusterUtil::IsMonitorMode());
}

using LumPalMsg::CreateMessage_t;

TEST(PrintedMessages, EndInALineFeed) {
    testing::internal::CaptureStdout();
    for (const char* text : {"a", "b\n", "", "c\n\n", "d%1"})
        ClusterUtil::I18N_CreateMessage(CreateMessage_t(text), false);
    ClusterUtil::I18N_CreateMessage(CreateMessage_t(u"\u00E4"), false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a\nb\nc\n\nd%1\n\xC3\xA4\n");
}

/// A terminal hands a text on in pieces.
std::string ReadUntil(int descriptor, std::string_view end) {
    std::string text;
    pollfd wanted{descriptor, POLLIN, 0};
    while (!text.ends_with(end) && poll(&wanted, 1, 10000) > 0) {
        char bytes[64];
        const ssize_t count = read(descriptor, bytes, sizeof bytes);
        if (count <= 0) break;
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return text;
}

TEST(PrintedMessages, GiveATerminalNoOrders) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY), output = dup(STDOUT_FILENO);
    ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
    const int ours = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    std::fflush(stdout);
    dup2(ours, STDOUT_FILENO);
    ClusterUtil::I18N_CreateMessage(CreateMessage_t(u"a\u001B[2J\u009B\u00E4\nb"), false);
    std::fflush(stdout);
    dup2(output, STDOUT_FILENO);
    const std::string shown = ReadUntil(terminal, "b\r\n");
    for (const int descriptor : {ours, terminal, output}) close(descriptor);
    EXPECT_EQ(shown, "a?[2J?\xC3\xA4\r\nb\r\n");
}

TEST(PrintedMessages, GoToTheErrorStreamWhereThatIsAskedFor) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ClusterUtil::I18N_CreateMessage(CreateMessage_t("wrong"), true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "wrong\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
