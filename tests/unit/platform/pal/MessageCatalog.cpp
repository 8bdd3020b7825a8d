#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <string>

#include "LumPalCmd.h"
#include "LumPalMsg.h"
#include "TempRoot.h"

namespace {

using namespace LumPalMsg;
using LumPalStr::String_t;

/// A catalogue in a folder of its own that NLSPATH names, for one test.
class MessageCatalog : public testing::Test {
protected:
    void SetUp() override {
        const std::string source = root.Native() + "/source.msg";
        std::ofstream(source) << "$set 1\n1 TRANSLATED: %1\n2 \xC3\x84ndern von %2 nach %1\n4 \n"
                              << "605 num\xC3\xA9ro\n$set 2\n3 of another set\n";
        LumPalCmd::Command_t make("gencat " + root.Path("lumtest.cat") + " " + String_t::FromUtf8(source));
        make.PutEnv("LC_ALL", "C.UTF-8");
        ASSERT_EQ(make.Execute().WaitFor(), 0);
        setenv("NLSPATH", (root.Native() + "/%N.cat").c_str(), 1);
    }
    void TearDown() override { unsetenv("NLSPATH"); }

    TempRoot root;
};

TEST_F(MessageCatalog, GivesItsTextInPlaceOfTheDefaultOne) {
    const MessageCatalog_t catalog("lumtest");
    EXPECT_EQ(Message_t(CreateError_t(catalog, 1, "default %1") << "x").GetMessageText(), "TRANSLATED: x");
}

TEST_F(MessageCatalog, MayChangeTheOrderOfTheHolesAndIsUtf8) {
    const MessageCatalog_t catalog("lumtest");
    const Message_t message = CreateError_t(catalog, 2, "change %1 to %2") << "a"
                                                                           << "b";
    EXPECT_EQ(message.GetMessageText(), String_t(u"Ändern von b nach a"));
    EXPECT_EQ(catalog.GetText(605, "default"), String_t(u"numéro"));
}

TEST_F(MessageCatalog, LeavesTheDefaultTextForANumberThatItLacks) {
    const MessageCatalog_t catalog("lumtest");
    EXPECT_EQ(catalog.GetText(7, "default"), "default");
    EXPECT_EQ(catalog.GetText(3, "in set 1"), "in set 1");
    EXPECT_EQ(catalog.GetText(0, "zero"), "zero");
    EXPECT_EQ(catalog.GetText(0xFFFFFFFFu, "huge"), "huge");
}

TEST_F(MessageCatalog, LeavesTheDefaultTextForAnEmptyRow) {
    EXPECT_EQ(MessageCatalog_t("lumtest").GetText(4, "default"), "default");
}

TEST_F(MessageCatalog, LeavesTheDefaultTextWhenThereIsNoSuchCatalogue) {
    for (const char* const name : {"lumother", "", "../lumtest"}) {
        EXPECT_EQ(MessageCatalog_t(name).GetText(1, "default"), "default") << name;
    }
    EXPECT_EQ(MessageCatalog_t(nullptr).GetText(1, "default"), "default");
}

TEST_F(MessageCatalog, LeavesTheDefaultTextWhenTheFileIsNoCatalogue) {
    std::ofstream(root.Native() + "/broken.cat") << "this is no catalogue";
    EXPECT_EQ(MessageCatalog_t("broken").GetText(1, "default"), "default");
}

TEST_F(MessageCatalog, IsOpenedAtTheFirstLookUpAndSharedByCopies) {
    const MessageCatalog_t catalog("lumtest");
    const MessageCatalog_t copy = catalog;
    EXPECT_EQ(copy.GetText(1, "default"), "TRANSLATED: %1");
    unsetenv("NLSPATH");
    EXPECT_EQ(catalog.GetText(1, "default"), "TRANSLATED: %1");
    EXPECT_EQ(catalog.GetName(), "lumtest");
}

TEST_F(MessageCatalog, IsAskedWhenTheTextIsWanted) {
    unsetenv("NLSPATH");
    const MessageCatalog_t catalog("lumtest");
    const Message_t message = CreateError_t(catalog, 1, "default %1") << "x";
    setenv("NLSPATH", (root.Native() + "/%N.cat").c_str(), 1);
    EXPECT_EQ(message.GetMessageText(), "TRANSLATED: x");
}

TEST_F(MessageCatalog, LabelsStayThoseOfTheSystem) {
    const MessageCatalog_t catalog("lumtest");
    EXPECT_EQ(Message_t(CreateWarn_t(catalog, 605, "default")).Format(Label | Id | Text),
              String_t(u"WARNING: (lumtest-605) numéro"));
}

}  // namespace
