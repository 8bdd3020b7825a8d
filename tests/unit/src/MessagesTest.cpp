#include "Messages.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Exceptions.h"
#include "Raised.h"
#include "TempRoot.h"

namespace {

using namespace LumConf;
using LumPalStr::String_t;

struct Row {
    std::string word;
    unsigned id;
    LumPalMsg::Severity_e severity;
    std::string text;
    std::string textInSource;
};

const std::vector<Row>& Table() {
    static const std::vector<Row> rows = {
#define LUM_MESSAGE(word, id, severity, text) {#word, id, LumPalMsg::Severity_e::severity, text, #text},
#include "Messages.def"
#undef LUM_MESSAGE
    };
    return rows;
}

std::set<unsigned> HolesOf(const std::string& text) {
    static const std::regex hole("%([1-9][0-9]?)");
    std::set<unsigned> holes;
    for (std::sregex_iterator it(text.begin(), text.end(), hole), end; it != end; ++it) {
        holes.insert(static_cast<unsigned>(std::stoul((*it)[1])));
    }
    return holes;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(Messages, ANumberIsNeverGivenToTwoRows) {
    std::map<unsigned, std::string> words;
    for (const Row& row : Table()) {
        if (row.id == 0) continue;
        EXPECT_TRUE(words.emplace(row.id, row.word).second) << row.word << " and " << words[row.id];
    }
}

TEST(Messages, TheRowsStandInTheOrderOfTheirNumbers) {
    unsigned last = 0;
    for (const Row& row : Table()) {
        EXPECT_GE(row.id, last) << row.word;
        last = row.id;
    }
}

TEST(Messages, TheHolesOfATextAreNumberedFromOneWithoutGaps) {
    for (const Row& row : Table()) {
        unsigned next = 1;
        for (unsigned hole : HolesOf(row.text)) EXPECT_EQ(hole, next++) << row.word;
        EXPECT_EQ(CountHoles(row.text.c_str()), next - 1) << row.word;
    }
}

TEST(Messages, HolesHaveOneDigitOrTwo) {
    static_assert(CountHoles("") == 0 && CountHoles("no hole, 100 %") == 0 && CountHoles("%0 %a %%") == 0);
    static_assert(CountHoles("%2 %1") == 2 && CountHoles("%9%10") == 10);
    static_assert(CountHoles("{%38 | %39} %1") == 39);
    static_assert(CountHoles("%123") == 12, "as they are filled");
    constexpr MessageOf<CountHoles("%1 %10")> row{{0, LumPalMsg::Severity_e::Info, "%1 %2%3%4%5%6%7%8%9 %10"}};
    EXPECT_EQ(Make(row, 1, 2, 3, 4, 5, 6, 7, 8, 9, "ten").Format(LumPalMsg::Text), "1 23456789 ten");
}

TEST(Messages, NumbersKeepTheRangesOfTheirSubsystems) {
    const std::pair<unsigned, unsigned> ranges[] = {{1, 55},    {57, 102},  {104, 146}, {148, 187}, {188, 210},
                                                    {211, 367}, {605, 616}, {621, 622}, {624, 624}, {626, 673},
                                                    {677, 678}, {680, 686}, {689, 689}};
    for (const Row& row : Table()) {
        bool inside = row.id == 0;
        for (const auto& [first, last] : ranges) inside = inside || (row.id >= first && row.id <= last);
        EXPECT_TRUE(inside) << row.word << " has the free number " << row.id;
    }
}

TEST(Messages, OnlyTitlesPrefixesAndStartMessagesHaveNoSeverity) {
    const std::set<unsigned> bare = {1, 2, 3, 4, 65, 66, 154, 158, 173, 188, 363, 364, 667};
    for (const Row& row : Table()) {
        // Rows of our own have no number; those that are only traced at a start have no severity either.
        const bool isBare = row.id == 0 ? std::string(row.word).ends_with("Start") : bare.count(row.id) > 0;
        EXPECT_EQ(row.severity == LumPalMsg::Severity_e::None, isBare) << row.word;
    }
}

// The severity decides how a line of the logs begins and whether a script takes it for a failure.
TEST(Messages, EveryRowIsAnErrorButTheKnownWarningsAndInformations) {
    const std::set<unsigned> warnings = {
        12,  42,  44,  57,  59,  85,  91,  93,  94,  102, 106, 109, 110, 111, 112, 113, 114, 115, 116, 117, 118, 119,
        120, 122, 123, 125, 126, 127, 128, 137, 138, 139, 177, 178, 185, 197, 202, 203, 204, 207, 209, 250, 342, 621,
        627, 629, 631, 633, 635, 637, 639, 641, 643, 645, 647, 649, 651, 653, 655, 657, 659, 661, 663, 665};
    const std::set<unsigned> infos = {155, 159, 160, 161, 162, 163, 164, 165, 166, 167, 168, 169, 170, 174, 189,
                                      190, 191, 192, 206, 211, 223, 233, 614, 626, 628, 630, 632, 634, 636, 638,
                                      640, 642, 644, 646, 648, 650, 652, 654, 656, 658, 660, 662, 664, 666, 671};
    for (const Row& row : Table()) {
        // Rows of our own, without a number, are what their place needs.
        if (row.id == 0 || row.severity == LumPalMsg::Severity_e::None) continue;
        auto expected = LumPalMsg::Severity_e::Error;
        if (warnings.count(row.id)) expected = LumPalMsg::Severity_e::Warning;
        if (infos.count(row.id)) expected = LumPalMsg::Severity_e::Info;
        EXPECT_EQ(row.severity, expected) << row.word;
    }
}

TEST(Messages, EveryRowRendersItsTextWithItsArguments) {
    for (const Row& row : Table()) {
        LumPalMsg::CreateMessage_t message = MakeUnchecked({row.id, row.severity, row.text.c_str()});
        std::string expected = row.text;
        const auto holes = HolesOf(row.text);
        for (unsigned hole : holes) message << ("<arg" + std::to_string(hole) + ">").c_str();
        // From the last one: "%10" begins as "%1" does.
        for (auto hole = holes.rbegin(); hole != holes.rend(); ++hole) {
            const std::string mark = "%" + std::to_string(*hole);
            for (std::size_t at; (at = expected.find(mark)) != std::string::npos;) {
                expected.replace(at, mark.size(), "<arg" + std::to_string(*hole) + ">");
            }
        }
        EXPECT_EQ(message.Format(LumPalMsg::BareText).ToUtf8(), expected) << row.word;
        EXPECT_EQ(message.GetId(), row.id) << row.word;
        EXPECT_EQ(message.GetSeverity(), row.severity) << row.word;
    }
}

TEST(Messages, TheCatalogueSourceIsThatOfTheTable) {
    std::string expected;
    for (const Row& row : Table()) {
        if (row.id != 0) expected += std::to_string(row.id) + " " + row.textInSource + "\n";
    }
    std::istringstream lines(
        ReadFile(std::filesystem::path(LUM_TEST_DATA "/../../packaging/conf.msg").lexically_normal()));
    std::string rows, line;
    while (std::getline(lines, line)) {
        if (!line.empty() && line[0] != '$') rows += line + "\n";
    }
    EXPECT_EQ(rows, expected) << "run packaging/conf-msg.sh";
}

TEST(Messages, ACatalogueThatNlspathFindsTranslates) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TempRoot root;
    std::ofstream(root.Native() + "/conf.msg") << "$set 1\n$quote \"\n7 \"Ordner '%1' fehlt.\"\n";
    ASSERT_EQ(system(("gencat " + root.Native() + "/conf.cat " + root.Native() + "/conf.msg").c_str()), 0);
    auto translated = [&root] {
        setenv("NLSPATH", (root.Native() + "/%N.cat").c_str(), 1);
        bool known = Make(msg::DirectoryNotCreated, "a").Format(LumPalMsg::BareText) == "Ordner 'a' fehlt.";
        bool unknown =
            Make(msg::PathDoesNotExist, "a").Format(LumPalMsg::BareText) == "File/Directory 'a' does not exist.";
        // A process of its own, with a root of its own: the catalogue is opened once, at the first text that is asked
        // for.
        std::filesystem::remove_all(root.Native());
        _exit(known && unknown ? 0 : 1);
    };
    EXPECT_EXIT(translated(), testing::ExitedWithCode(0), "");
}

TEST(Messages, TheCatalogueIsMadeOnceAndBearsItsName) {
    EXPECT_EQ(&Catalog::GetCatalog(), &Catalog::GetCatalog());
    EXPECT_EQ(Catalog::GetCatalog().GetName(), "conf");
}

TEST(Messages, AnExceptionAMessageAndAListBecomeDetailsAndFillNoHole) {
    ConfException cause(Make(msg::UnpackError));
    LumPalMsg::MessageList_t list;
    list.Add(Make(msg::PackageEmpty));
    list.Add(Make(msg::PackageFinished));
    LumPalMsg::Message_t message = Make(msg::FileNotCopied, "from", cause, "to", list, Make(msg::HostEmpty));
    EXPECT_EQ(message.Format(LumPalMsg::BareText), "Could not copy file from 'from' to 'to'.");
    ASSERT_EQ(message.GetDetails().GetMessageCount(), 4);
    EXPECT_EQ(message.GetDetails().GetMessage(0).GetId(), 605u);
    EXPECT_EQ(message.GetDetails().GetMessage(1).GetId(), 613u);
    EXPECT_EQ(message.GetDetails().GetMessage(2).GetId(), 612u);
    EXPECT_EQ(message.GetDetails().GetMessage(3).GetId(), 129u);
}

TEST(Messages, NumbersAndTextsOutsideAsciiAreArguments) {
    EXPECT_EQ(Make(msg::PolicyHeaderIndex, -1).GetMessageText(),
              "Could not access 'policy header' for index count '-1'.");
    String_t name = String_t::FromUtf8("Sicherung für \xF0\x9F\x90\xA7");
    EXPECT_EQ(Make(msg::DirectoryNotCreated, name).GetMessageText(), "Could not create directory '" + name + "'.");
}

TEST(Messages, AHoleInsideAnArgumentStaysAsItIs) {
    EXPECT_EQ(Make(msg::FileNotCopied, "%2", "%1").GetMessageText(), "Could not copy file from '%2' to '%1'.");
}

TEST(Messages, ARowWithoutANumberStandsInNoCatalogue) {
    LumPalMsg::Message_t message = Make(msg::AuditNotAuthorized, "node", "install");
    EXPECT_EQ(message.GetId(), 0u);
    EXPECT_EQ(message.GetMessageText(),
              "Failure Audit: AUTH: Calling system 'node' is not authorized to call operation: 'install'.");
}

TEST(Messages, RaiseThrowsTheClassWithTheRowsMessage) {
    LumPalMsg::MessageList_t raised =
        MessagesOf<PolicyFileException>([] { Raise<PolicyFileException>(msg::PackFileIsDirectory, "dir"); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    EXPECT_EQ(raised.GetMessage(0).GetId(), 150u);
}

}  // namespace
