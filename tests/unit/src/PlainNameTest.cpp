#include "PlainName.h"

#include <gtest/gtest.h>

#include <string>

#include "Exceptions.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;

String_t Utf16(const std::u16string& text) {
    return String_t(text.data(), static_cast<std::uint32_t>(text.size()));
}

struct NameRow {
    const char* what;
    std::u16string name;
    bool plain;
};

const NameRow kNames[] = {
    {"a plain word", u"a", true},
    {"blanks and dots inside", u"a policy v1.2", true},
    {"a dot in front", u".hidden", true},
    {"three dots", u"...", true},
    {"letters outside ASCII", u"Gr\u00FC\u00DFe \u65E5\u672C", true},
    {"a pair of surrogates", u"\xD83D\xDE00", true},
    {"255 bytes", std::u16string(255, u'a'), true},
    {"85 letters of 3 bytes", std::u16string(85, u'\u65E5'), true},
    {"nothing", u"", false},
    {"the folder itself", u".", false},
    {"the folder above", u"..", false},
    {"a separator", u"a/b", false},
    {"a way up", u"../b", false},
    {"an absolute path", u"/etc/passwd", false},
    {"the other separator", u"a\\b", false},
    {"a NUL", std::u16string(u"a\0b", 3), false},
    {"a line end", u"a\nb", false},
    {"the last C0 character", u"a\x1F", false},
    {"DEL", u"a\x7F", false},
    {"a C1 character", u"a\x85", false},
    {"a line separator", u"a\u2028", false},
    {"a paragraph separator", u"a\u2029", false},
    {"a lone high surrogate", u"a\xD83D", false},
    {"a high surrogate before a letter", u"\xD83Dz", false},
    {"a lone low surrogate", u"\xDE00", false},
    {"256 bytes", std::u16string(256, u'a'), false},
    {"86 letters of 3 bytes", std::u16string(86, u'\u65E5'), false},
};

TEST(PlainName, ANameIsPlainWhenItMeansAFileOfTheFolderAndNothingElse) {
    for (const NameRow& row : kNames) {
        EXPECT_EQ(IsPlainName(Utf16(row.name)), row.plain) << row.what;
        if (row.plain) {
            EXPECT_NO_THROW(CheckPlainName(Utf16(row.name))) << row.what;
        } else {
            EXPECT_THROW(CheckPlainName(Utf16(row.name)), PolicyFileException) << row.what;
        }
    }
}

TEST(PlainName, ANullTextIsNotPlain) {
    EXPECT_FALSE(IsPlainName(String_t::Null()));
}

TEST(PlainName, AnIdLeavesRoomForTheSuffixOfItsFile) {
    EXPECT_NO_THROW(CheckPolicyId(Utf16(std::u16string(244, u'a'))));
    EXPECT_THROW(CheckPolicyId(Utf16(std::u16string(245, u'a'))), PolicyFileException);
}

TEST(PlainName, ARefusalShowsTheNameAndHasNoNumber) {
    try {
        CheckPlainName("../etc/passwd");
        FAIL();
    } catch (const PolicyFileException& e) {
        const LumPalMsg::Message_t message = e.GetMessageList().GetMessage(0);
        EXPECT_EQ(message.GetId(), 0u);
        EXPECT_NE(String_t(message).Find("'../etc/passwd'"), LumPalStr::NotFound);
    }
}

TEST(PlainName, ARefusalShowsOnlyTheBeginningOfALongName) {
    try {
        CheckPlainName(Utf16(std::u16string(1000000, u'x')));
        FAIL();
    } catch (const PolicyFileException& e) {
        EXPECT_LT(String_t(e.GetMessageList()).GetLength(), 400u);
    }
}

TEST(PlainName, ADataFileMayNotBearAHeadersName) {
    EXPECT_NO_THROW(CheckDataFileName("a_header.xml.txt"));
    EXPECT_NO_THROW(CheckDataFileName("a_HEADER.xml"));
    EXPECT_THROW(CheckDataFileName("a_header.xml"), PolicyFileException);
    EXPECT_THROW(CheckDataFileName("_header.xml"), PolicyFileException);
    EXPECT_THROW(CheckDataFileName("../a"), PolicyFileException);
}

TEST(PlainName, AHeaderFileMustBearAHeadersName) {
    EXPECT_NO_THROW(CheckHeaderFileName("a_header.xml"));
    EXPECT_THROW(CheckHeaderFileName("a_header.xml "), PolicyFileException);
    EXPECT_THROW(CheckHeaderFileName("a.xml"), PolicyFileException);
    EXPECT_THROW(CheckHeaderFileName("../a_header.xml"), PolicyFileException);
}

TEST(PlainName, TheDataFilesOfAPolicyHaveDifferentNames) {
    EXPECT_NO_THROW(CheckDataFileNames({}));
    EXPECT_NO_THROW(CheckDataFileNames({"b", "a", "B"}));
    EXPECT_THROW(CheckDataFileNames({"b", "a", "b"}), PolicyFileException);
    EXPECT_THROW(CheckDataFileNames({"b", "a_header.xml"}), PolicyFileException);
}

TEST(PlainName, ALongTextIsShownByItsBeginning) {
    const std::u16string most(1024, u'x');
    EXPECT_EQ(Shown(""), "");
    EXPECT_EQ(Shown("name"), "name");
    EXPECT_EQ(Shown(Utf16(most)), Utf16(most));
    EXPECT_EQ(Shown(Utf16(most + u"y")), Utf16(most + u"..."));
    EXPECT_EQ(Shown("abcd", 3), "abc...");
}

}  // namespace
}  // namespace LumConf
