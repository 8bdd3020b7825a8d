// What is told to the running daemon, and how long it may take.
#include <iostream>

#include "LumCtrl.h"
#include "LumPalBell.h"
#include "common/StatusLine.h"
#include "common/TrustReload.h"
#include "lumtrust/Command.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumPalMsg::CreateError_t;
using lumtools::StatusLine;

namespace {

constexpr int kLongestSeconds = 86400;

/// What --timeout says; 0 for nothing.
int& PatienceSeconds() {
    static int seconds = 0;
    return seconds;
}

LumCtrl::Control::Options PatienceOptions() {
    LumCtrl::Control::Options options;
    if (const auto patience = GetPatience())
        options.SetTimeout(static_cast<std::uint32_t>(std::chrono::milliseconds(*patience).count()));
    return options;
}

/// Says at a terminal what is waited for, once that takes long, as long as it lives.
class Notice {
public:
    Notice()
        : teller("LumTrust:Notice", {"What is waited for cannot be shown: %1", StatusLine::kPatience},
                 [this](LumPalThread::Bell_t&) { return Tell(); }) {
        try {
            teller.Start();
        } catch (const LumPalMsg::RuntimeException_t&) {
            // Without a thread nothing is shown; the change goes on.
        }
    }
    ~Notice() {
        teller.Finish();
        line.Clear();
    }
    Notice(const Notice&) = delete;
    Notice& operator=(const Notice&) = delete;

private:
    std::chrono::milliseconds Tell() {
        if (line.IsDue())
            line.Show("waiting for the running daemon (" + std::to_string(line.GetElapsed().count()) + " s)");
        return StatusLine::kPatience;
    }

    StatusLine line{true};
    LumPalThread::StepThread_t teller;
};

}  // namespace

std::optional<std::chrono::seconds> GetPatience() {
    if (PatienceSeconds() == 0) return std::nullopt;
    return std::chrono::seconds(PatienceSeconds());
}

void TellDaemon() {
    try {
        {
            const Notice notice;
            LumCtrl::Control::Notify(lumtools::kReloadEvent, "", lumtools::kReloadComponent, PatienceOptions());
        }
        std::cout << "The running daemon has taken it up." << std::endl;
    } catch (const LumPalIo::IOException_t&) {
        std::cout << "No daemon serves this root; it counts from the next start on." << std::endl;
    } catch (const LumCtrl::ControlException& e) {
        throw LumPalMsg::RuntimeException_t(
            CreateError_t("The change was made, but the running daemon did not take it up; reload it.")
                .AddDetails(e.GetMessageList()));
    }
}

void RequireUsableKeys() {
    try {
        LumSecCore::NodeIdentity::Load().RequireUsable();
    } catch (const LumSecCore::KeyStoreException& e) {
        throw LumPalMsg::RuntimeException_t(
            CreateError_t("The change was made, but it does not count yet: the node's keys and certificates cannot be "
                          "used as they are.")
                .AddDetails(e.GetMessageList()));
    }
}

void TellDaemonOfKeys() {
    RequireUsableKeys();
    TellDaemon();
}

void AddPatience(CLI::App& app, Actions&) {
    for (const char* name :
         {"request", "install", "withdraw", "trust", "untrust", "grant", "revoke", "reinstate", "enroll", "operator"}) {
        app.get_subcommand(name)
            ->add_option("--timeout", PatienceSeconds(),
                         "The longest time to wait for another lumtrust, and for the running daemon to take it up")
            ->type_name("SECONDS")
            ->check(CLI::Range(1, kLongestSeconds));
    }
}

}  // namespace lumtrust
