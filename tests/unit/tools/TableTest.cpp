// Lines in columns, as the tools print them.
#include "common/Table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

std::string Printed(const lumtools::Table& table) {
    std::ostringstream out;
    table.Print(out);
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

}  // namespace
