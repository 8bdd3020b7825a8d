#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LumPalCfgFile.h"
#include "TempRoot.h"

using LumPalCfgFile::ConfigReader_t;
using LumPalCfgFile::ConfigWriter_t;
using LumPalCfgFile::SyntaxException_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

namespace {

void LoadInto(ConfigGroup_t& group, const std::string& text, const String_t& source = String_t()) {
    const LumPalArray::CharArray_t bytes(text.data(), text.size());
    ConfigReader_t::Load(LumPalIo::CharArrayInputStream_t(bytes), group, source);
}

ConfigGroup_t Loaded(const std::string& text) {
    ConfigGroup_t group;
    LoadInto(group, text);
    return group;
}

std::string Written(const ConfigGroup_t& group) {
    LumPalIo::CharArrayOutputStream_t stream;
    ConfigWriter_t::Write(stream, group);
    return std::string(stream.ToCharArray().View());
}

/// The group as one text, to compare as a whole.
std::string Shown(const ConfigGroup_t& group) {
    std::string text;
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const Configuration_t config = group.GetConfig(i);
        text += "{" + config.GetNamespace().ToUtf8();
        String_t name, value;
        for (int k = 0; config.GetAttr(k, name, value); ++k) text += "|" + name.ToUtf8() + ":" + value.ToUtf8();
        text += "}";
    }
    return text;
}

}  // namespace

TEST(ConfigReader, ReadsSectionsNamesAndValues) {
    struct Row {
        const char* says;
        std::string text;
        const char* shown;
    };
    const std::vector<Row> rows = {
        {"nothing", "", ""},
        {"blank lines and comments", "\n \t\n# one\n  # two\n", ""},
        {"a section alone", "[a]\n", "{a}"},
        {"a section without a line end", "[a]", "{a}"},
        {"a value", "[a]\nn=v\n", "{a|n:v}"},
        {"no value", "[a]\nn=\n", "{a|n:}"},
        {"a value without a line end", "[a]\nn=v", "{a|n:v}"},
        {"lines that end as on Windows", "[a]\r\nn=v\r\n", "{a|n:v}"},
        {"a mark of UTF-8", "\xEF\xBB\xBF[a]\nn=v\n", "{a|n:v}"},
        {"blanks around everything", " [ a ] \n\t n \t= v w \t\n", "{a|n:v w}"},
        {"more equals signs", "[a]\nn=v=w=\n", "{a|n:v=w=}"},
        {"a value that looks like a comment", "[a]\nn=#v\n", "{a|n:#v}"},
        {"a value that looks like a section", "[a]\nn=[v]\n", "{a|n:[v]}"},
        {"names with blanks and brackets inside", "[a b]c]\nn [m]=v\n", "{a b]c|n [m]:v}"},
        {"escapes", "[a]\nn=1\\n2\\r3\\t4\\\\5\\s\n", "{a|n:1\n2\r3\t4\\5 }"},
        {"escapes in names", "[\\[a\\=]\n\\#n\\=m=v\n", "{[a=|#n=m:v}"},
        {"escapes by number", "[a]\nn=\\u0041\\u20ac\\uD83D\\uDE00\n", "{a|n:A\xE2\x82\xAC\xF0\x9F\x98\x80}"},
        {"text beyond ASCII", "[\xC3\xA4]\n\xC3\xB6=\xE2\x82\xAC\xF0\x9F\x98\x80\n",
         "{\xC3\xA4|\xC3\xB6:\xE2\x82\xAC\xF0\x9F\x98\x80}"},
        {"the last of two values", "[a]\nn=1\nn=2\n", "{a|n:2}"},
        {"a section in two places", "[a]\nn=1\n[b]\n[a]\nm=2\nn=3\n", "{a|m:2|n:3}{b}"},
        {"order by name", "[b]\nz=1\na=2\n[B]\n[a]\n", "{B}{a}{b|a:2|z:1}"},
        {"names differ by case", "[a]\nn=1\nN=2\n", "{a|N:2|n:1}"},
    };
    for (const auto& row : rows) EXPECT_EQ(Shown(Loaded(row.text)), row.shown) << row.says;
}

