// The command status.
#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <vector>

#include "LumPalConsole.h"
#include "LumPalDaemon.h"
#include "common/TableOptions.h"
#include "lumcluster/Changes.h"
#include "lumcluster/Command.h"
#include "lumcluster/Look.h"
#include "lumcluster/Screen.h"
#include "lumcluster/StatusText.h"
#include "lumcluster/Watch.h"

namespace lumcluster {

using lumtools::ExitCode;

namespace {

constexpr int kMostSeconds = 86400;
constexpr int kLeastPauseMs = 1000, kUsualPauseMs = 10000;

std::string Now() {
    using namespace std::chrono;
    return TimeText(duration_cast<seconds>(system_clock::now().time_since_epoch()).count());
}

/// All that one look has found.
struct View {
    Keys keys;
    Sight sight;
    Follower follower;

    explicit View(Addresses& addresses)
        : keys(Keys::Read()), sight(Look(keys, &addresses)), follower(Follower::Read()) {}
    std::string Text(const lumtools::TableLayout& layout) const { return TextOf(sight, follower, keys, layout); }
    /// The first problem is the answer's failure.
    lumtools::Outcome GetOutcome() const {
        return sight.problems.empty() ? lumtools::Outcome() : sight.problems.front().outcome;
    }
};

class Status : public LocalCommand {
public:
    explicit Status(CLI::App& command) : LocalCommand(command) {
        CLI::Option* const watchFlag = command.add_flag(
            "--watch", watches, "Look again and again: on a terminal drawn anew, elsewhere a line for each change");
        command
            .add_option("--interval", seconds, "With --watch: the time between two looks (default: as the monitor's)")
            ->type_name("SECONDS")
            ->check(CLI::Range(1, kMostSeconds))
            ->needs(watchFlag);
        tableOptions.AddTo(command, json);
    }

    ExitCode Run() override {
        if (!watches) return LocalCommand::Run();
        const bool isDrawn = LumPalConsole::IsTerminal(LumPalConsole::Stream::Output) && !json;
        isDrawn ? Draw() : PrintChanges();
        return lumtools::kDone;
    }

private:
    bool IsPrintable() const override { return true; }

    void Work(Answer& answer) const override {
        Addresses addresses;
        const View view(addresses);
        answer.text = view.Text(tableOptions.GetLayout());
        answer.fields = ToJson(view.sight, view.follower, view.keys);
        answer.outcome = view.GetOutcome();
    }

    std::uint32_t PauseMs() const {
        if (seconds > 0) return static_cast<std::uint32_t>(seconds) * 1000;
        int configured = 0;
        lumtools::Attempt([&configured] { configured = Keys::Read().pollingIntervalMs; });
        return static_cast<std::uint32_t>(configured > 0 ? std::max(configured, kLeastPauseMs) : kUsualPauseMs);
    }

    void Draw() const {
        Addresses addresses;
        const std::shared_ptr<Screen> screen = std::make_shared<Screen>();
        const auto step = [&] {
            const std::string text = Drawing(addresses);
            if (LumPalRuntime::IsStopping()) return false;  // its tools were ended: they say nothing of the cluster
            screen->Draw(text);
            return std::cout.good();
        };
        Repeat(
            step, [this] { return PauseMs(); }, [screen](const auto& suspend) { screen->Leave(suspend); });
        screen->Close();
    }

    std::string Drawing(Addresses& addresses) const {
        std::string text = Now() + "\n";
        const lumtools::Outcome outcome = lumtools::Attempt([&] {
            const View view(addresses);
            text += view.Text(tableOptions.GetLayout());
            for (const Problem& problem : view.sight.problems) text += Lines(problem.what, problem.outcome);
        });
        if (outcome.code != lumtools::kDone) text += Lines("configuration", outcome);
        return text;
    }

    static std::string Lines(const std::string& what, const lumtools::Outcome& outcome) {
        std::string text = "\n" + what + " cannot be told:\n";
        for (const lumtools::MessageLine& line : outcome.messages) {
            text += std::string(2 * (line.level + 1), ' ') + lumtools::Printable(line.text) + "\n";
        }
        return text;
    }

    void PrintChanges() const {
        Addresses addresses;
        Changes changes;
        const auto step = [&] {
            const std::vector<Change> seen = LookForChanges(addresses, changes);
            if (LumPalRuntime::IsStopping()) return false;
            for (const Change& change : seen) Print(change);
            return std::cout.good();
        };
        Repeat(step, [this] { return PauseMs(); });
    }

    static std::vector<Change> LookForChanges(Addresses& addresses, Changes& changes) {
        std::vector<Change> seen;
        const lumtools::Outcome outcome = lumtools::Attempt([&] {
            const View view(addresses);
            seen = changes.Take(view.sight, ItemsOf(view.sight, view.follower, view.keys));
        });
        return outcome.code == lumtools::kDone ? seen : changes.TakeUnread(outcome);
    }

    void Print(const Change& change) const {
        std::cout << (json ? OneLine(ToJson(change, Now())) : LineOf(change, Now())) << std::endl;
    }

    lumtools::TableOptions tableOptions;
    bool watches = false;
    int seconds = 0;
};

}  // namespace

void AddStatus(CLI::App& app, Actions& actions) {
    AddCommand<Status>(app, actions, "status", "Tell what the cluster runs where, and who follows it on this node");
}

}  // namespace lumcluster
