// Bringing the policies up beside a process that serves the same root.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "CapturedLog.h"
#include "ConfigServer.h"
#include "Files.h"
#include "LumConfCluster/ClusterMonitor.h"
#include "LumPalDaemon.h"
#include "NodeAssembly.h"
#include "PolicyWorker.h"
#include "TempRoot.h"
#include "VcsNode.h"

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

/// Does the trial in a process of its own, since a process has one node. It begins with the test anew.
template <class Trial>
[[noreturn]] void EndWith(Trial trial) {
    int code = 0;
    try {
        trial();
    } catch (const std::exception& e) {
        std::cerr << e.what() << std::endl;
        code = 1;
    }
    std::_Exit(code);
}
template <class Trial>
void InAnotherProcess(Trial trial) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(EndWith(trial), testing::ExitedWithCode(0), "");
}

class RootServed : public testing::Test {
protected:
    RootServed() {
        for (const char* path : kWork) WriteText(root.Native() + path, "of the other process");
        if (!daemon.TryLock(LumPalRuntime::RootLock_t::GetPath())) throw std::runtime_error("the root is served");
    }
    void ExpectUntouched() const {
        for (const char* path : kWork) Expect(ReadText(root.Native() + path) == "of the other process", path);
        Expect(!std::filesystem::exists(root.Native() + "/policies"), "the store was made");
    }

    const TempRoot root;
    LumPalRuntime::InstanceLock_t daemon;  ///< not shared with the code under test: as of another process
};

TEST_F(RootServed, FailsAndSaysSoAndTouchesNothing) {
    InAnotherProcess([this] {
        for (int tries = 0; tries < 2; ++tries) {
            const std::string said = Raised([] { PolicyOperation::GetInstance(); });
            Expect(said.find("another process serves this root") != std::string::npos, "it was brought up");
            Expect(said.find("lumconfd.lock") != std::string::npos, "the file is not named");
        }
        ExpectUntouched();
    });
}

TEST_F(RootServed, AMonitorBesideItEndsAndSaysSoAndTouchesNothing) {
    InAnotherProcess([this] {
        const VcsNode cluster;
        LumPalRuntime::Dir_t::SetRoot(root.Path());  // the cluster has brought one of its own
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        const CapturedLog log(root.Native());
        LumConfCluster::ClusterMonitor monitor;
        monitor.Start();
        Expect(Eventually([&] { return !monitor.IsRunning(); }), "it runs");
        monitor.Stop();
        Expect(log.Holds("Illegal state error while creating policy operation object."),
               "it does not say that it ends");
        Expect(log.Holds("another process serves this root"), "it does not say why");
        ExpectUntouched();
    });
}

TEST_F(RootServed, AServerCannotBeMadeEither) {
    InAnotherProcess([this] {
        const std::string said = Raised([] { ConfigServer server; });
        Expect(said.find("another process serves this root") != std::string::npos, "it was made");
        ExpectUntouched();
    });
}

TEST(RootNotServed, WhoBringsThePoliciesUpHoldsTheRootFromThenOnAndNotAfterAFailure) {
    const TempRoot root;
    InAnotherProcess([&] {
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
}

TEST(RootNotServed, AProgramThatHoldsTheRootBringsThePoliciesUp) {
    const TempRoot root;
    InAnotherProcess([] {
        LumPalRuntime::RootLock_t lock;
        Expect(lock.TryTake(), "the root is served");
        PolicyOperation::GetInstance();
        LumConfPar::PolicyWorker::GetInstance().Stop();
    });
}

}  // namespace
}  // namespace LumConf
