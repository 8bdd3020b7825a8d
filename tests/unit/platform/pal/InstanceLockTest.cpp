#include <gtest/gtest.h>

#include <filesystem>

#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "TempRoot.h"

using LumPalIo::FileNotFoundException_t;
using LumPalIo::IOException_t;
using LumPalRuntime::InstanceLock_t;

TEST(InstanceLock, OneHolderAtATimeAndItIsFreeWhenTheHolderGoes) {
    const TempRoot root;
    InstanceLock_t second;
    {
        InstanceLock_t first;
        EXPECT_TRUE(first.TryLock(root.Path("lock")));
        EXPECT_FALSE(second.TryLock(root.Path("lock")));
        EXPECT_TRUE(second.TryLock(root.Path("other")));
    }
    EXPECT_TRUE(second.TryLock(root.Path("lock")));
}

TEST(InstanceLock, SaysWhenItsFileCannotBeMade) {
    const TempRoot root;
    std::filesystem::create_symlink(root.Native() + "/target", root.Native() + "/link");
    InstanceLock_t lock;
    EXPECT_THROW(lock.TryLock(root.Path("missing/lock")), FileNotFoundException_t);
    EXPECT_THROW(lock.TryLock(root.Path()), IOException_t);
    EXPECT_THROW(lock.TryLock(root.Path("link")), IOException_t);
    EXPECT_FALSE(std::filesystem::exists(root.Native() + "/target"));
}
