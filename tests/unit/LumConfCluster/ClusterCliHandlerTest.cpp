#include "LumConfCluster/ClusterCliHandler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CliCall.h"
#include "Exceptions.h"
#include "Raised.h"
#include "VcsNode.h"

namespace {

using namespace LumConfCluster;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

const char* const kUsage =
    "\nUsage: lumclusterinfo\n"
    "  -h | -help\n"
    "  -version\n"
    "  -a | -all\n"
    "  -c | -cluster {-tp | -type} | {-nm | -name} | {-st | -state} | {-nds | -nodes} | {-rgs | -groups}\n"
    "  -n |-node <node> {-id} | {-st | -state}\n"
    "  -g | -group <group> {-id} | {-st | -state} | {-ls | -localState} | {-nds | -nodes} | {-vip | "
    "-virtualIPAddress} | {-an | -activeNode}\n";

Told Ask(const std::vector<const char*>& arguments, const char* tool = "/usr/bin/lumclusterinfo") {
    return AskTool(tool, arguments);
}

std::string TextOf(const std::vector<const char*>& arguments, unsigned id, const char* tool = "lumclusterinfo") {
    const auto messages = MessagesOf<IllegalArgumentError_t>([&] { Ask(arguments, tool); });
    if (messages.GetMessageCount() == 0) return "";
    EXPECT_EQ(messages.GetMessage(0).GetId(), id);
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    return String_t(messages).ToUtf8();
}

using Arguments = std::vector<const char*>;

TEST(ClusterCliHandler, UsageIsPrintedWhereItIsAskedForOrArgumentsLack) {
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"-help"}, Arguments{"-h"}, Arguments{"-cluster"}, Arguments{"-c", "-name", "more"},
          Arguments{"-node"}, Arguments{"-n", "north"}, Arguments{"-node", "north", "-id", "more"},
          Arguments{"-group", "web"}, Arguments{"-g", "web", "-id", "more"}}) {
        const Told told = Ask(arguments);
        EXPECT_EQ(told.code, 2);
        EXPECT_EQ(told.output, kUsage);
    }
}

TEST(ClusterCliHandler, TheVersionIsLeftToTheProgram) {
    const Told told = Ask({"-version"});
    EXPECT_EQ(told.code, 3);
    EXPECT_EQ(told.output, "");
}

TEST(ClusterCliHandler, UnknownFirstOptionsAreRefused) {
    for (const char* option :
         {"-foo", "", "all", "-ALL", "--all", "--help", "-All", "-v", "-i", "-instance", "-verifyConfig"}) {
        EXPECT_EQ(TextOf({option}, 357), "Unknown option '" + std::string(option) + "'.");
        EXPECT_EQ(TextOf({option, "-all"}, 357), "Unknown option '" + std::string(option) + "'.");
    }
}

TEST(ClusterCliHandler, OptionsBehindOneThatTakesNoneAreRefused) {
    for (const char* option : {"-help", "-h", "-version", "-all", "-a"}) {
        EXPECT_EQ(TextOf({option, "extra"}, 361), "Trailing option(s) with option '" + std::string(option) + "'.");
        EXPECT_EQ(TextOf({option, "extra", "more"}, 361),
                  "Trailing option(s) with option '" + std::string(option) + "'.");
    }
}

TEST(ClusterCliHandler, AToolOfAnotherNameIsRefused) {
    for (const char* tool : {"lumclusterinfo.exe", "lumcluster", "LUMCLUSTERINFO", "lumclusterinfo-1"}) {
        const std::string text = "Unrecognized command line interface tool '" + std::string(tool) + "'.";
        EXPECT_EQ(TextOf({"-help"}, 358, tool), text);
        EXPECT_EQ(TextOf({}, 358, (std::string("/usr/bin/") + tool).c_str()), text);
    }
}

TEST(ClusterCliHandler, WithoutAClusterItIsNotDetectedWhateverIsAsked) {
    const OwnOpt opt;
    const TempRoot root;
    for (const Arguments& arguments : {Arguments{"-all"}, Arguments{"-cluster", "-foo"}, Arguments{"-cluster", "-name"},
                                       Arguments{"-node", "n", "-foo"}, Arguments{"-group", "g", "-id"}}) {
        EXPECT_RAISES(Ask(arguments), LumConf::ClusterException, 211);
    }
}

