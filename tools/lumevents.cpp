/// @file
/// lumevents: listens to the control service and prints, or runs a command for, each event.
#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "LumPalCmd.h"
#include "LumPalConsole.h"
#include "LumPalDaemon.h"
#include "LumPalMsg.h"
#include "LumPalRuntime.h"
#include "common/ExitCode.h"
#include "common/NodeAccess.h"
#include "common/Program.h"
#include "common/ProgramName.h"
#include "common/Said.h"
#include "common/StandardOutput.h"
#include "common/Table.h"
#include "common/Usage.h"
#include "common/Utf8Arguments.h"
#include "lumevents/EventNames.h"
#include "lumevents/Listener.h"

namespace {

using LumPalConsole::Priority;
using LumPalStr::String_t;

constexpr int kExitFailed = 1;
constexpr int kExitWrongUsage = 2;
/// How long a command may take to end when it is asked to.
constexpr std::uint32_t kGraceMs = 5000;

struct Choices {
    lumevents::ListenOptions listen;
    std::string root, command;
    unsigned timeoutSeconds = 0;
    bool json = false;
};

/// Different for each run, so that two listeners never claim one name.
std::string OwnName() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return "lumevents-" + std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

std::string OneLine(std::string text) {
    for (char& byte : text) {
        if (static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F) byte = '?';
    }
    return text;
}

void Print(const Choices& choices, const String_t& event, const String_t& value) {
    if (choices.json) {
        std::cout << nlohmann::ordered_json{{"event", event.ToUtf8()}, {"value", value.ToUtf8()}}.dump() << std::endl;
        return;
    }
    const std::string tail = value.IsEmpty() ? "" : " " + OneLine(value.ToUtf8());
    std::cout << OneLine(event.ToUtf8()) << tail << std::endl;
}

/// A command that still runs when this program is to end is ended too, with its process group.
int CodeOf(const LumPalCmd::Process_t& process) try {
    return process.WaitFor();
} catch (const LumPalCmd::StoppingException_t&) {
    process.Terminate(kGraceMs);
    throw;
}

LumPalCmd::Command_t CommandFor(const Choices& choices) {
    return LumPalCmd::Command_t(String_t::FromUtf8(choices.command));
}

void RunCommand(const Choices& choices, const String_t& event, const String_t& value) {
    LumPalCmd::Command_t command = CommandFor(choices);
    command.RedirectInput(LumPalCmd::Null).PutEnv("LUM_EVENT", event).PutEnv("LUM_VALUE", value);
    const int code = CodeOf(command.EndOnStop().EndWithParent().Execute());
    if (code != 0 && !choices.listen.quiet)
        lumtools::Say(Priority::Warning,
                      "the command ended with " + std::to_string(code) + " for '" + OneLine(event.ToUtf8()) + "'");
}

/// @return whether the event is done
bool Handle(const Choices& choices, const String_t& event, const String_t& value) {
    Print(choices, event, value);
    if (!std::cout) return false;  // said when the program ends
    if (choices.command.empty()) return true;
    try {
        RunCommand(choices, event, value);
    } catch (const LumPalCmd::StoppingException_t&) {
        return false;
    } catch (const LumPalMsg::Exception_t& failure) {
        lumtools::Say(Priority::Error, failure.what());
    }
    return true;
}

/// Whether all events could be printed.
bool Listen(const Choices& choices) {
    const auto take = [&choices](const String_t& event, const String_t& value) {
        return Handle(choices, event, value);
    };
    return lumevents::Listen(choices.listen, take) || LumPalRuntime::IsStopping();
}

/// What is wrong with a command, before anybody relies on it.
std::string WhyNoCommand(const std::string& line) try {
    if (line.empty()) return "the command is empty";
    LumPalCmd::Command_t(String_t::FromUtf8(line)).RequireProgram();
    return "";
} catch (const LumPalMsg::Exception_t& e) {
    return e.what();
}

/// A unit's file may name none.
std::string WhyNoCommandButNone(const std::string& line) {
    return line.empty() ? "" : WhyNoCommand(line);
}

std::string IsNotEmpty(const std::string& event) {
    return event.empty() ? "an event's name is empty" : "";
}

/// What is wrong with a number of events, empty when nothing is.
std::string IsPositive(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == text.npos;
    return isNumber && std::stoull(text) > 0 ? "" : "'" + text + "' is no number above 0";
}

void Describe(CLI::App& app, Choices& choices) {
    app.set_version_flag("--version", "lumevents " LUM_VERSION);
    app.add_option("--root", choices.root, "Root folder of the node (else LUM_ROOT, else /var/opt/lum)")
        ->type_name("DIR");
    app.add_option("--name", choices.listen.name, "Name to register under (default: one that no other listener has)")
        ->type_name("NAME");
    app.add_option("--count", choices.listen.count, "End after so many events")->check(IsPositive)->type_name("N");
    app.add_flag("--json", choices.json, "Print one JSON object per event");
    app.add_flag("--quiet", choices.listen.quiet, "Do not say \"registered\" on standard error");
    CLI::Option* const exec =
        app.add_option("--exec", choices.command,
                       "Run this command for each event, with LUM_EVENT and LUM_VALUE in its environment, "
                       "and acknowledge when it has ended (no shell is involved)")
            ->check(WhyNoCommand)
            ->type_name("COMMAND");
    app.add_option("--exec-unless-empty", choices.command, "As --exec; an empty command is none")
        ->check(WhyNoCommandButNone)
        ->excludes(exec)
        ->type_name("COMMAND");
    app.add_option(
           "--timeout", choices.timeoutSeconds,
           "The longest time to wait for the control service, at the start and when it went away (default: none "
           "at the start, later without end)")
        ->check(CLI::Range(1, 86400))
        ->type_name("SECONDS");
    app.add_option("EVENT", choices.listen.events, "Event to listen for; a \"*\" at its end stands for any rest")
        ->required()
        ->check(IsNotEmpty);
    // The completion reads the events from here.
    app.footer(
        "Events of policies: FIRST_POLICY:TYPE, CHECK_POLICY:TYPE, ENABLE_POLICY:TYPE, DISABLE_POLICY:TYPE,\n"
        "REMOVE_POLICY:TYPE and LAST_POLICY:TYPE.\n"
        "Prints one line per event, the event and its value, and acknowledges it. When the daemon is started anew it\n"
        "registers again and says so: events in between are missed.\n"
        "Ends with 0 when --count is reached and on SIGINT or SIGTERM (a command that still runs is ended\n"
        "too, with its process group),\n"
        "with 1 when the control service cannot be reached, with 2 for wrong usage and a command that cannot be "
        "started,\n"
        "with 5 when this user may not read the root.");
}

/// Nobody joins it: it waits until the process ends.
void TakeSignals() {
    static const LumPalRuntime::Signals_t signals;
    std::thread([] {
        signals.Wait();
        LumPalRuntime::SetStopping(true);
    }).detach();
}

/// They are listened for: other programs may send events of their own.
void WarnOfEvents(const Choices& choices) {
    for (const std::string& event : choices.listen.events) {
        const std::string doubt = lumevents::DoubtAbout(event);
        if (!doubt.empty()) lumtools::Say(Priority::Warning, "warning: " + lumtools::Printable(doubt));
    }
}

int Run(const Choices& choices) try {
    TakeSignals();
    if (!choices.root.empty()) LumPalRuntime::Dir_t::SetRoot(String_t::FromUtf8(choices.root));
    if (lumtools::IsNodeClosed()) {
        lumtools::Say(Priority::Error, lumtools::ClosedNodeText());
        return lumtools::kRefused;
    }
    WarnOfEvents(choices);
    return Listen(choices) ? 0 : kExitFailed;
} catch (const LumPalMsg::Exception_t& failure) {
    lumtools::Say(Priority::Error, failure.what());
    return kExitFailed;
}

}  // namespace

int main(int argc, char** argv) {
    lumtools::SetProgramName("lumevents");
    lumtools::OccupyStandardStreams();
    if (!lumtools::AreArgumentsUtf8("lumevents", argc, argv)) return kExitWrongUsage;
    LumPalRuntime::App_t::Init(argc, argv);
    Choices choices;
    choices.listen.name = OwnName();
    CLI::App app("Listens to the events of the node's control service.", "lumevents");
    Describe(app, choices);
    if (const auto end = lumtools::EndOfArguments(app, argc, argv)) return *end;
    if (choices.timeoutSeconds > 0) choices.listen.patience = std::chrono::seconds(choices.timeoutSeconds);
    lumtools::EndNow(Run(choices));
}
