// What is told to the running daemon, and how long it may take.
#include <iostream>

#include "LumCtrl.h"
#include "LumPalBell.h"
#include "common/Interruption.h"
#include "common/Outcome.h"
#include "common/Program.h"
#include "common/StatusLine.h"
#include "common/TrustReload.h"
#include "lumtrust/Command.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumPalMsg::CreateError_t;
using lumtools::Interruption;
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

constexpr std::chrono::milliseconds kTick{100};  // between two looks whether the user ends it
constexpr int kSignalled = 128;
constexpr char kPerhapsNotTakenUp[] =
    "The change was made, but the running daemon may not have taken it up; reload it.";
constexpr char kNotTakenUp[] = "The change was made, but the running daemon did not take it up; reload it.";

/// Says at a terminal what is waited for, once that takes long, as long as it lives; and what became of the change,
/// when the user ends it.
class Notice {
public:
    Notice()
        : teller("LumTrust:Notice", {"What is waited for cannot be shown: %1", StatusLine::kPatience},
                 [this](LumPalThread::Bell_t&) { return Tell(); }) {
        try {
            teller.Start();
            interruption.emplace();
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
        if (const int signal = Interruption::GetSignal()) EndBy(signal);
        if (line.IsDue())
            line.Show("waiting for the running daemon (" + std::to_string(line.GetElapsed().count()) + " s)");
        return kTick;
    }

    [[noreturn]] void EndBy(int signal) {
        line.Clear();
        const auto code = static_cast<lumtools::ExitCode>(kSignalled + signal);
        lumtools::PrintFailure(std::cerr, "", {code, {{0, kPerhapsNotTakenUp}}});
        lumtools::EndNow(code);
    }

    StatusLine line{true};
    std::optional<Interruption> interruption;
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
        std::cout << "No daemon serves this root: tools go by it now, a daemon from its start on." << std::endl;
    } catch (const LumCtrl::ControlException& e) {
        throw LumPalMsg::RuntimeException_t(CreateError_t(kNotTakenUp).AddDetails(e.GetMessageList()));
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
