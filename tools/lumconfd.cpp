// The daemon of a node: serves the node's policies until it is told to stop.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <string>

#include "ConfigServer.h"
#include "LumCtrl.h"
#include "LumDepl.h"
#include "LumPalConfig.h"
#include "LumPalConsole.h"
#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "LumPalKeys.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"
#include "LumPalRuntime.h"
#include "LumVoxMsg.h"
#include "NodeStatus.h"
#include "common/ClusterProduct.h"
#include "common/NodeAccess.h"
#include "common/ProgramName.h"
#include "common/Said.h"
#include "common/StandardOutput.h"
#include "common/Usage.h"
#include "common/Utf8Arguments.h"
#include "lumconfd/ConfigCheck.h"
#include "lumconfd/ExpiryWatch.h"
#include "lumconfd/MonitorKeeper.h"
#include "lumconfd/PolicyList.h"
#include "lumconfd/ServerWatch.h"
#include "lumconfd/StartGuard.h"
#include "lumconfd/Status.h"
#include "lumconfd/TrustReload.h"

namespace {

using LumPalRuntime::Dir_t;
using LumPalStr::String_t;

/// A part of the five seconds in which the daemon stops.
constexpr std::chrono::milliseconds kTimeForMonitor(2000);

enum ExitCode { kDone = 0, kFailed = 1, kWrongUsage = 2, kAlreadyRunning = 3, kRefused = 5 };

int Fail(ExitCode code, const std::string& reason) {
    lumtools::Say(LumPalConsole::Priority::Error, reason);
    return code;
}

int FailFor(const std::exception& e) {
    if (!lumtools::HasFailedForAccess(e.what())) return Fail(kFailed, e.what());
    return Fail(kRefused, lumtools::ClosedNodeText() + "\n" + e.what());
}

LumVoxMsg::Messenger MakeMessenger() {
    return LumVoxMsg::Messenger(LumPalConfig::ConfigNamespace_t(LumPalKeys::NsVoxHttp).Open(),
                                LumVoxMsg::Messenger::Options()
                                    .SetAuthenticationMethod(1)
                                    .RegisterWithCb(true)
                                    .SetApplicationInfo("conf.core", "01.00")
                                    .SetBasePath("/"));
}

/// @param details  makes them; memory may be out
template <class Details>
void SayNotReloaded(Details details) {
    LumPalLog::LogGuarded([&] {
        return LumPalMsg::CreateError_t("Keys and certificates cannot be taken up; the last good ones stay.")
            .AddDetails(details());
    });
}

/// What cannot be taken up leaves what was there: a daemon does not end because a file of its keys is broken.
void Reload(LumConf::ConfigServer& server, LumVoxMsg::Messenger& messenger, lumconfd::ExpiryWatch& expiryWatch) {
    try {
        server.UpdateAuthorization();
        messenger.ReloadIdentity();
    } catch (const LumPalMsg::Exception_t& e) {
        SayNotReloaded([&] { return e.GetMessageList(); });
    } catch (const std::exception& e) {
        SayNotReloaded([&] { return LumPalMsg::CreateError_t(String_t::FromUtf8(e.what())); });
    }
    expiryWatch.Reloaded();
}

void WaitForStop(const std::function<void()>& reload, const LumPalRuntime::Signals_t& signals) {
    while (signals.Wait() == LumPalRuntime::Signal_e::Reload) {
        LumPalRuntime::NotifyServiceManager("RELOADING=1");
        reload();
        LumPalRuntime::NotifyServiceManager("READY=1");
    }
}

/// It is held up where nothing can be given up, as by the name service: it is left alone, and ends with the process.
[[noreturn]] void LeaveMonitor() {
    LumPalLog::LogGuarded([] { return LumPalMsg::CreateWarn_t("The cluster monitor did not end in time."); });
    std::cerr.flush();
    std::_Exit(kDone);
}

/// Reads the store, which may take its time.
std::unique_ptr<LumConf::ConfigServer> MakeServer(const LumPalRuntime::Signals_t& signals) {
    const lumconfd::StartGuard guard(signals);
    return std::make_unique<LumConf::ConfigServer>();
}

/// What the daemon's own part knows.
void AddToStatus(LumConf::NodeStatus& status) {
    if (const auto product = lumtools::FindClusterProduct()) status.cluster = LumConfCluster::DisplayText(*product);
    if (status.consumers > 0) --status.consumers;  // the daemon itself, which listens to lumtrust
}

int Serve(const LumPalRuntime::Signals_t& signals) {
    LumCtrl::Service control;
    control.Start();
    const std::unique_ptr<LumConf::ConfigServer> made = MakeServer(signals);
    LumConf::ConfigServer& server = *made;
    LumVoxMsg::Messenger messenger = MakeMessenger();
    server.AddToStatus(&AddToStatus);
    server.Start(&messenger);
    if (!server.IsServing()) return Fail(kFailed, "the server does not serve; the log above says why");
    LumDepl::InventoryServer inventory(LumPalConfig::ConfigNamespace_t(LumPalKeys::NsVoxHttp).Open());
    inventory.RegisterOn(messenger);
    lumconfd::PolicyList policyList;
    lumconfd::ServerWatch serverWatch;
    lumconfd::ExpiryWatch expiryWatch;
    const auto reload = [&] { Reload(server, messenger, expiryWatch); };
    lumconfd::TrustReload trustReload(reload);
    lumconfd::MonitorKeeper monitorKeeper;
    lumtools::Say(LumPalConsole::Priority::Info, "serving the node in " + Dir_t::Path(LumPalRuntime::Root).ToUtf8() +
                                                     " on port " + std::to_string(server.GetPort()));
    LumPalRuntime::NotifyServiceManager("READY=1");
    WaitForStop(reload, signals);
    LumPalRuntime::NotifyServiceManager("STOPPING=1");
    LumPalRuntime::SetStopping(true);
    trustReload.Stop();
    serverWatch.Stop();
    monitorKeeper.Stop();
    // In this order: no request that waits must begin in the place of one that is told to wait no longer.
    server.StopReceiving();
    control.StopWaiting();
    // Before the worker and the work folders go, which it needs.
    const bool monitorEnded = monitorKeeper.WaitForEnd(kTimeForMonitor);
    server.Stop();
    control.Stop();
    if (!monitorEnded) LeaveMonitor();
    return kDone;
}

/// What was printed counts only when it has arrived.
int Told(int code) {
    return code == kDone && !lumtools::IsOutputWritten() ? static_cast<int>(kFailed) : code;
}

int Run(const LumPalRuntime::Signals_t& signals) {
    const String_t root = Dir_t::Path(LumPalRuntime::Root);
    if (!LumPalIo::File_t(root).Mkdirs()) return Fail(kFailed, "cannot make the root '" + root.ToUtf8() + "'");
    LumPalRuntime::RootLock_t lock;
    if (!lock.TryTake()) {
        return Fail(kAlreadyRunning, "another process serves '" + root.ToUtf8() + "' (it holds '" +
                                         LumPalRuntime::RootLock_t::GetPath().ToUtf8() + "')");
    }
    const String_t logDirectory = Dir_t::Path(LumPalRuntime::LogDir);
    LumPalIo::File_t(logDirectory).Mkdirs();
    LumPalLog::SetApplicationLogFile(logDirectory + "lumconfd.log");
    LumPalConfig::ConfigUpdate_t::RemoveLeftAside();
    return Serve(signals);
}

}  // namespace

