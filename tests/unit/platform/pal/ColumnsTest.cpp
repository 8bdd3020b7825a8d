#include "LumPalColumns.h"

#include <gtest/gtest.h>

namespace {

using namespace LumPalStr;
using namespace std::string_view_literals;

TEST(Columns, BlanksAtBothEndsGoAndThoseInsideStay) {
    struct Row {
        std::string_view text, trimmed, trimmedEnd;
    };
    for (const Row& row : {Row{" a b \t", "a b", " a b"}, Row{"a", "a", "a"}, Row{"", "", ""}, Row{" \t ", "", ""},
                           Row{"\ta", "a", "\ta"}, Row{"a\n", "a\n", "a\n"}}) {
        EXPECT_EQ(Trimmed(row.text, " \t"), row.trimmed) << row.text;
        EXPECT_EQ(TrimmedEnd(row.text, " \t"), row.trimmedEnd) << row.text;
    }
    EXPECT_EQ(Trimmed(u"\u00a0x "sv, u" "), u"\u00a0x");
}

TEST(Columns, AreTakenOneAfterAnotherUntilNoneIsLeft) {
    std::string_view line = "  one\ttwo   three ";
    EXPECT_EQ(TakeColumn(line, " \t"), "one");
    EXPECT_EQ(TakeColumn(line, " \t"), "two");
    EXPECT_EQ(TakeColumn(line, " \t"), "three");
    EXPECT_EQ(TakeColumn(line, " \t"), "");
    EXPECT_EQ(TakeColumn(line, " \t"), "");
    EXPECT_TRUE(line.empty());
}

}  // namespace
