#include "InstallOptionsSoapArg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "InstallOptionsImpl.h"
#include "Raised.h"
#include "SoapText.h"

namespace LumConf {
namespace {

using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using Impl = InstallOptionsImpl;
using Strings = Impl::Strings;
using Attributes = Impl::Attributes;

InstallOptions Read(const std::string& inside) {
    InstallOptionsSoapArg argument("PolicyInstallOptions");
    ReadArgument(argument, inside);
    return argument.GetOptions();
}

std::string WrittenFor(const InstallOptions& options) {
    InstallOptionsSoapArg argument("PolicyInstallOptions");
    argument.SetOptions(options);
    return Written(argument);
}

std::string Element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

InstallOptions Everything() {
    return InstallOptions()
        .SetNotify(false)
        .SetTargetID("node-7")
        .SetDisabled()
        .ForceState()
        .SetCheckVersion(true)
        .SetAddCategory("a")
        .SetAddCategory("a")
        .SetAddCategory(" b ")
        .SetRemoveCategory("c")
        .SetRemoveCategory("")
        .SetRemoveAllCategories(true)
        .SetAddAttribute("n", "v")
        .SetAddAttribute("m", "x=y")
        .SetAddAttribute("e", "")
        .SetRemoveAttribute("r", "s")
        .SetRemoveAttribute("t", "u")
        .SetRemoveAllAttributes(true)
        .SetOwner("Owner")
        .RemoveOwner()
        .SetForceCat(true)
        .SetForceAll(true)
        .SetForceOwner(true)
        .SetForceAttr(true)
        .SetCloseConnection(true);
}

TEST(InstallOptionsSoapArg, NewOptionsAreWrittenInOrderWithEmptyLists) {
    EXPECT_EQ(WrittenFor(InstallOptions()),
              "<notify>true</notify><status>-1</status><forcestate>false</forcestate>"
              "<checkversion>false</checkversion><removeallcategories>false</removeallcategories>"
              "<removeallattributes>false</removeallattributes><owner></owner><removeowner>false</removeowner>"
              "<forcecat>false</forcecat><forceall>false</forceall><forceowner>false</forceowner>"
              "<forceattr>false</forceattr>");
}

TEST(InstallOptionsSoapArg, EveryOptionIsWrittenInOrder) {
    EXPECT_EQ(WrittenFor(Everything()),
              "<notify>false</notify><status>0</status><forcestate>true</forcestate><checkversion>true</checkversion>"
              "<addcategory>a</addcategory><addcategory>a</addcategory><addcategory> b </addcategory>"
              "<removecategory>c</removecategory><removecategory></removecategory>"
              "<removeallcategories>true</removeallcategories>"
              "<addattribute>n=v</addattribute><addattribute>m=x=y</addattribute><addattribute>e=</addattribute>"
              "<removeattribute>r=s</removeattribute><removeattribute>t=u</removeattribute>"
              "<removeallattributes>true</removeallattributes><owner>Owner</owner><removeowner>true</removeowner>"
              "<forcecat>true</forcecat><forceall>true</forceall><forceowner>true</forceowner>"
              "<forceattr>true</forceattr>");
}

/// Which flags are set, each with the element that carries it.
struct FlagRow {
    const char* element;
    bool atFirst;
    bool (Impl::*get)() const noexcept;
};

const FlagRow kFlags[] = {
    {"notify", true, &Impl::GetNotify},
    {"forcestate", false, &Impl::GetForceState},
    {"checkversion", false, &Impl::GetCheckVersion},
    {"removeallcategories", false, &Impl::GetRemoveAllCategories},
    {"removeallattributes", false, &Impl::GetRemoveAllAttributes},
    {"removeowner", false, &Impl::GetRemoveOwner},
    {"forcecat", false, &Impl::GetForceCat},
    {"forceall", false, &Impl::GetForceAll},
    {"forceowner", false, &Impl::GetForceOwner},
    {"forceattr", false, &Impl::GetForceAttr},
};

TEST(InstallOptionsSoapArg, EachFlagIsReadIntoItsOwnOption) {
    for (const FlagRow& sent : kFlags) {
        const InstallOptions options = Read(Element(sent.element, sent.atFirst ? "false" : "true"));
        for (const FlagRow& row : kFlags) {
            const bool expected = row.atFirst != (row.element == sent.element);
            EXPECT_EQ((options.GetImpl().*row.get)(), expected) << row.element << " after " << sent.element;
        }
    }
}

TEST(InstallOptionsSoapArg, EachFlagReadsEverySpellingOfABoolean) {
    for (const FlagRow& row : kFlags) {
        for (const char* text : {"true", "1", " true\n"}) {
            EXPECT_TRUE((Read(Element(row.element, text)).GetImpl().*row.get)()) << row.element << text;
        }
        for (const char* text : {"false", "0", "\tfalse"}) {
            EXPECT_FALSE((Read(Element(row.element, text)).GetImpl().*row.get)()) << row.element << text;
        }
        for (const char* text : {"", "yes", "TRUE", "2", "truth"}) {
            EXPECT_THROW(Read(Element(row.element, text)), LumVoxSoap::SOAPFormatException) << row.element << text;
        }
    }
}

TEST(InstallOptionsSoapArg, AFlagThatComesTwiceHasTheLastValueButAForcedStateStays) {
    for (const FlagRow& row : kFlags) {
        const InstallOptions options = Read(Element(row.element, "true") + Element(row.element, "false"));
        EXPECT_EQ((options.GetImpl().*row.get)(), std::string(row.element) == "forcestate") << row.element;
    }
}

TEST(InstallOptionsSoapArg, AFalseForceStateDoesNotClearAForcedOne) {
    InstallOptionsSoapArg argument("PolicyInstallOptions");
    argument.SetOptions(InstallOptions().ForceState());
    ReadArgument(argument, "<forcestate>false</forcestate>");
    EXPECT_TRUE(argument.GetOptions().GetImpl().GetForceState());
}

struct StatusRow {
    const char* text;
    std::int32_t fromEnabled, fromDisabled, fromNone;
};

const StatusRow kStatuses[] = {{"1", 1, 1, 1},   {"0", 0, 0, 0},   {" 1 ", 1, 1, 1},
                               {"+0", 0, 0, 0},  {"2", 1, 0, -1},  {"-1", 1, 0, -1},
                               {"-2", 1, 0, -1}, {"10", 1, 0, -1}, {"2147483647", 1, 0, -1}};

TEST(InstallOptionsSoapArg, OnlyStatusOneAndZeroAreTaken) {
    for (const StatusRow& row : kStatuses) {
        const std::string read = Element("status", row.text);
        EXPECT_EQ(Read("<status>1</status>" + read).GetImpl().GetState(), row.fromEnabled) << row.text;
        EXPECT_EQ(Read("<status>0</status>" + read).GetImpl().GetState(), row.fromDisabled) << row.text;
        EXPECT_EQ(Read(read).GetImpl().GetState(), row.fromNone) << row.text;
    }
}

TEST(InstallOptionsSoapArg, AStatusThatIsNoNumberIsRefused) {
    for (const char* text : {"", "enabled", "true", "1.0", "4294967296", "1<x/>"}) {
        EXPECT_THROW(Read(Element("status", text)), LumVoxSoap::SOAPFormatException) << text;
    }
}

TEST(InstallOptionsSoapArg, CategoriesAreReadInOrderAsTheyCome) {
    const InstallOptions options = Read(
        "<addcategory> b </addcategory><removecategory>x</removecategory><addcategory></addcategory>"
        "<addcategory>a=b</addcategory><addcategory>a=b</addcategory><removecategory>Y</removecategory>");
    EXPECT_EQ(options.GetImpl().GetAddCategories(), (Strings{" b ", "", "a=b", "a=b"}));
    EXPECT_EQ(options.GetImpl().GetRemoveCategories(), (Strings{"x", "Y"}));
}

TEST(InstallOptionsSoapArg, TheOwnerIsTheLastTextAsItComes) {
    EXPECT_EQ(Read("<owner>a</owner><owner> B </owner>").GetImpl().GetOwner(), " B ");
    EXPECT_EQ(Read("<owner>a</owner><owner/>").GetImpl().GetOwner(), "");
}

struct AttributeRow {
    const char* text;
    const char* name;
    const char* value;
    unsigned refusedToRemove;  ///< number of the refusal of a removal; 0 when it is taken
};

const AttributeRow kAttributes[] = {
    {"a=b", "a", "b", 0},  {" a = b ", " a ", " b ", 0}, {"a=b=c", "a", "b=c", 71},
    {"a==", "a", "=", 71}, {"a=", "a", "", 70},          {"a", "a", "a", 0},
    {"a= ", "a", " ", 70}, {"A-1.x=B", "A-1.x", "B", 0}, {"a&#61;b&amp;c", "a", "b&c", 0}};

TEST(InstallOptionsSoapArg, AnAttributeIsPartedAtTheFirstEqualsSign) {
    for (const AttributeRow& row : kAttributes) {
        const InstallOptions options = Read(Element("addattribute", row.text));
        EXPECT_EQ(options.GetImpl().GetAddAttributes(), (Attributes{{row.name, row.value}})) << row.text;
        EXPECT_TRUE(options.GetImpl().GetRemoveAttributes().empty());
    }
}

TEST(InstallOptionsSoapArg, AnAttributeToRemoveNeedsAValueWithoutEqualsSign) {
    for (const AttributeRow& row : kAttributes) {
        if (row.refusedToRemove) {
            EXPECT_RAISES(Read(Element("removeattribute", row.text)), IllegalArgumentError_t, row.refusedToRemove);
            continue;
        }
        const InstallOptions options = Read(Element("removeattribute", row.text));
        EXPECT_EQ(options.GetImpl().GetRemoveAttributes(), (Attributes{{row.name, row.value}})) << row.text;
        EXPECT_TRUE(options.GetImpl().GetAddAttributes().empty());
    }
}

TEST(InstallOptionsSoapArg, AnAttributeWithoutANameIsRefused) {
    for (const char* text : {"", " ", "=", "=b", " =b"}) {
        for (const char* element : {"addattribute", "removeattribute"}) {
            EXPECT_RAISES(Read(Element(element, text)), IllegalArgumentError_t, 70);
        }
    }
}

TEST(InstallOptionsSoapArg, EveryOptionSurvivesTheWayButTargetAndCloseConnection) {
    const InstallOptions received = Read(WrittenFor(Everything()));
    EXPECT_EQ(WrittenFor(received), WrittenFor(Everything()));
    EXPECT_TRUE(received.GetImpl().GetTargetID().IsEmpty());
    EXPECT_FALSE(received.GetImpl().GetCloseConnection());
    EXPECT_EQ(received.GetImpl().GetState(), 0);
    EXPECT_EQ(received.GetImpl().GetAddAttributes(), (Attributes{{"n", "v"}, {"m", "x=y"}, {"e", ""}}));
}

TEST(InstallOptionsSoapArg, NewOptionsSurviveTheWay) {
    EXPECT_EQ(WrittenFor(Read(WrittenFor(InstallOptions()))), WrittenFor(InstallOptions()));
    EXPECT_EQ(WrittenFor(Read("")), WrittenFor(InstallOptions()));
}

TEST(InstallOptionsSoapArg, TextsBeyondAsciiAndMarkupSurviveTheWay) {
    const String_t text = String_t::FromUtf8("<\xC3\x84 & \xE2\x82\xAC \xF0\x9F\x94\x92>\r\n\"'");
    const InstallOptions received =
        Read(WrittenFor(InstallOptions().SetOwner(text).SetAddCategory(text).SetAddAttribute(text, text)));
    EXPECT_EQ(received.GetImpl().GetOwner(), text);
    EXPECT_EQ(received.GetImpl().GetAddCategories(), (Strings{text}));
    EXPECT_EQ(received.GetImpl().GetAddAttributes(), (Attributes{{text, text}}));
}

TEST(InstallOptionsSoapArg, ATextThatXmlCannotCarryIsNotSent) {
    EXPECT_THROW(WrittenFor(InstallOptions().SetOwner(String_t(u'\x0002'))), IllegalArgumentError_t);
}

TEST(InstallOptionsSoapArg, AReaderTakesTheElementsInAnyOrder) {
    std::vector<std::string> elements = {
        "<forceattr>1</forceattr>", "<owner>o</owner>",      "<addattribute>a=b</addattribute>",
        "<status>1</status>",       "<notify>0</notify>",    "<addcategory>c</addcategory>",
        "<future>?</future>",       "<forcecat>1</forcecat>"};
    std::sort(elements.begin(), elements.end());
    const std::string expected = WrittenFor(InstallOptions()
                                                .SetForceAttr(true)
                                                .SetOwner("o")
                                                .SetAddAttribute("a", "b")
                                                .SetEnabled()
                                                .SetNotify(false)
                                                .SetAddCategory("c")
                                                .SetForceCat(true));
    for (std::size_t turn = 0; turn < elements.size(); ++turn) {
        std::rotate(elements.begin(), elements.begin() + 1, elements.end());
        std::string inside;
        for (const std::string& element : elements) inside += element;
        EXPECT_EQ(WrittenFor(Read(inside)), expected) << inside;
    }
}

TEST(InstallOptionsSoapArg, UnknownElementsChangeNothing) {
    const std::string known = WrittenFor(Everything());
    const std::string unknown =
        "<retries>3<notify2>true</notify2></retries><Owner>x</Owner><addCategory>x</addCategory>";
    EXPECT_EQ(WrittenFor(Read(unknown + known + unknown)), known);
    EXPECT_EQ(WrittenFor(Read(unknown)), WrittenFor(InstallOptions()));
}

}  // namespace
}  // namespace LumConf