TEST(ConfigReader, ABadLineIsNamedAndLeavesTheGroupAsItWas) {
    struct Row {
        const char* says;
        std::string text;
        const char* line;
    };
    const std::vector<Row> rows = {
        {"a word", "[a]\nn=1\nword\n", "Line 3"},
        {"a value before the first section", "# c\nn=1\n", "Line 2"},
        {"an open section", "[a\n", "Line 1"},
        {"a section with something behind it", "[a] x\n", "Line 1"},
        {"a section without a name", "\n\n[]\n", "Line 3"},
        {"a section with a blank name", "[ ]\n", "Line 1"},
        {"a value without a name", "[a]\n=1\n", "Line 2"},
        {"a value with a blank name", "[a]\n  = 1\n", "Line 2"},
        {"an equals sign that is escaped", "[a]\nn\\=1\n", "Line 2"},
        {"an unknown escape", "[a]\nn=\\x\n", "Line 2"},
        {"a path as on Windows", "[a]\nn=C:\\dir\n", "Line 2"},
        {"an escape at the end", "[a]\nn=1\\\n", "Line 2"},
        {"a short escape by number", "[a]\nn=\\u041\n", "Line 2"},
        {"an escape by number that is none", "[a]\nn=\\u00g1\n", "Line 2"},
        {"a bad escape in a name", "[a]\n\\z=1\n", "Line 2"},
        {"a bad escape in a section", "[a\\]\n", "Line 1"},
        {"a line feed in a name", "[a]\nn\\nm=1\n", "Line 2"},
        {"a control in a section", std::string("[a\x01]\n"), "Line 1"},
        {"a NUL in a name", std::string("[a]\nn\0=1\n", 9), "Line 2"},
        {"a line separator in a name", "[a]\nn\xE2\x80\xA8=1\n", "Line 2"},
        {"a byte that is no UTF-8", "[a]\nn=\xFF\n", "Line 2"},
        {"a cut sequence", "[a]\nn=\xE2\x82\n", "Line 2"},
        {"a comment that is no UTF-8", "[a]\n#\x80\n", "Line 2"},
        {"a surrogate in UTF-8", "[a]\nn=\xED\xA0\x80\n", "Line 2"},
    };
    for (const auto& row : rows) {
        ConfigGroup_t group = Loaded("[a]\nn=0\n");
        try {
            LoadInto(group, row.text, "/etc/the.ini");
            ADD_FAILURE() << row.says << ": nothing was thrown";
        } catch (const SyntaxException_t& e) {
            const std::string text = e.what();
            EXPECT_NE(text.find(std::string(row.line) + " of '/etc/the.ini'"), std::string::npos) << text;
        }
        EXPECT_EQ(Shown(group), "{a|n:0}") << row.says;
    }
}

TEST(ConfigReader, FindsAllBadLinesAtOnceEachWithItsPlace) {
    const auto find = [](const std::string& text, std::size_t most) {
        std::string places;
        const LumPalArray::CharArray_t bytes(text.data(), text.size());
        for (const auto& bad : ConfigReader_t::FindBadLines(LumPalIo::CharArrayInputStream_t(bytes), most))
            places += std::to_string(bad.line) + ":" + std::to_string(bad.column) + " ";
        return places;
    };
    const struct {
        const char *says, *text, *places;
    } rows[] = {
        {"nothing", "", ""},
        {"all is well", "\xEF\xBB\xBF# a\n[a]\nx=1\n", ""},
        {"before the first namespace", "x=1\ny=1\n[a]\nz=1", "1:1 2:1 "},
        {"below a namespace that cannot be read", "[a\nx=1\n[]\ny=1\n", "1:1 3:1 "},
        {"behind blanks and in the last line", "[a]\r\n \tb\r\n=c", "2:3 3:1 "},
        {"no UTF-8 and no escape", "[a]\n\xFF\nx=\\q\n", "2:1 3:1 "},
    };
    for (const auto& row : rows) EXPECT_EQ(find(row.text, 100), row.places) << row.says;
    EXPECT_EQ(find("a\nb\nc\n", 2), "1:1 2:1 0:0 ");
    EXPECT_EQ(find("a\nb\n", 2), "1:1 2:1 ");
    EXPECT_EQ(find("a\n", 0), "0:0 ");
}

