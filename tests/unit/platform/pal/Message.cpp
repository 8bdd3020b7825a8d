#include "LumPalMsg.h"

#include <gtest/gtest.h>

#include <regex>
#include <thread>
#include <vector>

#include "MessageFormat.h"

namespace {

using namespace LumPalMsg;
using LumPalStr::String_t;

String_t Filled(const char* text, const std::vector<String_t>& arguments) {
    return FillHoles(text, arguments);
}

TEST(Message, FillsItsHolesInOnePass) {
    const std::vector<String_t> two{"one", "two"};
    const std::vector<String_t> tricky{"%2", "100%"};
    std::vector<String_t> many;
    for (int i = 1; i <= 100; ++i) many.push_back("<" + LumPalStr::NumToStr(i) + ">");
    const struct {
        const char* says;
        const char* text;
        const std::vector<String_t>& arguments;
        const char* expected;
    } rows[] = {
        {"in order", "%1 and %2", two, "one and two"},
        {"in any order and twice", "%2, %1, %2", two, "two, one, two"},
        {"side by side", "%1%2", two, "onetwo"},
        {"at both ends only", "%1", two, "one"},
        {"no hole at all", "nothing", two, "nothing"},
        {"an empty text", "", two, ""},
        {"an argument that looks like a hole", "%1-%2", tricky, "%2-100%"},
        {"a missing argument", "%1 %3 %2", two, "one %3 two"},
        {"a missing argument of two digits", "%10", two, "%10"},
        {"no arguments", "%1", {}, "%1"},
        {"two digits are one hole", "%10%11", many, "<10><11>"},
        {"the last hole", "%99", many, "<99>"},
        {"a third digit is text", "%100", many, "<10>0"},
        {"a lone percent sign at the end", "50%", two, "50%"},
        {"a percent sign before a blank", "50 % of %1", two, "50 % of one"},
        {"two percent signs", "%%1", two, "%one"},
        {"two percent signs stay two", "%%", two, "%%"},
        {"there is no hole 0", "%0 %01", two, "%0 %01"},
        {"a letter behind the percent sign", "%s %d %1", two, "%s %d one"},
    };
    for (const auto& row : rows) EXPECT_EQ(Filled(row.text, row.arguments), row.expected) << row.says;
}

TEST(Message, TakesTextsLiteralsAndNumbersAsArguments) {
    const String_t umlaut(u"Größe");
    const Message_t message = CreateError_t("%1|%2|%3|%4") << umlaut << "ascii" << -7 << 4000000000u;
    EXPECT_EQ(message.GetMessageText(), String_t(u"Größe|ascii|-7|4000000000"));
}

TEST(Message, TakesANullTextAsAnEmptyArgument) {
    const char* const nothing = nullptr;
    EXPECT_EQ(Message_t(CreateInfo_t("[%1][%2]") << String_t::Null() << nothing).GetMessageText(), "[][]");
}

TEST(Message, IsEmptyByDefault) {
    const Message_t message;
    EXPECT_EQ(message.GetId(), 0u);
    EXPECT_EQ(message.GetSeverity(), Severity_e::None);
    EXPECT_TRUE(message.Format(Label | Id | Details | Text).IsEmpty());
    EXPECT_EQ(message.GetDetails().GetMessageCount(), 0);
}

TEST(Message, CarriesItsSeverityAndNumber) {
    const MessageCatalog_t catalog("no-such-catalogue");
    EXPECT_EQ(CreateMessage_t(catalog, 1, "a").GetSeverity(), Severity_e::None);
    EXPECT_EQ(CreateInfo_t(catalog, 2, "a").GetSeverity(), Severity_e::Info);
    EXPECT_EQ(CreateWarn_t(catalog, 3, "a").GetSeverity(), Severity_e::Warning);
    EXPECT_EQ(CreateError_t(catalog, 4, "a").GetSeverity(), Severity_e::Error);
    EXPECT_EQ(CreateError_t(catalog, 4, "a").GetId(), 4u);
    EXPECT_EQ(CreateError_t("a").GetId(), 0u);
}

TEST(Message, IsPickedInABranchByAssignment) {
    CreateMessage_t picked;
    picked = CreateWarn_t("one of %1");
    picked << 2;
    EXPECT_EQ(picked.GetMessageText(), "one of 2");
    EXPECT_EQ(picked.GetSeverity(), Severity_e::Warning);
    CreateError_t error;
    error = CreateError_t("other");
    EXPECT_EQ(error.GetMessageText(), "other");
}

/// An error with two details, the first with one of its own.
Message_t Nested() {
    CreateInfo_t inner("inner %1");
    inner << 3;
    CreateWarn_t middle("middle");
    middle.AddDetails(inner);
    const MessageCatalog_t catalog("no-such-catalogue");
    CreateError_t outer(catalog, 17, "outer");
    outer.AddDetails(middle).AddDetails(CreateMessage_t("last"));
    return outer;
}

TEST(Message, ShowsWhatTheBitsSelect) {
    const struct {
        unsigned flags;
        const char* expected;
    } rows[] = {
        {0, ""},
        {BareText, "outer"},
        {Text, "outer"},
        {Label, "ERROR: "},
        {Label | Text, "ERROR: outer"},
        {Id | Text, "(no-such-catalogue-17) outer"},
        {Label | Id | BareText, "ERROR: (no-such-catalogue-17) outer"},
        {36, "outer\n  middle\n    inner 3\n  last"},
        {37, "ERROR: outer\n  WARNING: middle\n    INFO: inner 3\n  last"},
        {Details | BareText, "outer\n  middle\n    inner 3\n  last"},
        {Label | Id | Details | Text,
         "ERROR: (no-such-catalogue-17) outer\n  WARNING: middle\n    INFO: inner 3\n  last"},
    };
    for (const auto& row : rows) EXPECT_EQ(Nested().Format(row.flags), row.expected) << row.flags;
}

TEST(Message, ShowsTheTimeOnceBeforeEverythingElse) {
    const std::regex expected(
        R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d ERROR: outer\n  WARNING: middle\n    INFO: inner 3\n  last)");
    EXPECT_TRUE(std::regex_match(Nested().Format(Time | Label | Text | Details).ToUtf8(), expected));
}

TEST(Message, ConvertsToItsBareText) {
    const String_t text = Nested();
    EXPECT_EQ(text, "outer");
}

TEST(Message, GivesItsTextWithoutLabelAndDetailsOnlyWhenAsked) {
    EXPECT_EQ(Nested().GetMessageText(), "outer");
    EXPECT_EQ(Nested().GetMessageText(Label | Id | Text), "outer");
    EXPECT_EQ(Nested().GetMessageText(Details), "outer\n  middle\n    inner 3\n  last");
}

TEST(Message, IndentsEveryLineOfADetail) {
    CreateError_t outer("outer");
    outer.AddDetails(CreateError_t("first line\nsecond line"));
    EXPECT_EQ(outer.Format(36), "outer\n  first line\n  second line");
    EXPECT_EQ(CreateError_t("first line\nsecond line").Format(BareText), "first line\nsecond line");
}

TEST(Message, KeepsTheOrderOfItsDetails) {
    const MessageList_t details = Nested().GetDetails();
    ASSERT_EQ(details.GetMessageCount(), 2);
    EXPECT_EQ(details.GetMessage(0).GetMessageText(), "middle");
    EXPECT_EQ(details.GetMessage(1).GetMessageText(), "last");
}

TEST(Message, TakesAWholeListAsDetails) {
    MessageList_t list;
    list.Add(CreateError_t("a"));
    list.Add(CreateError_t("b"));
    Message_t outer = CreateError_t("outer");
    outer.AddDetails(list);
    EXPECT_EQ(outer.Format(36), "outer\n  a\n  b");
}

TEST(Message, CanBeADetailOfItself) {
    Message_t message = CreateError_t("again");
    message.AddDetails(message);
    message.AddDetails(message);
    EXPECT_EQ(message.Format(36), "again\n  again\n  again\n    again");
}

TEST(Message, CopiesChangeIndependently) {
    CreateError_t original("%1 %2");
    original << "a";
    CreateError_t copy = original;
    copy << "b";
    copy.AddDetails(CreateError_t("detail"));
    original << "c";
    EXPECT_EQ(original.Format(36), "a c");
    EXPECT_EQ(copy.Format(36), "a b\n  detail");
}

TEST(Message, StaysWholeWhenItIsMovedFrom) {
    Message_t source = CreateError_t("kept");
    const Message_t target = std::move(source);
    EXPECT_EQ(source.GetMessageText(), "kept");
    EXPECT_EQ(target.GetMessageText(), "kept");
}

TEST(Message, CopiesMayBeReadAndChangedInSeveralThreads) {
    const CreateError_t original("%1");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([original, i] {
            for (int round = 0; round < 200; ++round) {
                CreateError_t mine = original;
                mine << i;
                EXPECT_EQ(mine.GetMessageText(), LumPalStr::NumToStr(i));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(MessageList, FormatsOneMessageOnEachLine) {
    MessageList_t list;
    EXPECT_TRUE(list.Format(37).IsEmpty());
    list.Add(CreateError_t("one"));
    EXPECT_EQ(list.Format(BareText), "one");
    list.Add(CreateWarn_t("two"));
    EXPECT_EQ(list.Format(BareText), "one\ntwo");
    EXPECT_EQ(list.Format(37), "ERROR: one\nWARNING: two");
    EXPECT_EQ(String_t(list), "one\ntwo");
}

TEST(MessageList, FormatsDetailsBelowTheirMessage) {
    MessageList_t list{Nested()};
    list.Add(CreateInfo_t("end"));
    EXPECT_EQ(list.Format(36), "outer\n  middle\n    inner 3\n  last\nend");
}

TEST(MessageList, RefusesAnIndexThatIsNotThere) {
    const MessageList_t list(CreateError_t("one"));
    EXPECT_EQ(list.GetMessage(0).GetMessageText(), "one");
    for (const int index : {-1, 1, 1000}) EXPECT_THROW(list.GetMessage(index), IllegalArgumentError_t) << index;
    EXPECT_THROW(MessageList_t().GetMessage(0), IllegalArgumentError_t);
}

TEST(MessageList, CanBeAddedToItselfAndEmptied) {
    MessageList_t list(CreateError_t("one"));
    list.Add(list);
    list.Add(list);
    EXPECT_EQ(list.Format(BareText), "one\none\none\none");
    MessageList_t copy = list;
    list.Clear();
    EXPECT_EQ(list.GetMessageCount(), 0);
    EXPECT_EQ(copy.GetMessageCount(), 4);
}

TEST(Exception, SaysItsMessagesAndDetailsInUtf8) {
    CreateError_t outer(String_t(u"Größe %1"));
    outer << String_t(u"\U0001F600");
    outer.AddDetails(CreateError_t("why"));
    const RuntimeException_t exception(outer);
    EXPECT_STREQ(exception.what(),
                 "Gr\xC3\xB6\xC3\x9F"
                 "e \xF0\x9F\x98\x80\n  why");
}

TEST(Exception, CarriesAListWithNestedDetails) {
    MessageList_t list{Nested()};
    list.Add(CreateError_t("second"));
    try {
        throw IllegalStateError_t(list);
    } catch (const Exception_t& e) {
        EXPECT_EQ(e.GetMessageList().GetMessageCount(), 2);
        const MessageList_t converted = e;
        EXPECT_EQ(converted.Format(36), "outer\n  middle\n    inner 3\n  last\nsecond");
    }
}

TEST(Exception, KeepsItsTextInCopies) {
    const auto original = std::make_unique<RuntimeException_t>(CreateError_t("text"));
    const RuntimeException_t copy = *original;
    const char* const text = original->what();
    EXPECT_EQ(text, copy.what());
    EXPECT_STREQ(copy.what(), "text");
}

TEST(Exception, RendersOnceWhenSeveralThreadsAsk) {
    const RuntimeException_t exception(Nested());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([copy = exception] { EXPECT_STREQ(copy.what(), "outer\n  middle\n    inner 3\n  last"); });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(Exception, BecomesTheDetailOfTheNextOne) {
    try {
        try {
            throw IllegalArgumentError_t(CreateError_t("inner"));
        } catch (const Exception_t& e) {
            CreateError_t outer("outer");
            outer.AddDetails(e.GetMessageList());
            throw RuntimeException_t(outer);
        }
    } catch (const RuntimeException_t& e) {
        EXPECT_STREQ(e.what(), "outer\n  inner");
    }
}

}  // namespace
