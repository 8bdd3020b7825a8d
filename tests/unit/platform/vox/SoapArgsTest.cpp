#include <gtest/gtest.h>

#include <limits>

#include "LumVoxSoap.h"

using namespace LumVoxSoap;
using LumPalStr::String_t;

namespace {

struct IntRow {
    const char* text;
    int value;
};

struct IntTexts : testing::TestWithParam<IntRow> {};
struct NoInt : testing::TestWithParam<const char*> {};
struct NoBool : testing::TestWithParam<const char*> {};

void Feed(SOAPArg& arg, const String_t& text) {
    arg.StartElement("", arg.GetName(), "");
    arg.Characters(text.GetBuffer(), 0, text.GetLength());
    arg.EndElement("", arg.GetName(), "");
}

}  // namespace

TEST_P(IntTexts, AreRead) {
    EXPECT_EQ(SOAPArgInt::UnicodeToInt(GetParam().text), GetParam().value);
}
INSTANTIATE_TEST_SUITE_P(SoapArgs, IntTexts,
                         testing::Values(IntRow{"0", 0}, IntRow{"-0", 0}, IntRow{"+7", 7}, IntRow{"007", 7},
                                         IntRow{" \t\r\n42\n ", 42}, IntRow{"2147483647", 2147483647},
                                         IntRow{"-2147483648", std::numeric_limits<int>::min()},
                                         IntRow{"00000000000000000000000000000001", 1}));

TEST_P(NoInt, IsRefused) {
    EXPECT_THROW(SOAPArgInt::UnicodeToInt(GetParam()), SOAPFormatException);
}
INSTANTIATE_TEST_SUITE_P(SoapArgs, NoInt,
                         testing::Values("", " ", "+", "-", "--1", "1 2", "1.0", "1e3", "0x10", "2147483648",
                                         "-2147483649", "99999999999999999999999999", "true", "1a", "\xA0"));

TEST(SoapArgs, AWideDigitIsNoDigit) {
    EXPECT_THROW(SOAPArgInt::UnicodeToInt(String_t(u"\uFF11")), SOAPFormatException);
}

TEST(SoapArgs, ARefusedTextIsNamedShortened) {
    String_t text;
    for (int i = 0; i < 5000; ++i) text += "x";
    try {
        SOAPArgInt::UnicodeToInt(text);
        FAIL();
    } catch (const SOAPFormatException& failure) {
        EXPECT_NE(std::string(failure.what()).find("xxxx..."), std::string::npos);
        EXPECT_LT(std::string(failure.what()).size(), 200u);
    }
}

TEST(SoapArgs, IntegersAreWrittenAsDecimalText) {
    EXPECT_EQ(SOAPArgInt::IntToUnicode(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(SOAPArgInt::IntToUnicode(0), "0");
}

TEST(SoapArgs, BooleansAreWrittenAsWordsAndReadAsWordsOrDigits) {
    EXPECT_EQ(SOAPArgBool::BoolToUnicode(true), "true");
    EXPECT_EQ(SOAPArgBool::BoolToUnicode(false), "false");
    for (const char* text : {"true", "1", " true\n"}) EXPECT_TRUE(SOAPArgBool::UnicodeToBool(text)) << text;
    for (const char* text : {"false", "0", "\t0 "}) EXPECT_FALSE(SOAPArgBool::UnicodeToBool(text)) << text;
}

TEST_P(NoBool, IsRefused) {
    EXPECT_THROW(SOAPArgBool::UnicodeToBool(GetParam()), SOAPFormatException);
}
INSTANTIATE_TEST_SUITE_P(SoapArgs, NoBool, testing::Values("", "TRUE", "True", "yes", "2", "01", "true false"));

TEST(SoapArgs, TextsBecomeUtf8) {
    EXPECT_EQ(SOAPArgString::UnicodeToString(String_t(u"\u00e4\U0001F600")).View(), "\xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_TRUE(SOAPArgString::UnicodeToString(String_t::Null()).IsEmpty());
}

TEST(SoapArgs, AnIntResultIsLeftAloneUntilItsElementEnds) {
    int result = 17;
    SOAPArgInt arg("value", &result);
    EXPECT_FALSE(arg.HasArrived());
    arg.StartElement("", "value", "");
    arg.Characters(u"4", 0, 1);
    EXPECT_EQ(result, 17);
    arg.EndElement("", "value", "");
    EXPECT_EQ(result, 4);
}

TEST(SoapArgs, AnIntResultTakesItsText) {
    int result = 17;
    SOAPArgInt arg("value", &result);
    Feed(arg, "-5");
    EXPECT_EQ(result, -5);
    EXPECT_EQ(arg.GetValue(), -5);
    EXPECT_TRUE(arg.HasArrived());
}

TEST(SoapArgs, AStringComesAsItIsAndInPieces) {
    String_t result("before");
    SOAPArgUnicodeString arg("text", &result);
    const String_t source("xx  a b \n yy");
    arg.StartElement("p", "text", "urn:x");
    arg.Characters(source.GetBuffer(), 2, 3);
    arg.Characters(source.GetBuffer(), 5, 5);
    arg.EndElement("p", "text", "urn:x");
    EXPECT_EQ(result, "  a b \n ");
    EXPECT_EQ(arg.GetPrefix(), "p");
    EXPECT_EQ(arg.GetNamespaceUri(), "urn:x");
}

TEST(SoapArgs, AnEmptyElementGivesAnEmptyString) {
    String_t result("before");
    SOAPArgUnicodeString arg("text", &result);
    Feed(arg, "");
    EXPECT_EQ(result, "");
}

TEST(SoapArgs, AnElementInsideASimpleArgumentIsRefused) {
    SOAPArgInt number("a", 0);
    SOAPArgUnicodeString text("a", String_t());
    SOAPArgByteArray bytes("a");
    for (SOAPArg* arg : {static_cast<SOAPArg*>(&number), static_cast<SOAPArg*>(&text), static_cast<SOAPArg*>(&bytes)}) {
        arg->StartElement("", "a", "");
        EXPECT_THROW(arg->StartElement("", "b", ""), SOAPFormatException);
    }
}

TEST(SoapArgs, TypesHaveTheirSchemaNames) {
    EXPECT_EQ(SOAPArgInt("a", 1).GetTypeName(), "xsd:int");
    EXPECT_EQ(SOAPArgUnicodeString("a", String_t()).GetTypeName(), "xsd:string");
    EXPECT_EQ(SOAPArgByteArray("a").GetTypeName(), "xsd:base64Binary");
}
