#include "SelectionSoapArg.h"

#include <gtest/gtest.h>

#include <climits>

#include "SelectionImpl.h"
#include "SoapText.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;

std::string WrittenFor(const Selection& selection, const char* host = "localhost") {
    SelectionSoapArg argument("PolicySelection");
    argument.SetSelection(selection, host);
    return Written(argument);
}

Selection Read(const std::string& inside) {
    SelectionSoapArg argument("PolicySelection");
    ReadArgument(argument, inside);
    return argument.GetSelection();
}

int KindOf(const Selection& selection) {
    return static_cast<int>(selection.GetImpl().GetKind());
}

struct KindRow {
    int kind;
    Selection selection;
    const char* value;
};

const KindRow kKinds[] = {
    {0, Selection().SetPolicyId("ABC-1"), "abc-1"},
    {1, Selection().SetPolicyName("Name"), "Name"},
    {2, Selection().SetPolicyTypeName("Type"), "type"},
    {3, Selection().SetPolicyCategory("Category"), "Category"},
    {4, Selection().SetPolicyOwner("Owner"), "Owner"},
    {5, Selection().SetPolicyOwnerAndName("Owner", "Name"), "Owner=Name"},
    {6, Selection().SetPolicyAttribute("Attribute"), "Attribute"},
    {7, Selection().SetPolicyAttribute("Attribute", "Value"), "Attribute=Value"},
    {8, Selection(), ""},
    {9, Selection().SetPolicyNameAndTypeName("Name", "Type"), "Name=type"},
};

TEST(SelectionSoapArg, EveryKindIsWrittenAsNumberThenText) {
    for (const KindRow& row : kKinds) {
        const std::string expected =
            "<selection>" + std::to_string(row.kind) + "</selection><name>" + row.value + "</name>";
        for (const char* host : {"localhost", ""}) EXPECT_EQ(WrittenFor(row.selection, host), expected);
    }
}

TEST(SelectionSoapArg, EveryKindSurvivesTheWay) {
    for (const KindRow& row : kKinds) {
        const Selection received = Read(WrittenFor(row.selection));
        EXPECT_EQ(KindOf(received), row.kind);
        EXPECT_EQ(received.GetImpl().GetValue(), row.value);
        EXPECT_EQ(received.Describe(), row.selection.Describe());
    }
}

TEST(SelectionSoapArg, ANumberThatIsNoKindMeansAllPolicies) {
    for (int number : {8, 10, 11, 12, 100, -1, -9, INT_MAX, INT_MIN}) {
        EXPECT_EQ(KindOf(Read("<selection>" + std::to_string(number) + "</selection>")), 8) << number;
    }
    for (int number : {0, 1, 2, 3, 4, 5, 6, 7, 9}) {
        EXPECT_EQ(KindOf(Read("<selection>" + std::to_string(number) + "</selection>")), number);
    }
}

TEST(SelectionSoapArg, ANumberMayHaveASignZerosAndBlanks) {
    for (const char* text : {"+3", "03", " 3 ", "\n3\t"}) {
        EXPECT_EQ(KindOf(Read("<selection>" + std::string(text) + "</selection>")), 3) << text;
    }
}

TEST(SelectionSoapArg, WhatIsNoNumberIsRefused) {
    for (const char* text : {"", " ", "x", "3x", "3.0", "0x3", "3 4", "--3", "2147483648", "-2147483649",
                             "99999999999999999999", "\xD9\xA3"}) {
        EXPECT_THROW(Read("<selection>" + std::string(text) + "</selection>"), LumVoxSoap::SOAPFormatException) << text;
    }
}

TEST(SelectionSoapArg, TheTextIsTakenAsItComes) {
    for (const char* text : {" Name ", "a=b=c", "", "\n", "\xC3\x84rger \xE2\x82\xAC \xF0\x9F\x94\x92", "TYPE:Name"}) {
        const Selection received = Read("<selection>0</selection><name>" + std::string(text) + "</name>");
        EXPECT_EQ(received.GetImpl().GetValue(), String_t::FromUtf8(text));
    }
}

