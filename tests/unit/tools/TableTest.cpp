// Lines in columns, as the tools print them.
#include "common/Table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

std::string Printed(const lumtools::Table& table, const lumtools::TableLayout& layout = {}) {
    std::ostringstream out;
    table.Print(out, layout);
    return out.str();
}

TEST(Table, EachColumnIsAsWideAsItsWidestCell) {
    lumtools::Table table({"A", "NAME", "C"});
    table.Add({"1", "long name", "x"});
    table.Add({"22", "", "y"});
    EXPECT_EQ(Printed(table), "A   NAME       C\n1   long name  x\n22             y\n");
}

TEST(Table, AVeryLongCellStandsOutOfItsColumnAndIsPrintedWhole) {
    const std::string longest(100, 'l'), tooLong(101, 't');
    lumtools::Table table({"A", "B"});
    table.Add({longest, "1"});
    table.Add({tooLong, "2"});
    table.Add({"short", "3"});
    const std::string blanks(100 - 5, ' ');
    EXPECT_EQ(Printed(table),
              "A" + std::string(99, ' ') + "  B\n" + longest + "  1\n" + tooLong + "  2\nshort" + blanks + "  3\n");
}

TEST(Table, OneCellOfMegabytesDoesNotMakeAllOtherLinesAsLong) {
    lumtools::Table table({"A", "B"});
    table.Add({std::string(2000000, 'c'), "1"});
    for (int i = 0; i < 1000; ++i) table.Add({"short", "2"});
    EXPECT_LT(Printed(table).size(), 2200000u);
}

TEST(Table, TheWidestColumnsAreShortenedUntilALineFits) {
    lumtools::Table table({"A", "B", "C"});
    table.Add({std::string(20, 'a'), std::string(10, 'b'), "c"});
    EXPECT_EQ(Printed(table, {.columns = 25}), "A           B           C\naaaaaaaaa\u2026  bbbbbbbbbb  c\n");
    EXPECT_EQ(Printed(table, {.columns = 17}), "A       B       C\naaaaa\u2026  bbbbb\u2026  c\n");
}

TEST(Table, ALineIsCutWhereColumnsCannotBeNarrower) {
    lumtools::Table table({"AAAAAAAA", "BBBBBBBB", "CCCCCCCC"});
    EXPECT_EQ(Printed(table, {.columns = 14}), "AAA\u2026  BBB\u2026  C\u2026\n");
}

TEST(Table, AWideCharacterIsNotCutInHalf) {
    EXPECT_EQ(lumtools::Shortened("\u30c7\u30a3\u30b9", 6), "\u30c7\u30a3\u30b9");
    EXPECT_EQ(lumtools::Shortened("\u30c7\u30a3\u30b9", 5), "\u30c7\u30a3\u2026");
    EXPECT_EQ(lumtools::Shortened("\u30c7\u30a3\u30b9", 4), "\u30c7\u2026");
    EXPECT_EQ(lumtools::Shortened("ab", 0), "");
}

TEST(Table, MarksAreColouredAndTakeNoRoom) {
    lumtools::Table table({"S", "B"});
    table.Add({"on", "1"});
    table.Add({"odd", "2"});
    table.SetMarks(0, [](const std::string& cell) {
        return cell == "on" ? lumtools::Table::Mark::Good : lumtools::Table::Mark::Bad;
    });
    EXPECT_EQ(Printed(table, {.isColoured = true}), "S    B\n\033[32mon\033[0m   1\n\033[31modd\033[0m  2\n");
    EXPECT_EQ(Printed(table), "S    B\non   1\nodd  2\n");
}

TEST(Table, SeveralColumnsMayBeMarked) {
    lumtools::Table table({"A", "B"});
    table.Add({"x", "y"});
    table.SetMarks(0, [](const std::string&) { return lumtools::Mark::Good; });
    table.SetMarks(1, [](const std::string&) { return lumtools::Mark::Doubtful; });
    EXPECT_EQ(Printed(table, {.isColoured = true}), "A  B\n\033[32mx\033[0m  \033[33my\033[0m\n");
}

TEST(Table, AColumnThatIsKeptIsShortenedLast) {
    lumtools::Table table({"A", "B"});
    table.Add({std::string(10, 'a'), std::string(8, 'b')});
    table.KeepWhole(0);
    EXPECT_EQ(Printed(table, {.columns = 17}), "A           B\naaaaaaaaaa  bbbb\u2026\n");
    EXPECT_EQ(Printed(table, {.columns = 13}), "A        B\naaaaaa\u2026  bbb\u2026\n");
}

TEST(Table, ALineNeverTakesMoreColumnsThanThereAre) {
    lumtools::Table table({"A", "B", "C"});
    std::string rockets;
    for (int i = 0; i < 20; ++i) rockets += "\U0001F680";
    table.Add({"x", rockets, "y"});
    for (int columns = 1; columns < 60; ++columns) {
        std::istringstream lines(Printed(table, {.columns = columns}));
        for (std::string line; std::getline(lines, line);) EXPECT_LE(lumtools::DisplayWidth(line), columns) << line;
    }
}

TEST(Table, ACharacterIsAsWideAsATerminalShowsIt) {
    using lumtools::DisplayWidth;
    for (const char* wide : {"\U0001F680", "\U0001F7E2", "\U0001FAE0", "\u231A", "\u26A1", "\u30C7", "\uFF21", "\uD55C",
                             "\U0001F6D2", "\u1112"}) {
        EXPECT_EQ(DisplayWidth(wide), 2) << wide;
    }
    for (const char* none : {"\u0301", "\u0651", "\u0E31", "\u200D", "\uFE0F", "\u1161", "\u11AB", "\u20DD"}) {
        EXPECT_EQ(DisplayWidth(none), 0) << none;
    }
    for (const char* one : {"a", "\u00E9", "\u00AD", "\u0416", "\u2026", "\u2713", "\uFF71", "\U0001D400"}) {
        EXPECT_EQ(DisplayWidth(one), 1) << one;
    }
}

TEST(Table, RowsAreSortedByAColumnAndNumbersByWhatTheyCount) {
    lumtools::Table table({"N", "B"});
    for (const auto& row :
         {std::vector<std::string>{"10", "x"}, {"text", "b"}, {"9", "y"}, {"", "a"}, {"-3", "z"}, {"9", "c"}})
        table.Add(row);
    table.SortBy(0);
    EXPECT_EQ(table.LinesOf({0, 1}), "-3 z\n9 y\n9 c\n10 x\n a\ntext b\n");
    table.SortBy(1);
    EXPECT_EQ(table.LinesOf({1}), "a\nb\nc\nx\ny\nz\n");
}

TEST(Table, WithoutItsHeaderColumnsAreAsWideAsTheCells) {
    lumtools::Table table({"LONG HEADING", "B"});
    table.Add({"1", "2"});
    EXPECT_EQ(Printed(table, {.hasHeader = false}), "1  2\n");
}

}  // namespace
