#include "adapters/RhasOutput.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Files.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;
using Texts = std::vector<std::string>;

ToolLines LinesOf(const std::string& text) {
    ToolLines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(String_t::FromUtf8(line));
    return lines;
}

ToolLines Recorded(const std::string& name) {
    return LinesOf(ReadText(LUM_TEST_DATA "/recorded/rhas/clustat-" + name + ".txt"));
}

Texts Members(const ToolLines& lines, RhasGeneration generation = RhasGeneration::Above3) {
    Texts texts;
    for (const auto& [name, isUp] : RhasMembers(lines, generation)) texts.push_back(name.ToUtf8() + (isUp ? "+" : "-"));
    return texts;
}

Texts Services(const ToolLines& lines, int release = 5) {
    Texts texts;
    for (const auto& [name, word, owner] : RhasServices(lines, RhasGeneration::Above3, release))
        texts.push_back(name.ToUtf8() + "," + owner->ToUtf8() + "," + word.ToUtf8());
    return texts;
}

TEST(RhasOutput, TheRecordedTablesAreRead) {
    EXPECT_EQ(Members(Recorded("release4")), (Texts{"nodo1.dominio+", "nodo2.dominio+"}));
    EXPECT_EQ(Services(Recorded("release4"), 4), Texts{"mysql_service,nodo2.dominio,started"});
    EXPECT_EQ(Members(Recorded("wide")), (Texts{"node2.deimos.fr+", "node1.deimos.fr+", "node3.deimos.fr+"}));
    EXPECT_EQ(Services(Recorded("wide")), Texts{"websrv,none,"}) << "no state was told";
    EXPECT_EQ(Members(Recorded("quorum-disk")),
              (Texts{"my-vm1-", "my-vm2+", "my-vm3+", "my-vm4+", "my-vm5+", "/dev/block/8:33+"}))
        << "a disk is a member like any other";
    EXPECT_EQ(Services(Recorded("quorum-disk")), Texts{"my_service_group,my-vm2,started"});
    EXPECT_EQ(Services(Recorded("two-services")), (Texts{"group_1,node1,started", "group_2,node2,started"}));
    EXPECT_EQ(Members(Recorded("no-services")), (Texts{"node0+", "node1+"}));
    EXPECT_EQ(Services(Recorded("no-services")), Texts{});
    for (const char* name : {"xml-disabled", "xml-started"}) {
        EXPECT_EQ(Members(Recorded(name)), Texts{}) << "the other form of the output has no table";
        EXPECT_EQ(Services(Recorded(name)), Texts{});
    }
}

TEST(RhasOutput, WhatIsNoMemberIsNoRow) {
    EXPECT_EQ(Members(LinesOf("Member Name\n---- --\n\n a Online\n \t\n==\n b\n Service Name\n c Online\n")),
              (Texts{"a+", "b-"}));
    EXPECT_EQ(Members(LinesOf("Member Name\n a Online\n  Resource Group  Owner\n --\n web a\n")), Texts{"a+"});
    EXPECT_EQ(Members(LinesOf("Member Name\n a Online\nTimed out waiting for a response\n")), (Texts{"a+", "Timed-"}))
        << "a message in the place of data is taken as it stands";
    EXPECT_EQ(Members(LinesOf("Membership information not available\n")), Texts{});
}

TEST(RhasOutput, TheTablesOfOldReleasesBeginAndEndElsewhere) {
    const std::string rows = "a Up\nb Active\nc Online\n";
    EXPECT_EQ(Members(LinesOf("=======\n1\n2\n3\n" + rows + "======\nd Up\n"), RhasGeneration::Below3),
              (Texts{"a+", "b-", "c-"}));
    EXPECT_EQ(Members(LinesOf("=======\n1\n2\n3\n"), RhasGeneration::Below3), Texts{});
    EXPECT_EQ(Members(LinesOf("=======\n"), RhasGeneration::Below3), Texts{});
    EXPECT_EQ(Members(LinesOf("------------------\n" + rows + "The Service\nd Active\n"), RhasGeneration::Exactly3),
              (Texts{"a-", "b+", "c-"}));
    EXPECT_EQ(Members(LinesOf("-----------------\n" + rows), RhasGeneration::Exactly3), Texts{}) << "a dash too few";
}

TEST(RhasOutput, AnOwnerThatIsPaddedInsideItsBracketsIsTwoColumns) {
    const auto services = RhasServices(LinesOf("Service Name\n--\nweb (north          ) stopped\nx (a) failed\n"),
                                       RhasGeneration::Above3, 4);
    ASSERT_EQ(services.size(), 2u);
    EXPECT_EQ(*services[0].owner, "(north");
    EXPECT_EQ(services[0].word, ")");
    EXPECT_EQ(*services[1].owner, "a");
}

TEST(RhasOutput, AServiceStandsTwoLinesBehindTheHeading) {
    EXPECT_EQ(Services(LinesOf("Service Name\na x started\nb y started\n")), Texts{"b,y,started"});
    EXPECT_EQ(Services(LinesOf("Service Name\n")), Texts{});
    EXPECT_EQ(Services(LinesOf("Resource Group\n--\nweb a started\n"), 4), Texts{}) << "the first tools' heading";
    EXPECT_EQ(Services({}), Texts{});
}

TEST(RhasOutput, TheReleaseIsTheNumberBehindItsWord) {
    struct Case {
        const char* text;
        int release;
    };
    for (const Case& row :
         {Case{"release 5.4 (x)", 5}, Case{"release 4 (x)\n", 4}, Case{"release 10", 10}, Case{"release  3.1", 3},
          Case{"v2.0 release 5", 0}, Case{"release", 0}, Case{"release ", 0}, Case{"Release 5", 7}, Case{"", 7},
          Case{"release -1", 0}, Case{"release 99999999999", 2147483647}}) {
        EXPECT_EQ(RhasReleaseIn(row.text, 7), row.release) << row.text;
    }
}

TEST(RhasOutput, ManyLinesAreReadOnce) {
    const ToolLines lines(100000, String_t("Member Name x Online"));
    EXPECT_EQ(RhasMembers(lines, RhasGeneration::Above3).size(), 99999u);
    EXPECT_EQ(RhasServicesOf(lines, lines).size(), 100000u);
}

}  // namespace
