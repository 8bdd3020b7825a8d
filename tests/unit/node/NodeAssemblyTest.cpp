// Who makes the process's object of policy operations, and what surrounds it.
#include "NodeAssembly.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "ForkedProcess.h"
#include "PolicyWorker.h"
#include "TempRoot.h"

namespace LumConf {
namespace {

TEST(NodeAssembly, WhoeverAsksFirstOfAllMakesTheNodeWithItsWorkerRunning) {
    const TempRoot root;
    ForkedProcess first([] {
        if (PolicyOperation::GetInstance()->IsPolicyInstalled()) throw std::runtime_error("there is a policy");
        if (PolicyOperation::GetInstance() != PolicyOperation::GetInstance()) throw std::runtime_error("two objects");
        LumConfPar::PolicyWorker::GetInstance().Stop();  // raises for a worker that does not run
    });
    EXPECT_EQ(first.Wait(), 0);
}

}  // namespace
}  // namespace LumConf