TEST(ConfigReader, AnErrorDoesNotShowTheLine) {
    try {
        Loaded("[a]\npassword s3cret\n");
        FAIL() << "nothing was thrown";
    } catch (const SyntaxException_t& e) {
        EXPECT_EQ(std::string(e.what()).find("s3cret"), std::string::npos);
    }
}

TEST(ConfigReader, AddsToWhatStandsAndOverwrites) {
    ConfigGroup_t group = Loaded("[a]\nm=1\nn=1\n[b]\n");
    LoadInto(group, "[a]\nn=2\no=2\n[c]\nx=y\n");
    EXPECT_EQ(Shown(group), "{a|m:1|n:2|o:2}{b}{c|x:y}");
}

TEST(ConfigReader, AFileAndTheRestOfAStreamInMemoryAreReadToTheirEnds) {
    const TempRoot root;
    std::string text = "[a]\n";
    for (int i = 0; i < 20000; ++i) text += "name" + std::to_string(i) + "=\\s\xC3\xA9 " + std::to_string(i) + "\n";
    const LumPalIo::File_t file(root.Path("long.ini"));
    LumPalIo::FileOutputStream_t out(file);
    out.Write(text.data(), text.size());
    out.Close();
    ConfigGroup_t fromFile, fromRest;
    ConfigReader_t::Load(LumPalIo::FileInputStream_t(file), fromFile);
    const std::string before = "not a line";
    const LumPalArray::CharArray_t bytes((before + text).data(), before.size() + text.size());
    LumPalIo::CharArrayInputStream_t stream = LumPalIo::CharArrayInputStream_t::Over(bytes);
    LumPalArray::CharArray_t skipped(before.size());
    stream.Read(skipped);
    ConfigReader_t::Load(stream, fromRest);
    EXPECT_EQ(fromFile.GetConfig("a").GetAttrCount(), 20000);
    EXPECT_EQ(fromFile.GetConfig("a").GetValue("name7"), String_t(u" \u00E9 7"));
    EXPECT_EQ(Shown(fromFile), Shown(fromRest));
    EXPECT_EQ(stream.Read(skipped), -1);
}

TEST(ConfigReader, ANullStreamIsAnIoError) {
    ConfigGroup_t group;
    EXPECT_THROW(ConfigReader_t::Load(LumPalIo::InputStream_t(), group), LumPalIo::IOException_t);
}

TEST(ConfigWriter, WritesSectionsInTheOrderOfTheirNames) {
    ConfigGroup_t group;
    group.GetConfig("b").SetAttrValue("z", "1");
    group.GetConfig("b").SetAttrValue("a", "2");
    group.GetConfig("a");
    EXPECT_EQ(Written(group), "[a]\n\n[b]\na=2\nz=1\n");
    EXPECT_EQ(Written(ConfigGroup_t()), "");
}

TEST(ConfigWriter, EscapesWhatALineCannotHold) {
    ConfigGroup_t group;
    group.GetConfig("[x]=#").SetAttrValue("#n=[m]", " a \\ \t\n\r# ");
    group.GetConfig("[x]=#").SetAttrValue("[k", u"\u0001\u0085\u2028");
    EXPECT_EQ(Written(group), "[\\[x]\\=#]\n\\#n\\=[m]=\\sa \\\\ \\t\\n\\r#\\s\n\\[k=\\u0001\\u0085\\u2028\n");
}

