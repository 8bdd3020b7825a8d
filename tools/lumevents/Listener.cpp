#include "lumevents/Listener.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include "LumCtrl.h"
#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "common/Said.h"

namespace lumevents {

using LumPalConsole::Priority;
using LumPalStr::String_t;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

/// How soon an end that was asked for is seen.
constexpr std::uint32_t kWaitMs = 100;
constexpr std::uint32_t kLongestAnswerMs = LumCtrl::Component::kRegistrationMs;
constexpr milliseconds kFirstPause(50), kLongestPause(1000);

class Listener {
public:
    Listener(const ListenOptions& options, const Take& take) : options(options), take(take) {
        for (const std::string& event : options.events) events.push_back(String_t::FromUtf8(event));
    }

    bool Run() {
        if (!Register(options.patience)) return true;
        if (!options.quiet) std::cerr << LumPalConsole::JournalMark(Priority::Info) << "registered" << std::endl;
        while (!IsDone()) {
            try {
                if (!HandleNext()) return false;
            } catch (const LumPalIo::IOException_t& gone) {
                if (IsDone() || !ComeBack(gone)) return true;
            }
        }
        return true;
    }

private:
    bool IsDone() const { return LumPalRuntime::IsStopping() || (options.count > 0 && handled >= options.count); }

    bool HandleNext() {
        String_t event, value;
        if (!component->Next(event, value, kWaitMs)) return true;
        // What nobody could read is not acknowledged.
        if (!take(event, value)) return false;
        ++handled;
        component->Acknowledge();
        return true;
    }

    /// @return false when the process is stopping
    bool ComeBack(const LumPalIo::IOException_t& gone) {
        component.reset();
        lumtools::Say(Priority::Warning, std::string(gone.what()) + " Waiting for it.");
        if (!Register(options.patience.value_or(std::chrono::hours(24 * 365 * 100)))) return false;
        lumtools::Say(Priority::Warning, "registered again; events in between were missed");
        return true;
    }

    /// Tries as long as that is allowed. A reason that stays is told: a service that ends may still take a call, and
    /// then not answer.
    /// @return false when the process is stopping
    bool Register(std::optional<std::chrono::seconds> patience) {
        std::string last, said;
        const Clock::time_point end = Clock::now() + patience.value_or(std::chrono::seconds(0));
        milliseconds pause = kFirstPause;
        while (!LumPalRuntime::IsStopping()) {
            try {
                component = std::make_unique<LumCtrl::Component>(String_t::FromUtf8(options.name), events.data(),
                                                                 static_cast<int>(events.size()),
                                                                 patience ? LeftMs(end) : kLongestAnswerMs);
                return true;
            } catch (const LumPalIo::FileNotFoundException_t&) {
                if (Clock::now() >= end) throw;  // no service: that is what is waited for
                last.clear();
            } catch (const LumPalIo::IOException_t& e) {
                if (Clock::now() >= end) throw;
                if (last == e.what()) Say(last, said);
                last = e.what();
            }
            const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
            LumPalRuntime::WaitForStopping(
                static_cast<std::uint32_t>(std::clamp(left, milliseconds(1), pause).count()));
            pause = std::min(2 * pause, kLongestPause);
        }
        return false;
    }

    /// How long one answer of a service may take, within the patience.
    static std::uint32_t LeftMs(Clock::time_point end) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        return static_cast<std::uint32_t>(std::clamp(left, milliseconds(1), milliseconds(kLongestAnswerMs)).count());
    }

    /// A reason, such as a name that somebody else has taken; the same one once.
    static void Say(const std::string& reason, std::string& said) {
        if (said == reason) return;
        said = reason;
        lumtools::Say(Priority::Warning, said);
    }

    const ListenOptions& options;
    const Take& take;
    std::vector<String_t> events;
    std::uint64_t handled = 0;
    std::unique_ptr<LumCtrl::Component> component;
};

}  // namespace

bool Listen(const ListenOptions& options, const Take& take) {
    return Listener(options, take).Run();
}

}  // namespace lumevents
