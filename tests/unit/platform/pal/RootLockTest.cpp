#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <stdexcept>

#include "ForkedProcess.h"
#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "TempRoot.h"

namespace {

using LumPalRuntime::Dir_t;
using LumPalRuntime::InstanceLock_t;
using LumPalRuntime::RootLock_t;

bool IsHeld() {
    InstanceLock_t other;
    return !other.TryLock(RootLock_t::GetPath());
}

TEST(RootLock, AllObjectsOfAProcessShareItAndTheLastOneFreesIt) {
    const TempRoot root;
    std::optional<RootLock_t> first(std::in_place), second(std::in_place);
    EXPECT_TRUE(first->TryTake());
    EXPECT_TRUE(first->TryTake()) << "by the same object again";
    EXPECT_TRUE(second->TryTake());
    first.reset();
    EXPECT_TRUE(IsHeld());
    second.reset();
    EXPECT_FALSE(IsHeld());
    EXPECT_TRUE(first.emplace().TryTake());
    EXPECT_TRUE(IsHeld());
}

TEST(RootLock, IsRefusedWhileSomebodyElseHasTheFile) {
    const TempRoot root;
    RootLock_t lock;
    {
        InstanceLock_t other;
        ASSERT_TRUE(other.TryLock(RootLock_t::GetPath()));
        EXPECT_FALSE(lock.TryTake());
        EXPECT_FALSE(lock.TryTake());
    }
    EXPECT_TRUE(lock.TryTake());
}

TEST(RootLock, IsRefusedToAnotherProcess) {
    const TempRoot root;
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    char byte = 0;
    ForkedProcess other([&] {
        RootLock_t lock;
        if (read(go[0], &byte, 1) != 1) throw std::runtime_error("no word");
        if (lock.TryTake()) throw std::runtime_error("it has it too");
    });
    RootLock_t lock;
    EXPECT_TRUE(lock.TryTake());
    ASSERT_EQ(write(go[1], "x", 1), 1);
    EXPECT_EQ(other.Wait(), 0);
    for (const int end : {go[0], go[1]}) close(end);
}

TEST(RootLock, EachRootHasItsOwnAndAnObjectChangesOverToTheNextOne) {
    const TempRoot first;
    const LumPalStr::String_t path = RootLock_t::GetPath();
    RootLock_t lock;
    EXPECT_TRUE(lock.TryTake());
    const TempRoot second;
    EXPECT_NE(RootLock_t::GetPath(), path);
    EXPECT_TRUE(lock.TryTake());
    EXPECT_TRUE(IsHeld());
    InstanceLock_t other;
    EXPECT_TRUE(other.TryLock(path)) << "the first one is free again";
}

TEST(RootLock, MakesTheRootAndSaysWhenItCannot) {
    const TempRoot root;
    Dir_t::SetRoot(root.Path("deeper/still"));
    RootLock_t lock;
    EXPECT_TRUE(lock.TryTake());
    std::filesystem::create_symlink("/nowhere/at/all", root.Native() + "/link");
    Dir_t::SetRoot(root.Path("link"));
    EXPECT_THROW(lock.TryTake(), LumPalIo::IOException_t);
    Dir_t::SetRoot(root.Path());
}

}  // namespace
