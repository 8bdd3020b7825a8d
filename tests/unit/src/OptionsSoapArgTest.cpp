#include "OptionsSoapArg.h"

#include <gtest/gtest.h>

#include "SoapText.h"

namespace LumConf {
namespace {

using Options = PolicyForwarder::Options;

Options Read(const std::string& inside, const Options& before = Options()) {
    OptionsSoapArg argument("PolicyOptions");
    argument.SetOptions(before);
    ReadArgument(argument, inside);
    return argument.GetOptions();
}

TEST(OptionsSoapArg, WritesTheNotifyOptionAlone) {
    OptionsSoapArg argument("PolicyOptions");
    EXPECT_EQ(Written(argument), "<notify>true</notify>");
    argument.SetOptions(Options().SetNotify(false).SetCloseConnection(true).SetTargetID("node-7"));
    EXPECT_EQ(Written(argument), "<notify>false</notify>");
}

TEST(OptionsSoapArg, TargetAndCloseConnectionDoNotTravel) {
    OptionsSoapArg sent("PolicyOptions");
    sent.SetOptions(Options().SetNotify(false).SetCloseConnection(true).SetTargetID("node-7"));
    const Options received = Read(Written(sent));
    EXPECT_FALSE(received.GetNotify());
    EXPECT_FALSE(received.GetCloseConnection());
    EXPECT_TRUE(received.GetTargetID().IsEmpty());
}

TEST(OptionsSoapArg, ReadingLeavesWhatDoesNotTravelAsItWas) {
    const Options after = Read("<notify>false</notify>", Options().SetCloseConnection(true).SetTargetID("node-7"));
    EXPECT_FALSE(after.GetNotify());
    EXPECT_TRUE(after.GetCloseConnection());
    EXPECT_EQ(after.GetTargetID(), "node-7");
}

struct SpellingRow {
    const char* text;
    bool value;
};

const SpellingRow kSpellings[] = {
    {"true", true}, {"1", true},        {" true ", true}, {"\n\t1\r", true},   {"false", false},
    {"0", false},   {"  false", false}, {"0 ", false},    {"tr&#x75;e", true}, {"fal<!-- -->se", false}};

TEST(OptionsSoapArg, ReadsEverySpellingOfABoolean) {
    for (const SpellingRow& row : kSpellings) {
        const Options before = Options().SetNotify(!row.value);
        EXPECT_EQ(Read("<notify>" + std::string(row.text) + "</notify>", before).GetNotify(), row.value) << row.text;
    }
}

TEST(OptionsSoapArg, RefusesWhatIsNoBoolean) {
    for (const char* text : {"", " ", "TRUE", "False", "yes", "no", "on", "2", "-1", "10", "tru e", "truetrue", "t",
                             "true\xC2\xA0", "<x>true</x>"}) {
        EXPECT_THROW(Read("<notify>" + std::string(text) + "</notify>"), LumVoxSoap::SOAPFormatException) << text;
    }
}

TEST(OptionsSoapArg, AMissingElementLeavesTheOption) {
    EXPECT_TRUE(Read("").GetNotify());
    EXPECT_FALSE(Read("", Options().SetNotify(false)).GetNotify());
}

TEST(OptionsSoapArg, TheLastOfTwoElementsCounts) {
    EXPECT_FALSE(Read("<notify>true</notify><notify>false</notify>").GetNotify());
    EXPECT_TRUE(Read("<notify>false</notify><notify>true</notify>").GetNotify());
}

TEST(OptionsSoapArg, UnknownElementsLeaveTheOption) {
    EXPECT_TRUE(Read("<Notify>false</Notify><target>notify</target>").GetNotify());
    EXPECT_FALSE(Read("<target>x<deep>true</deep></target><notify>false</notify><more/>").GetNotify());
}

}  // namespace
}  // namespace LumConf
