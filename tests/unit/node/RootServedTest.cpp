// Bringing the policies up beside a process that serves the same root.
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "ConfigServer.h"
#include "Files.h"
#include "ForkedProcess.h"
#include "LumPalDaemon.h"
#include "NodeAssembly.h"
#include "PolicyWorker.h"
#include "TempRoot.h"

namespace LumConf {
namespace {

const char* const kWork[] = {"/spool/incoming/files/conf_tmp/arriving", "/tmp/conf_tmp/POL1", "/spool/store.change"};

/// The text that it raises; empty when it is brought up.
template <class Up>
std::string Raised(Up up) {
    try {
        up();
    } catch (const LumPalMsg::IllegalStateError_t& e) {
        return e.what();
    }
    return "";
}

void Expect(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

class RootServed : public testing::Test {
protected:
    RootServed() {
        for (const char* path : kWork) WriteText(root.Native() + path, "of the other process");
        if (!daemon.TryLock(LumPalRuntime::RootLock_t::GetPath())) throw std::runtime_error("the root is served");
    }
    void ExpectUntouched() const {
        for (const char* path : kWork) EXPECT_EQ(ReadText(root.Native() + path), "of the other process") << path;
        EXPECT_FALSE(std::filesystem::exists(root.Native() + "/policies"));
    }

    const TempRoot root;
    LumPalRuntime::InstanceLock_t daemon;  ///< not shared with the code under test: as of another process
};

TEST_F(RootServed, FailsAndSaysSoAndTouchesNothing) {
    ForkedProcess other([] {
        for (int tries = 0; tries < 2; ++tries) {
            const std::string said = Raised([] { PolicyOperation::GetInstance(); });
            Expect(said.find("another process serves this root") != std::string::npos, "it was brought up");
            Expect(said.find("lumconfd.lock") != std::string::npos, "the file is not named");
        }
    });
    EXPECT_EQ(other.Wait(), 0);
    ExpectUntouched();
}

TEST_F(RootServed, AServerCannotBeMadeEither) {
    ForkedProcess other([] {
        const std::string said = Raised([] { ConfigServer server; });
        Expect(said.find("another process serves this root") != std::string::npos, "it was made");
    });
    EXPECT_EQ(other.Wait(), 0);
    ExpectUntouched();
}

TEST(RootNotServed, WhoBringsThePoliciesUpHoldsTheRootFromThenOnAndNotAfterAFailure) {
    const TempRoot root;
    ForkedProcess process([&] {
        const LumPalStr::String_t path = LumPalRuntime::RootLock_t::GetPath();
        std::filesystem::create_symlink("/nowhere/at/all", root.Native() + "/policies");
        bool failed = false;
        try {
            PolicyOperation::GetInstance();
        } catch (const LumPalIo::IOException_t&) {
            failed = true;
        }
        Expect(failed, "it was brought up without its folder");
        Expect(LumPalRuntime::InstanceLock_t().TryLock(path), "the lock stayed after a failure");
        std::filesystem::remove(root.Native() + "/policies");
        PolicyOperation::GetInstance();
        Expect(!LumPalRuntime::InstanceLock_t().TryLock(path), "the root is free for others");
        LumConfPar::PolicyWorker::GetInstance().Stop();
    });
    EXPECT_EQ(process.Wait(), 0);
}

TEST(RootNotServed, AProgramThatHoldsTheRootBringsThePoliciesUp) {
    const TempRoot root;
    ForkedProcess process([] {
        LumPalRuntime::RootLock_t lock;
        Expect(lock.TryTake(), "the root is served");
        PolicyOperation::GetInstance();
        LumConfPar::PolicyWorker::GetInstance().Stop();
    });
    EXPECT_EQ(process.Wait(), 0);
}

}  // namespace
}  // namespace LumConf
