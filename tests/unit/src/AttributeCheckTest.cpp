#include "AttributeCheck.h"

#include <gtest/gtest.h>

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

}  // namespace