TEST(ClusterCliHandler, EachQuestionHasItsAnswer) {
    VcsNode node;
    struct Case {
        std::vector<Arguments> questions;
        const char* answer;
    };
    const Case cases[] = {
        {{{"-cluster", "-type"}, {"-c", "-tp"}}, "VERITAS Cluster Server (VCS)\n"},
        {{{"-cluster", "-name"}, {"-c", "-nm"}}, "harbour\n"},
        {{{"-cluster", "-state"}, {"-c", "-st"}}, "Up\n"},
        {{{"-cluster", "-nodes"}, {"-c", "-nds"}}, "north\nsouth\neast\n"},
        {{{"-cluster", "-groups"}, {"-c", "-rgs"}}, "web\ndb\n"},
        {{{"-node", "south", "-id"}, {"-n", "SOUTH", "-id"}}, "11\n"},
        {{{"-node", "south", "-state"}, {"-n", "south", "-st"}}, "Online\n"},
        {{{"-group", "db", "-id"}, {"-g", "DB", "-id"}}, "2\n"},
        {{{"-group", "web", "-state"}, {"-g", "web", "-st"}}, "Online\n"},
        {{{"-group", "web", "-localState"}, {"-g", "web", "-ls"}}, "Offline\n"},
        {{{"-group", "web", "-nodes"}, {"-g", "WEB", "-nds"}}, "north\nsouth\n"},
        {{{"-group", "web", "-virtualIPAddress"}, {"-g", "web", "-vip"}}, "10.0.0.7\n"},
        {{{"-group", "db", "-virtualIPAddress"}, {"-g", "db", "-vip"}}, "None \n"},
        {{{"-group", "web", "-activeNode"}, {"-g", "web", "-an"}}, "south\n"},
        {{{"-group", "db", "-activeNode"}}, ""},
    };
    for (const Case& row : cases) {
        for (const Arguments& question : row.questions) {
            const Told told = Ask(question);
            EXPECT_EQ(told.code, 0);
            EXPECT_EQ(told.output, row.answer) << question[0] << " " << question[1];
        }
    }
}

TEST(ClusterCliHandler, UnknownQuestionsAreRefused) {
    VcsNode node;
    for (const Arguments& arguments :
         {Arguments{"-cluster", "-foo"}, Arguments{"-node", "north", "-foo"}, Arguments{"-group", "web", "-foo"}})
        EXPECT_EQ(TextOf(arguments, 357), "Unknown option '-foo'.");
    for (const Arguments& arguments : {Arguments{"-cluster", "-id"}, Arguments{"-cluster", "-NAME"},
                                       Arguments{"-node", "north", "-name"}, Arguments{"-group", "web", ""}})
        EXPECT_EQ(TextOf(arguments, 357), "Unknown option '" + std::string(arguments.back()) + "'.");
}

TEST(ClusterCliHandler, NamesThatAreNotThereAreRefused) {
    VcsNode node;
    EXPECT_EQ(String_t(MessagesOf<LumConf::ClusterNoNodeException>([] {
                  Ask({"-node", "West", "-id"});
              })),
              "><No such element [West] in the collection.");
    EXPECT_EQ(String_t(MessagesOf<LumConf::ClusterNoGroupException>([] {
                  Ask({"-group", "None", "-id"});
              })),
              "><No such element [None] in the collection.");
}

TEST(ClusterCliHandler, AnEmptyListPrintsNothing) {
    VcsNode node;
    node.tools.Answer("hasys -list", "");
    node.tools.Answer("hagrp -display -attribute SystemList", "");
    for (const Arguments& arguments : {Arguments{"-cluster", "-nodes"}, Arguments{"-cluster", "-groups"}}) {
        const Told told = Ask(arguments);
        EXPECT_EQ(told.code, 0);
        EXPECT_EQ(told.output, "");
    }
}

TEST(ClusterCliHandler, AllIsListedInLinesOfLabelsAndValues) {
    VcsNode node;
    for (const char* option : {"-all", "-a"}) {
        const Told told = Ask({option});
        EXPECT_EQ(told.code, 0);
        EXPECT_EQ(told.output,
                  "#Cluster\n"
                  "type         VERITAS Cluster Server (VCS)\n"
                  "name         harbour\n"
                  "status       Up\n"
                  "nodes        north south east\n"
                  "groups       web db\n"
                  "#Node north\n"
                  "state        Online\n"
                  "id           10\n"
                  "#Node south\n"
                  "state        Online\n"
                  "id           11\n"
                  "#Node east\n"
                  "state        Online\n"
                  "id           12\n"
                  "#Group web\n"
                  "state        Online\n"
                  "nodes        north south\n"
                  "local state  Offline\n"
                  "virtual IP   10.0.0.7\n"
                  "active node  south\n"
                  "#Group db\n"
                  "state        Offline\n"
                  "nodes        north south east\n"
                  "local state  Offline\n"
                  "virtual IP   None  \n"
                  "active node  \n");
    }
}

TEST(ClusterCliHandler, AFailureInTheMiddlePrintsNothing) {
    VcsNode node;
    node.tools.Answer("hagrp -resources db", "db_disk\n", 1);
    EXPECT_RAISES(Ask({"-all"}), LumConf::ClusterException, 335);
}

}  // namespace
