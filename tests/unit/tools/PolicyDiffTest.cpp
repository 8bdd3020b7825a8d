// Differences as people read them.
#include "lumpolicy/PolicyDiff.h"

#include <gtest/gtest.h>

namespace lumpolicy {
namespace {

PolicySide Side(const std::string& header, std::map<std::string, std::string> data = {}) {
    PolicySide side;
    side.header = header;
    side.data = std::move(data);
    return side;
}

TEST(PolicyDiff, ChangedLinesStandBetweenThoseAroundThem) {
    EXPECT_EQ(UnifiedDiff("p", Side("a: 1\nb: 2\nc: 3\n"), Side("a: 1\nb: 4\nc: 3\n")),
              "--- node: p\n+++ wanted: p\n@@ -1,3 +1,3 @@\n a: 1\n-b: 2\n+b: 4\n c: 3\n");
    EXPECT_EQ(UnifiedDiff("p", Side("a: 1\n"), Side("a: 1\n")), "");
}

TEST(PolicyDiff, AWholePolicyComesOrGoes) {
    EXPECT_EQ(UnifiedDiff("p", PolicySide(), Side("a: 1\n", {{"f", "x\n"}})),
              "--- node: p\n+++ wanted: p\n@@ -0,0 +1 @@\n+a: 1\n"
              "--- node: p, data file f\n+++ wanted: p, data file f\n@@ -0,0 +1 @@\n+x\n");
    EXPECT_EQ(UnifiedDiff("p", Side("a: 1\n", {{"f", ""}}), PolicySide()),
              "--- node: p\n+++ wanted: p\n@@ -1 +0,0 @@\n-a: 1\nempty: p, data file f\n");
}

TEST(PolicyDiff, WhatIsNoTextIsOnlySaidToDiffer) {
    const std::string nul("a\0b", 3);
    for (const std::string& bytes : {nul, std::string("\xFF\xFE"), std::string("\xC3(")}) {
        EXPECT_EQ(UnifiedDiff("p", Side("h", {{"f", bytes}}), Side("h", {{"f", "text"}})),
                  "binary: p, data file f differs\n");
        EXPECT_EQ(UnifiedDiff("p", Side("h", {{"f", bytes}}), Side("h", {{"f", bytes}})), "");
    }
}

TEST(PolicyDiff, NamesThatMeanSomethingToACommandLineAreOnlyNames) {
    const std::string diff = UnifiedDiff("a\" --help \"b", Side("x\n"), Side("y\n"));
    EXPECT_EQ(diff, "--- node: a\" --help \"b\n+++ wanted: a\" --help \"b\n@@ -1 +1 @@\n-x\n+y\n");
}

TEST(PolicyDiff, AMissingLineEndIsSaid) {
    EXPECT_NE(UnifiedDiff("p", Side("x"), Side("x\n")).find("\\ No newline at end of file"), std::string::npos);
}

}  // namespace
}  // namespace lumpolicy
