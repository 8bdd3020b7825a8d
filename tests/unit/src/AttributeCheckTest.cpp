#include "AttributeCheck.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Raised.h"

namespace {

using LumConf::CheckAttribute;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

TEST(AttributeCheck, ANullAnEmptyAndABlankTextAreRefused) {
    for (const String_t& text : {String_t::Null(), String_t(""), String_t(" "), String_t(" \t\r\n ")}) {
        EXPECT_RAISES(CheckAttribute(text), IllegalArgumentError_t, 70);
    }
}

TEST(AttributeCheck, AnEqualsSignAnywhereIsRefusedAndNamed) {
    for (const char* text : {"=", "a=", "=a", "a=b", " = "}) {
        auto raised = MessagesOf<IllegalArgumentError_t>([text] { CheckAttribute(text); });
        ASSERT_EQ(raised.GetMessageCount(), 1);
        EXPECT_EQ(raised.GetMessage(0).GetId(), 71u);
        EXPECT_EQ(raised.GetMessage(0).GetMessageText(),
                  String_t("Parameter for policy attribute '") + text + "' contains '=' which is not allowed.");
    }
}

TEST(AttributeCheck, EveryOtherCharacterPasses) {
    for (const char* text : {"a", " a ", "a b", "a:b", "-", "'<&>\""}) EXPECT_NO_THROW(CheckAttribute(text)) << text;
    EXPECT_NO_THROW(CheckAttribute(String_t::FromUtf8("Prüfung")));
}

TEST(AttributeCheck, ARefusedTextOfMegabytesIsShownByItsBeginning) {
    String_t text = "a=";
    text.Append(String_t(std::u16string(4u << 20, u'x').c_str()));
    auto raised = MessagesOf<IllegalArgumentError_t>([&text] { CheckAttribute(text); });
    ASSERT_EQ(raised.GetMessageCount(), 1);
    const String_t shown = raised.GetMessage(0).GetMessageText();
    EXPECT_LT(shown.GetLength(), 1200u);
    EXPECT_NE(shown.Find("'a=xxxx"), LumPalStr::NotFound);
}

TEST(AttributeCheck, BlanksOfAnyLengthAreBlankAndOneCharacterBehindThemIsNot) {
    const String_t blanks(std::u16string(10000, u' ').c_str());
    EXPECT_RAISES(CheckAttribute(blanks), IllegalArgumentError_t, 70);
    EXPECT_NO_THROW(CheckAttribute(blanks + "a"));
    EXPECT_NO_THROW(CheckAttribute(String_t("a") + blanks));
}

TEST(AttributeCheck, ATextIsPartedAtItsFirstEqualsSignWhereverItStands) {
    for (const auto& [text, name, value] : {std::array<const char*, 3>{"a=b", "a", "b"},
                                            {"a=b=c", "a", "b=c"},
                                            {"long name=v", "long name", "v"},
                                            {"=", "", ""},
                                            {"=long value", "", "long value"},
                                            {"long name=", "long name", ""},
                                            {"none", "none", "none"}}) {
        const String_t whole = text;
        const LumConf::NameAndValue pair = LumConf::SplitAttribute(whole);
        EXPECT_EQ(pair.name, name) << text;
        EXPECT_EQ(pair.value, value) << text;
        EXPECT_EQ(whole, text);
    }
}

}  // namespace
