#include "common/Utf8Arguments.h"

#include <gtest/gtest.h>

using lumtools::WhatIsNotUtf8;

namespace {

TEST(Utf8Arguments, OnesThatAreUtf8PassWhateverTheySay) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {},
             {""},
             {"list", "--owner", "\xC3\xA9", "--name=\xE2\x82\xAC", "\xF0\x9F\x94\x92"},
             {"\xEF\xBF\xBD", "\x01\x7F", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF", "\xEF\xBB\xBF"},
         }) {
        EXPECT_EQ(WhatIsNotUtf8(arguments), "");
    }
}

TEST(Utf8Arguments, TheFirstThatIsNotIsNamedByItsNumberAndItsOption) {
    const struct {
        std::vector<std::string> arguments;
        std::string said;
    } rows[] = {
        {{"\xFF"}, "argument 1 is not UTF-8: '\\xff'"},
        {{"install", "a\xC3"}, "argument 2 is not UTF-8: 'a\\xc3'"},
        {{"list", "--owner", "\xE2\x82"}, "argument 3, behind '--owner', is not UTF-8: '\\xe2\\x82'"},
        {{"list", "-q", "\xFF"}, "argument 3, behind '-q', is not UTF-8: '\\xff'"},
        {{"list", "--owner=o\xFF"}, "argument 2, the value of '--owner', is not UTF-8: '--owner=o\\xff'"},
        {{"list", "--owner=o", "\xFF"}, "argument 3 is not UTF-8: '\\xff'"},
        {{"dump", "-o\xFF"}, "argument 2 is not UTF-8: '-o\\xff'"},
        {{"--own\xFF", "x"}, "argument 1 is not UTF-8: '--own\\xff'"},
        {{"--own\xFF=x"}, "argument 1 is not UTF-8: '--own\\xff=x'"},
        {{"add-attribute", "k=\xC3\xA9\xFF", "--all"}, "argument 2 is not UTF-8: 'k=\\xc3\\xa9\\xff'"},
        {{"a\xFF", "b\xFF"}, "argument 1 is not UTF-8: 'a\\xff'"},
        {{"-", "\xFF"}, "argument 2 is not UTF-8: '\\xff'"},
        {{"\n\x1B[2J\xFF"}, "argument 1 is not UTF-8: '\\x0a\\x1b[2J\\xff'"},
    };
    for (const auto& row : rows) EXPECT_EQ(WhatIsNotUtf8(row.arguments), row.said);
}

TEST(Utf8Arguments, NoFormThatIsNotWellFormedPasses) {
    for (const char* bytes :
         {"\x80", "\xC0\xAF", "\xC1\xBF", "\xE0\x80\x80", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\x80",
          "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFE", "\xC3(", "\xEF\xBF\xBD\xFF"}) {
        EXPECT_NE(WhatIsNotUtf8({bytes}), "") << bytes;
    }
}

TEST(Utf8Arguments, OfALongOneTheBeginningIsShown) {
    const std::string said = WhatIsNotUtf8({std::string(100000, 'x') + "\xFF"});
    EXPECT_EQ(said, "argument 1 is not UTF-8: '" + std::string(200, 'x') + "'...");
}

}  // namespace