int main(int argc, char** argv) {
    lumtools::SetProgramName("lumconfd");
    lumtools::OccupyStandardStreams();
    LumPalRuntime::KeepOutOfCoreImages();
    if (!lumtools::AreArgumentsUtf8("lumconfd", argc, argv)) return kWrongUsage;
    LumPalRuntime::App_t::Init(argc, argv);
    CLI::App app("Serves a node's policies: keeps them, takes requests on them, tells what changed.", "lumconfd");
    std::string root;
    bool checkConfig = false, tellStatus = false;
    // An empty one comes from a script's unset variable: the default root is not what was meant.
    app.add_option("--root", root, "Folder of the node (default: $LUM_ROOT, else /var/opt/lum)")
        ->type_name("DIR")
        ->check([](const std::string& text) { return std::string(text.empty() ? "the folder's name is empty" : ""); });
    app.add_flag("--check-config", checkConfig, "Check the configuration, say what is wrong, and end");
    CLI::Option* const statusFlag =
        app.add_flag("--status", tellStatus, "Ask the daemon that serves this root how the node fares, and end")
            ->excludes("--check-config");
    lumconfd::Status status(app, statusFlag);
    app.set_version_flag("--version", "lumconfd " LUM_VERSION);
    app.footer(
        "Runs in the foreground. SIGTERM and SIGINT stop it, SIGHUP takes up changed rights and keys.\n"
        "Exit codes: 0 stopped as asked, 1 failed (--status: nobody serves, or something is wrong), 2 wrong usage,\n"
        "3 another daemon serves this root, 5 this user may not read the root, or --status: has no right, 130 and 143\n"
        "--status was ended.");
    if (const auto end = lumtools::EndOfArguments(app, argc, argv)) return *end;
    try {
        if (!root.empty()) Dir_t::SetRoot(LumPalIo::File_t(String_t::FromUtf8(root)).GetAbsolutePath());
        if (checkConfig) {
            lumtools::RequireOpenKeys();  // else each of its files would be a problem of its own
            return lumconfd::CheckConfiguration(std::cout) && lumtools::IsOutputWritten() ? kDone : kFailed;
        }
        if (tellStatus) return Told(status.Run());
        LumPalRuntime::KeepNoLargeBlocks();
        const LumPalRuntime::Signals_t signals;
        return Run(signals);
    } catch (const std::exception& e) {
        return FailFor(e);
    }
}
