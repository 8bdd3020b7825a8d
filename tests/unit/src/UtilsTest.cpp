#include "Utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace LumConf {
namespace {

using LumPalStr::String_t;

std::string Laid(const char* label, const std::string& text, int indent, int width) {
    return Utils::FormatOutput(label, String_t::FromUtf8(text), indent, width).ToUtf8();
}

std::string Output(const std::string& text, int indent, int width, int type) {
    return Utils::FormatStdOutput(String_t::FromUtf8(text), indent, width, static_cast<Utils::MsgType>(type)).ToUtf8();
}

bool IsInk(char c) {
    return c != ' ' && c != '\n';
}

TEST(FormatOutput, EachKindHasItsLabel) {
    EXPECT_EQ(Output("text", 10, 40, Utils::Info), "INFO:     text");
    EXPECT_EQ(Output("text", 10, 40, Utils::Note), "NOTE:     text");
    EXPECT_EQ(Output("text", 10, 40, Utils::Warning), "WARNING:  text");
    EXPECT_EQ(Output("text", 10, 40, Utils::Error), "ERROR:    text");
    EXPECT_EQ(Output("text", 10, 40, Utils::Bullet), "        * text");
    EXPECT_EQ(Output("text", 10, 40, -1), "        * text");
    EXPECT_EQ(Output("text", 2, 40, 99), "* text");
}

TEST(FormatOutput, ABulletNeedsAMarginToStandIn) {
    EXPECT_EQ(Output("text", 1, 40, Utils::Bullet), " text");
    EXPECT_EQ(Output("text", 0, 40, Utils::Bullet), "\ntext");
    EXPECT_EQ(Output("text", -5, 40, Utils::Bullet), "\ntext");
}

TEST(FormatOutput, AnEmptyTextLeavesTheLabelAsItIs) {
    EXPECT_EQ(Laid("INFO:", "", 10, 40), "INFO:");
    EXPECT_EQ(Laid("", "", 10, 40), "");
    EXPECT_TRUE(Utils::FormatOutput("INFO:", String_t::Null(), 10, 40) == "INFO:");
}

TEST(FormatOutput, ALabelAsLongAsTheIndentOrLongerStandsOnALineOfItsOwn) {
    EXPECT_EQ(Laid("INFO:", "text", 5, 40), "INFO:\n     text");
    EXPECT_EQ(Laid("INFORMATION:", "text", 5, 40), "INFORMATION:\n     text");
    EXPECT_EQ(Laid("INFO:", "text", 6, 40), "INFO: text");
}

TEST(FormatOutput, LinesBreakBehindEachCharacterOfTheBreakSet) {
    EXPECT_EQ(Laid("", "aaaa bbbb", 2, 8), "  aaaa \n  bbbb");
    for (const char* mark : {"}", "]", ">", "|", "/", "\\"}) {
        EXPECT_EQ(Laid("", std::string("aaaa") + mark + "bbbb", 2, 8), std::string("  aaaa") + mark + "\n  bbbb");
    }
}

TEST(FormatOutput, OtherCharactersDoNotBreakALine) {
    for (const char* mark : {"{", "[", "<", "-", "\t", ",", ":"}) {
        const std::string text = std::string("a aa") + mark + "b";
        EXPECT_EQ(Laid("", text, 0, 5), "\na \naa" + std::string(mark) + "b") << mark;
    }
}

TEST(FormatOutput, ATrailingBlankCountsTowardsTheWidth) {
    EXPECT_EQ(Laid("", "aa bb", 0, 5), "\naa bb");
    EXPECT_EQ(Laid("", "aa bb ", 0, 5), "\naa \nbb ");
}

TEST(FormatOutput, BehindANewlineTheIndentComesAgain) {
    EXPECT_EQ(Laid("INFO:", "one\ntwo\n\nthree", 7, 40), "INFO:  one\n       two\n       \n       three");
    EXPECT_EQ(Laid("INFO:", "one\n", 7, 40), "INFO:  one\n");
}

TEST(FormatOutput, WithoutIndentLinesBeginWithNoBlank) {
    EXPECT_EQ(Laid("", "one two three", 0, 8), "\none two \nthree");
    EXPECT_EQ(Laid("", "one\ntwo", 0, 8), "\none\ntwo");
}

TEST(FormatOutput, AWordLongerThanALineIsCutAndNotMoved) {
    EXPECT_EQ(Laid("", "aa bbbbbbbbbbbb", 2, 10), "  aa bbbbb\n  bbbbbbb");
    EXPECT_EQ(Laid("", "abcdefghijklmnopqrstuvwxyz", 0, 12), "\nabcdefghijkl\nmnopqrstuvwx\nyz");
}

TEST(FormatOutput, AWordIsNotCutWhereHardlyAnythingOfTheLineIsLeft) {
    // Of 30 columns for text 2 are left, which is less than a tenth; with 3 left the word begins there.
    const std::string word(40, 'x');
    EXPECT_EQ(Laid("", std::string(27, 'a') + " " + word, 0, 30),
              "\n" + std::string(27, 'a') + " \n" + word.substr(0, 30) + "\n" + word.substr(30));
    EXPECT_EQ(Laid("", std::string(26, 'a') + " " + word, 0, 30),
              "\n" + std::string(26, 'a') + " xxx\n" + word.substr(3, 30) + "\n" + word.substr(33));
}

TEST(FormatOutput, NoCharacterIsLostAndNothingIsAppended) {
    const std::string text = "one two/three}four]five>six|seven\\eight  nine\n\nten and some_word_that_is_very_long.";
    for (int indent = 0; indent < 6; ++indent) {
        for (int width = indent + 10; width < 60; ++width) {
            const std::string laid = Laid("", text, indent, width);
            std::string bare, expected;
            std::copy_if(laid.begin(), laid.end(), std::back_inserter(bare), IsInk);
            std::copy_if(text.begin(), text.end(), std::back_inserter(expected), IsInk);
            EXPECT_EQ(bare, expected) << width << " " << indent;
        }
    }
}

TEST(FormatOutput, OnLinesOfLessThanTenColumnsTheOutputEndsWhereAWordMeetsAFullLine) {
    EXPECT_EQ(Laid("", "abcd efghijkl m", 0, 5), "\nabcd ");
    EXPECT_EQ(Laid("", "abcdefghi jklmnopqrstuv w", 0, 10), "\nabcdefghi \njklmnopqrs\ntuv w");
}

TEST(FormatOutput, AnIndentWiderThanTheLineStillEndsWithTheWholeText) {
    EXPECT_NE(Laid("", "one two three", 20, 10).find("three"), std::string::npos);
    EXPECT_NE(Laid("", "one", 5, -5).find("one"), std::string::npos);
}

// The version of a node

std::string VersionIn(const std::string& inventory) {
    return Utils::FindVersion(String_t::FromUtf8(inventory)).ToUtf8();
}

TEST(FindVersion, TheVersionStandsInTheColumnOfTheHeading) {
    EXPECT_EQ(VersionIn("NAME           VERSION    DESCRIPTION\n"
                        "Other          01.00      x\n"
                        "TesselLumConf  06.00.055  y\n"),
              "06.00.055");
}

TEST(FindVersion, TheLastLineNeedsNoNewlineAndNoBlank) {
    EXPECT_EQ(VersionIn("NAME           VERSION             \nTesselLumConf  07.01"), "07.01");
}

TEST(FindVersion, WithoutHeadingOrPackageThereIsNone) {
    EXPECT_EQ(VersionIn(""), "");
    EXPECT_EQ(VersionIn("NAME           RELEASE    DESCRIPTION\nTesselLumConf  06.00.055  y\n"), "");
    EXPECT_EQ(VersionIn("NAME           VERSION    DESCRIPTION\nOther          06.00.055  y\n"), "");
    EXPECT_EQ(VersionIn("NAME           VERSION    DESCRIPTION\nTesselLumConfig 6.00.055  y\n"), "");
}

TEST(FindVersion, APackageThatStandsTooNearToTheHeadingIsNotSeen) {
    EXPECT_EQ(VersionIn("VERSION   x\nTesselLumConf 1\n"), "");
}

TEST(FindVersion, TheSearchForThePackageBeginsTwentyCharactersBehindTheHeading) {
    // From where "VERSION" begins up to the end of its line, without it: 19 characters are one too few.
    const std::string nineteen = "VERSION" + std::string(12, ' ');
    EXPECT_EQ(VersionIn(nineteen + "\nTesselLumConf 1\n"), "");
    EXPECT_EQ(VersionIn(nineteen + " \nTesselLumConf 1\n"), "TesselLumConf");
    EXPECT_EQ(VersionIn(nineteen + "\nTesselLumConf 1\nTesselLumConf 2\n"), "TesselLumConf");
}

TEST(FindVersion, TheColumnIsThatOfTheWholeInventoryEvenWhereTheHeadingStandsLower) {
    const std::string title = "Title\n", heading = "NAME           VERSION             \n";
    EXPECT_EQ(VersionIn(title + heading + "TesselLumConf  06.00.055  y\n"), "055");
    EXPECT_EQ(VersionIn(title + heading + "TesselLumConf        06.00.055  y\n"), "06.00.055");
}

TEST(FindVersion, OnlyABlankOrTheEndOfTheLineEndsTheVersion) {
    const std::string heading = "NAME           VERSION             \n";
    EXPECT_EQ(VersionIn(heading + "TesselLumConf  06.00\t055 y\n"), "06.00\t055");
    EXPECT_EQ(VersionIn(heading + "TesselLumConf  06.00\r\nOther  07\n"), "06.00\r");
    EXPECT_EQ(VersionIn(heading + "TesselLumConf   06.00\n"), "") << "a blank stands in the column";
}

TEST(FindVersion, TheFirstLineOfThePackageCounts) {
    EXPECT_EQ(VersionIn("NAME           VERSION             \nTesselLumConf  06.00  y\nTesselLumConf  07.00  y\n"),
              "06.00");
}

TEST(FindVersion, ALineShorterThanTheColumnHasNoVersion) {
    EXPECT_EQ(VersionIn("NAME                    VERSION    DESCRIPTION\nTesselLumConf 1\nx\n"), "");
}

}  // namespace
}  // namespace LumConf
