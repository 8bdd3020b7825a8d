#include "ReturnValueDecoder.h"

#include <gtest/gtest.h>

#include "AnswerRows.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;

Answer AnswerOf(int value, const String_t& text = "words") {
    Answer answer;
    answer.value = value;
    answer.text = text;
    return answer;
}

TEST(ReturnValueDecoder, ValueOneIsSuccessWhateverTheText) {
    for (const char* text : {"", "words", "Undefined error"}) {
        const Answer answer = AnswerOf(1, text);
        EXPECT_NO_THROW(DecodeSelection(answer, "h"));
        EXPECT_NO_THROW(DecodeList(answer, "h"));
        EXPECT_NO_THROW(DecodeConfiguration(answer, "h"));
        EXPECT_NO_THROW(DecodeInstall(answer, InstallMethod::Policy, "f", "h"));
        EXPECT_NO_THROW(DecodeInstall(answer, InstallMethod::Package, "", "h"));
    }
}

TEST(ReturnValueDecoder, EveryValueOfAnOperation) {
    for (const AnswerRow& row : answers::selection) {
        ExpectAnswerRow(row, "node", "", "words", [&] { DecodeSelection(AnswerOf(row.value), "node"); });
    }
}

TEST(ReturnValueDecoder, EveryValueOfAList) {
    for (const AnswerRow& row : answers::list) {
        ExpectAnswerRow(row, "node", "", "words", [&] { DecodeList(AnswerOf(row.value), "node"); });
    }
}

TEST(ReturnValueDecoder, EveryValueOfASettingsRequest) {
    for (const AnswerRow& row : answers::configuration) {
        ExpectAnswerRow(row, "node", "", "words", [&] { DecodeConfiguration(AnswerOf(row.value), "node"); });
    }
}

TEST(ReturnValueDecoder, EveryValueOfAnInstallOfOnePolicy) {
    for (const AnswerRow& row : answers::installPolicy) {
        ExpectAnswerRow(row, "node", "file", "words",
                        [&] { DecodeInstall(AnswerOf(row.value), InstallMethod::Policy, "file", "node"); });
    }
}

TEST(ReturnValueDecoder, EveryValueOfAnInstallByAnyOtherMethod) {
    for (const int method : {2, 0, 3, -1}) {
        for (const AnswerRow& row : answers::installPackage) {
            ExpectAnswerRow(row, "node", "file", "words", [&] {
                DecodeInstall(AnswerOf(row.value), static_cast<InstallMethod>(method), "file", "node");
            });
        }
    }
}

TEST(ReturnValueDecoder, AnAnswerWithoutValueIsAnUndefinedError) {
    ExpectAnswerRow(answers::selectionUndefined, "node", "", "", [] { DecodeSelection(Answer(), "node"); });
}

TEST(ReturnValueDecoder, TheNodesWordsAreADetailAsTheyAre) {
    const String_t texts[] = {"", String_t::Null(), "%1 of %2 at 100%", "one\ntwo",
                              String_t::FromUtf8("\xC3\x84rger \xF0\x9F\x94\x92")};
    for (const String_t& text : texts) {
        for (const AnswerRow& row : {answers::selection[0], answers::selection[2], answers::selectionUndefined}) {
            ExpectAnswerRow(row, "node", "", text, [&] { DecodeSelection(AnswerOf(row.value, text), "node"); });
        }
    }
}

TEST(ReturnValueDecoder, TheNodesWordsStandIndentedBelowTheLocalOnes) {
    try {
        DecodeSelection(AnswerOf(8, "Sender is not known."), "node");
        FAIL();
    } catch (const LumPalMsg::Exception_t& e) {
        EXPECT_EQ(e.GetMessageList().Format(36),
                  "Policy operation is not allowed on host 'node'.\n  Sender is not known.");
    }
}

TEST(ReturnValueDecoder, HostsAndFilesWithPercentSignsStayAsTheyAre) {
    ExpectAnswerRow(answers::selection[0], "%1%2", "", "words", [] { DecodeSelection(AnswerOf(2), "%1%2"); });
    ExpectAnswerRow(answers::installPolicy[0], "", "%2_header.xml", "words",
                    [] { DecodeInstall(AnswerOf(5), InstallMethod::Policy, "%2_header.xml", "node"); });
}

}  // namespace
}  // namespace LumConf
