#include "DescriptorRoom.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <climits>

#include "ForkedProcess.h"

using LumPal::DescriptorUse;
using LumPal::FirstKept;
using LumPal::LeavesEnough;

TEST(DescriptorRoom, CallersLeaveThirtyTwoAndLocalProgramsSixteenOrHalfAndAQuarterOfFew) {
    const struct {
        unsigned long limit;
        unsigned caller, localProgram;
    } rows[] = {{1024, 992, 1008}, {65, 33, 49}, {64, 32, 48}, {63, 32, 48},
                {20, 10, 15},      {3, 2, 3},    {1, 1, 1},    {0, 0, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(FirstKept(row.limit, DescriptorUse::Caller), row.caller) << row.limit;
        EXPECT_EQ(FirstKept(row.limit, DescriptorUse::LocalProgram), row.localProgram) << row.limit;
    }
    EXPECT_EQ(FirstKept(ULONG_MAX, DescriptorUse::Caller), UINT_MAX - LumPal::kKeptDescriptors);
}

TEST(DescriptorRoom, AChangedLimitCountsAtOnce) {
    ForkedProcess process([] {
        for (const rlim_t limit : {200u, 100u}) {
            const rlimit now{limit, limit};
            if (setrlimit(RLIMIT_NOFILE, &now) != 0) throw std::runtime_error("the limit cannot be set");
            const int last = static_cast<int>(limit) - 33;
            if (!LeavesEnough(last, DescriptorUse::Caller) || LeavesEnough(last + 1, DescriptorUse::Caller))
                throw std::runtime_error("the limit does not count");
        }
    });
    EXPECT_EQ(process.Wait(), 0);
}