TEST(SelectionSoapArg, ATextWithMarkupSurvivesTheWay) {
    const char* text = "a<b>&\"'\r\n\t]]> \xF0\x9F\x94\x92";
    const Selection received = Read(WrittenFor(Selection().SetPolicyOwner(String_t::FromUtf8(text))));
    EXPECT_EQ(received.GetImpl().GetValue(), String_t::FromUtf8(text));
}

TEST(SelectionSoapArg, ATextThatXmlCannotCarryIsNotSent) {
    EXPECT_THROW(WrittenFor(Selection().SetPolicyOwner(String_t(u'\x0001'))), LumPalMsg::IllegalArgumentError_t);
}

TEST(SelectionSoapArg, MissingElementsLeaveAllPoliciesAndNoText) {
    EXPECT_EQ(KindOf(Read("")), 8);
    EXPECT_EQ(KindOf(Read("<name>x</name>")), 8);
    EXPECT_TRUE(Read("<selection>1</selection>").GetImpl().GetValue().IsEmpty());
}

TEST(SelectionSoapArg, TheOrderOfTheElementsDoesNotMatter) {
    const Selection received = Read("<name>x</name><future>1</future><selection>4</selection>");
    EXPECT_EQ(KindOf(received), 4);
    EXPECT_EQ(received.GetImpl().GetValue(), "x");
}

TEST(SelectionSoapArg, TheVersionGoesInAndOutButDoesNotTravel) {
    Selection selection;
    selection.GetImpl().SetVersion(7);
    SelectionSoapArg argument("PolicySelection");
    argument.SetSelection(selection, "localhost");
    EXPECT_EQ(argument.GetSelection().GetImpl().GetVersion(), 7);
    EXPECT_EQ(Written(argument), "<selection>8</selection><name></name>");
    EXPECT_EQ(Read(Written(argument)).GetImpl().GetVersion(), 1);
}

TEST(SelectionSoapArg, SettingAnotherSelectionReplacesTheFirst) {
    SelectionSoapArg argument("PolicySelection");
    argument.SetSelection(Selection().SetPolicyOwner("first"), "localhost");
    argument.SetSelection(Selection().SetPolicyCategory("second"), "");
    EXPECT_EQ(Written(argument), "<selection>3</selection><name>second</name>");
}

TEST(SelectionSoapArg, NodesOfOldVersionsGetTheirOwnNumbers) {
    const int shifted[] = {0, 1, 2, 4, 5, 6, 7, 8, 9, 3};
    for (const char* version : {"03.00.010", "03.00.010.1", "04", "05.99.999", "06.00.05", "06.00.055"}) {
        for (int kind = 0; kind <= 9; ++kind) {
            EXPECT_EQ(SelectionSoapArg::KindOnTheWire(kind, version), shifted[kind]) << version << " " << kind;
        }
    }
}

TEST(SelectionSoapArg, NodesOfOtherVersionsGetTheNumbersAsTheyAre) {
    // Versions compare as text: one without the leading zero lies above the upper bound.
    for (const char* version :
         {"", "03.00.009", "03.00.01", "03", "0", "06.00.0550", "06.00.056", "06.01", "07", "3.00.010", "4", "10.0"}) {
        for (int kind = 0; kind <= 9; ++kind) {
            EXPECT_EQ(SelectionSoapArg::KindOnTheWire(kind, version), kind) << version << " " << kind;
        }
    }
    EXPECT_EQ(SelectionSoapArg::KindOnTheWire(9, String_t::Null()), 9);
}

TEST(SelectionSoapArg, KindsBeyondTheTableAreNotShifted) {
    for (int kind : {-1, 10, 12}) EXPECT_EQ(SelectionSoapArg::KindOnTheWire(kind, "05"), kind);
}

}  // namespace
}  // namespace LumConf
