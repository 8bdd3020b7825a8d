// A policy with the most files that one may have: while it is installed everybody else waits.
#include <gtest/gtest.h>

#include <string_view>

#include "Faults.h"
#include "PolicyNode.h"
#include "Tenfold.h"

namespace LumConf {
namespace {

constexpr int kMostDataFiles = 9999;
/// That one request holds all others up: two seconds are promised, and three times as many are spared for a slower
/// machine and for sanitizers. Of the processor: who else keeps the disk busy is another matter, and flushes are
/// counted.
constexpr double kLongest = 3 * 2;
/// Each flush costs a disk milliseconds: far fewer than files.
constexpr int kMostFlushes = 20;

int flushes = 0;

void CountFlushes(const char* operation, const char*, const char*) {
    const std::string_view what = operation;
    flushes += what == "fsync" || what == "syncfs";
}

TestPolicy WithTheMostFiles() {
    TestPolicy policy;
    for (int i = 0; i < kMostDataFiles; ++i) policy.data.emplace_back("f" + std::to_string(i), "");
    return policy;
}

TEST(InstallManyFiles, APolicyWithTheMostFilesTakesAtMostThreeTimesTwoSecondsOfAProcessor) {
    PolicyNode node;
    const TestPolicy policy = WithTheMostFiles();
    for (const char* what : {"new", "again"}) {
        EXPECT_LT(ProcessorSeconds([&] { node.Install(policy); }), kLongest) << what;
    }
}

TEST(InstallManyFiles, APolicyWithTheMostFilesIsFlushedAtOnce) {
    PolicyNode node(kFastFolder);
    const TestPolicy policy = WithTheMostFiles();
    for (const char* what : {"new", "again"}) {
        SCOPED_TRACE(what);
        flushes = 0;
        LumPalIo::SetFileObserverForTest(CountFlushes);
        node.Install(policy);
        LumPalIo::SetFileObserverForTest(nullptr);
        EXPECT_GT(flushes, 0);
        EXPECT_LE(flushes, kMostFlushes);
    }
    EXPECT_EQ(node.Installed().size(), kMostDataFiles + 1u);
}

}  // namespace
}  // namespace LumConf