TEST(ConfigWriter, EveryValueComesBackUnchanged) {
    std::u16string every;
    for (char32_t unit = 0; unit < 0x10000; ++unit) every += static_cast<char16_t>(unit);
    const std::vector<std::u16string> texts = {u"",
                                               u" ",
                                               u"  ",
                                               u"\t",
                                               u" x ",
                                               u"\n",
                                               u"\r\n",
                                               u"\\",
                                               u"\\n",
                                               u"\\\\",
                                               u"x\\",
                                               u"#",
                                               u"=",
                                               u"[",
                                               u"[x]",
                                               u"a=b",
                                               u"\u00A0x\u00A0",
                                               u"\u3000",
                                               u"\uFEFF",
                                               u"\U0001F600",
                                               {0xD800},
                                               {0xDC00, 0xD800},
                                               {0xD83D, 0xD83D, 0xDE00},
                                               {'a', 0, 'b'},
                                               every};
    for (const auto& text : texts) {
        const String_t value(text.data(), static_cast<std::uint32_t>(text.size()));
        ConfigGroup_t group;
        group.GetConfig("ns").SetAttrValue("name", value);
        const ConfigGroup_t back = Loaded(Written(group));
        EXPECT_EQ(back.GetConfig("ns").GetValue("name"), value);
        EXPECT_EQ(back.GetConfig("ns").GetAttrCount(), 1);
    }
}

// It is written in pieces: what stands at the end of one is none of the value's ends, and no pair is cut.
TEST(ConfigWriter, ALongValueIsWrittenAsAShortOneIsWhereverItIsParted) {
    for (const std::u16string_view part : {u" ", u"a ", u"\U0001F600", u"x\U0001F600", u"\\", u"=", u"[#", u"\xD83D"}) {
        std::u16string value = u"x";
        while (value.size() < 200000) value += part;
        value += u"y";
        ConfigGroup_t group;
        group.GetConfig("a").SetAttrValue("k", String_t(value.c_str()));
        const std::string written = Written(group);
        EXPECT_EQ(Loaded(written).GetConfig("a").GetValue("k"), String_t(value.c_str()));
        const bool blanks = part.find(u' ') != part.npos;
        EXPECT_EQ(blanks && written.find("\\s") != written.npos, false) << "a blank inside is none at an end";
    }
}

TEST(ConfigWriter, EveryNameThatIsAllowedComesBackUnchanged) {
    const std::vector<std::u16string> names = {u" ",   u" x ", u"#",   u"##",      u"=",          u"==",
                                               u"[",   u"]",   u"[]",  u"[a]",     u"a]",         u"\\",
                                               u"\\=", u"a\\", u"a b", u"\uFEFFx", u"\U0001F600", {0xD800}};
    for (const auto& text : names) {
        const String_t name(text.data(), static_cast<std::uint32_t>(text.size()));
        ConfigGroup_t group;
        group.GetConfig(name).SetAttrValue(name, "v");
        const ConfigGroup_t back = Loaded(Written(group));
        ASSERT_EQ(back.GetConfigCount(), 1);
        EXPECT_TRUE(back.HasConfig(name));
        EXPECT_EQ(back.GetConfig(name).GetValue(name), "v");
    }
}

TEST(ConfigWriter, RefusesNamesThatCouldForgeALineAndWritesNothing) {
    for (const char16_t* name : {u"", u"a\nb", u"a\rb", u"\t", u"\u007F", u"\u0085", u"\u2028", u"\u2029"}) {
        ConfigGroup_t spaces, attributes;
        spaces.GetConfig("good");
        spaces.GetConfig(name);
        attributes.GetConfig("good").SetAttrValue(name, "v");
        for (const ConfigGroup_t& group : {spaces, attributes}) {
            LumPalIo::CharArrayOutputStream_t stream;
            EXPECT_THROW(ConfigWriter_t::Write(stream, group), IllegalArgumentError_t);
            EXPECT_EQ(stream.Size(), 0u);
        }
    }
}
