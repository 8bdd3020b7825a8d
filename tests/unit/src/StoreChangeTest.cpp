#include "StoreChange.h"

#include <gtest/gtest.h>

#include "Files.h"

namespace LumConf {
namespace {

StoreChange Example() {
    StoreChange change{"files", "a 1", {}, {}, {"old"}};
    change.placed = {{StoreChange::Waiting::Temporary, "POLx", {"files", "a 1_header.xml"}},
                     {StoreChange::Waiting::Incoming,
                      LumPalStr::String_t::FromUtf8("d ä=1"),
                      {"files", LumPalStr::String_t::FromUtf8("d ä=1")}}};
    change.placed[1].former = {18446744073709551615u, 7, -1};
    change.deleted = {{"old", "gone"}};
    return change;
}

LumPalArray::CharArray_t Bytes(const std::string& text) {
    return LumPalArray::CharArray_t(text.data(), text.size());
}

TEST(StoreChange, ARecordReadsBackAsItWasWritten) {
    StoreChange back;
    int line = 0;
    const StoreChange change = Example();
    ASSERT_TRUE(StoreChange::FromText(change.ToText(), back, line));
    EXPECT_EQ(back.ToText().View(), change.ToText().View());
    EXPECT_EQ(back.id, "a 1");
    ASSERT_EQ(back.placed.size(), 2u);
    EXPECT_EQ(back.placed[0].waiting, StoreChange::Waiting::Temporary);
    EXPECT_EQ(back.placed[1].place.name, change.placed[1].place.name);
    EXPECT_EQ(back.placed[0].former, std::nullopt);
    EXPECT_EQ(back.placed[1].former, change.placed[1].former);
    EXPECT_EQ(back.deleted, change.deleted);
    EXPECT_EQ(back.emptied, change.emptied);
}

TEST(StoreChange, ARecordCutAnywhereIsNone) {
    const std::string text(Example().ToText().View());
    for (std::size_t length = 0; length < text.size() - 1; ++length) {
        StoreChange back;
        int line = 0;
        EXPECT_FALSE(StoreChange::FromText(Bytes(text.substr(0, length)), back, line)) << length;
    }
}

TEST(StoreChange, ARecordWithoutWhatStoodInThePlacesReadsAsBefore) {
    StoreChange back;
    int line = 0;
    const std::string text = "lumconf store change 1\nplace\tincoming\tx\tfiles\ta\nend\n";
    ASSERT_TRUE(StoreChange::FromText(Bytes(text), back, line));
    ASSERT_EQ(back.placed.size(), 1u);
    EXPECT_EQ(back.placed[0].former, std::nullopt);
}

TEST(StoreChange, WhatIsNoRecordIsRefusedAndItsLineIsNamed) {
    const std::string head = "lumconf store change 1\n";
    const struct {
        const char* what;
        std::string text;
        int line;
    } rows[] = {
        {"nothing", "", 1},
        {"another version", "lumconf store change 2\nend\n", 1},
        {"an unknown word", head + "move\ta\tb\nend\n", 2},
        {"a name that leads out of the store", head + "delete\t..\tshadow\nend\n", 2},
        {"a name with a separator", head + "policy\tfiles\ta\ndelete\tfiles\t../../etc/shadow\nend\n", 3},
        {"an empty name", head + "delete\tfiles\t\nend\n", 2},
        {"too few fields", head + "delete\tfiles\nend\n", 2},
        {"too many fields", head + "delete\tfiles\ta\tb\nend\n", 2},
        {"an unknown folder", head + "place\toutgoing\tx\tfiles\ta\nend\n", 2},
        {"a waiting name that leads elsewhere", head + "place\tincoming\t../x\tfiles\ta\nend\n", 2},
        {"half a former file", head + "place\tincoming\tx\tfiles\ta\t1\nend\n", 2},
        {"a former file that is no number", head + "place\tincoming\tx\tfiles\ta\t1\t2x\t3\nend\n", 2},
        {"a former file below zero", head + "place\tincoming\tx\tfiles\ta\t-1\t2\t3\nend\n", 2},
        {"a type that leads elsewhere", head + "empty\t.\nend\n", 2},
        {"an empty line", head + "\nend\n", 2},
        {"no end", head + "empty\tfiles\n", 2},
        {"something behind the end", head + "end\nempty\tfiles\n", 2},
        {"a control character", head + "delete\tfiles\ta\rb\nend\n", 2},
    };
    for (const auto& row : rows) {
        StoreChange back;
        int line = 0;
        EXPECT_FALSE(StoreChange::FromText(Bytes(row.text), back, line)) << row.what;
        EXPECT_EQ(line, row.line) << row.what;
    }
}

TEST(StoreChange, WhatIsPlacedIsNotDeletedAndNamesThatNobodyBearsAreLeftOut) {
    StoreChange change = Example();
    change.deleted.clear();
    change.DeleteUnlessPlaced({{"files", "a 1_header.xml"}, {"old", "a 1_header.xml"}, {"files", "../x"}, {"..", "y"}});
    EXPECT_EQ(change.deleted, (std::vector<StoreChange::StoredFile>{{"old", "a 1_header.xml"}}));
}

}  // namespace
}  // namespace LumConf
