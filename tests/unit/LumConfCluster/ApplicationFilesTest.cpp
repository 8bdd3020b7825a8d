// Where a load and those who look beside it find the file of an application.
#include "LumConfCluster/ApplicationFiles.h"

#include <gtest/gtest.h>

#include <string>

#include "Files.h"
#include "TempRoot.h"

namespace {

using LumConfCluster::CanHaveApplicationFile;
using LumConfCluster::FindApplicationFile;
using LumPalStr::String_t;

const std::string kFirst = "/bin/instrumentation/conf/", kSecond = "/bin/instrumentation/", kSuffix = ".apm.xml";

String_t Text(const std::string& utf8) {
    return String_t::FromUtf8(utf8);
}

TEST(ApplicationFiles, TheFirstOfTheTwoPlacesWhereItIsHoldsIt) {
    const TempRoot root;
    EXPECT_TRUE(FindApplicationFile("shop").IsNull());
    WriteText(root.Native() + kSecond + "shop" + kSuffix);
    EXPECT_EQ(FindApplicationFile("shop").GetAbsolutePath(), Text(root.Native() + kSecond + "shop" + kSuffix));
    WriteText(root.Native() + kFirst + "shop" + kSuffix);
    EXPECT_EQ(FindApplicationFile("shop").GetAbsolutePath(), Text(root.Native() + kFirst + "shop" + kSuffix));
}

TEST(ApplicationFiles, ANameThatLeadsElsewhereHasNoneThoughSomethingIsThere) {
    const TempRoot root;
    WriteText(root.Native() + kFirst + "inner/shop" + kSuffix);
    WriteText(root.Native() + kFirst + "a\\b" + kSuffix);
    WriteText(root.Native() + "/bin/shop" + kSuffix);
    for (const char* name : {"inner/shop", "../../shop", "a\\b", "a\nb",
                             "a\xC2\x85"
                             "b",
                             "a\xE2\x80\xA8"
                             "b",
                             ".", ".."}) {
        EXPECT_FALSE(CanHaveApplicationFile(Text(name))) << name;
        EXPECT_TRUE(FindApplicationFile(Text(name)).IsNull()) << name;
    }
}

TEST(ApplicationFiles, TheSuffixCountsAmongTheBytesThatANameMayHave) {
    EXPECT_TRUE(CanHaveApplicationFile(Text(std::string(255 - kSuffix.size(), 'a'))));
    EXPECT_FALSE(CanHaveApplicationFile(Text(std::string(256 - kSuffix.size(), 'a'))));
    EXPECT_TRUE(CanHaveApplicationFile("")) << "the file is called by its ending alone";
}

}  // namespace
