// Who makes the process's object of policy operations, and what surrounds it.
#include "NodeAssembly.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "PolicyWorker.h"
#include "TempRoot.h"

namespace LumConf {
namespace {

[[noreturn]] void AskFirstOfAll() {
    const bool isEmpty = !PolicyOperation::GetInstance()->IsPolicyInstalled();
    const bool isOne = PolicyOperation::GetInstance() == PolicyOperation::GetInstance();
    LumConfPar::PolicyWorker::GetInstance().Stop();  // raises for a worker that does not run
    std::_Exit(isEmpty && isOne ? 0 : 1);
}

TEST(NodeAssembly, WhoeverAsksFirstOfAllMakesTheNodeWithItsWorkerRunning) {
    const TempRoot root;
    // In a program started anew: in this one somebody has asked before.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(AskFirstOfAll(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace LumConf
