/// @file
/// lumevents: listens to the control service and prints, or runs a command for, each event.
#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "LumCtrl.h"
#include "LumPalCmd.h"
#include "LumPalMsg.h"
#include "LumPalRuntime.h"
#include "common/ProgramName.h"
#include "common/StandardOutput.h"
#include "common/Utf8Arguments.h"

namespace {

using LumPalStr::String_t;

constexpr int kExitFailed = 1;
constexpr int kExitWrongUsage = 2;
/// How soon an end that a signal asked for between two waits is seen.
constexpr std::uint32_t kWaitMs = 500;

volatile std::sig_atomic_t stopAsked = 0;
volatile std::sig_atomic_t commandRuns = 0;

// A command may hang for good: who asks for the end does not wait for it.
extern "C" void AskToStop(int) {
    if (commandRuns) std::_Exit(0);
    stopAsked = 1;
}

struct Choices {
    std::string root, name, command;
    std::vector<std::string> events;
    std::uint64_t count = 0;
    bool json = false, quiet = false;
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

void RunCommand(const Choices& choices, const String_t& event, const String_t& value) {
    LumPalCmd::Command_t command(String_t::FromUtf8(choices.command));
    command.RedirectInput(LumPalCmd::Null).PutEnv("LUM_EVENT", event).PutEnv("LUM_VALUE", value);
    commandRuns = 1;
    const int code = stopAsked ? 0 : command.Execute().WaitFor();
    commandRuns = 0;
    if (code != 0 && !choices.quiet) std::cerr << "lumevents: the command ended with " << code << std::endl;
}

void Handle(const Choices& choices, const String_t& event, const String_t& value) {
    Print(choices, event, value);
    if (choices.command.empty()) return;
    try {
        RunCommand(choices, event, value);
    } catch (const LumPalMsg::Exception_t& failure) {
        std::cerr << "lumevents: " << failure.what() << std::endl;
    }
}

/// Whether all events could be printed.
bool Listen(const Choices& choices) {
    std::vector<String_t> events;
    for (const std::string& event : choices.events) events.push_back(String_t::FromUtf8(event));
    LumCtrl::Component component(String_t::FromUtf8(choices.name), events.data(), static_cast<int>(events.size()));
    if (!choices.quiet) std::cerr << "registered" << std::endl;
    String_t event, value;
    for (std::uint64_t done = 0; !stopAsked && (choices.count == 0 || done < choices.count);) {
        if (!component.Next(event, value, kWaitMs)) continue;
        Handle(choices, event, value);
        // What nobody could read is not acknowledged.
        if (!lumtools::IsOutputWritten()) return false;
        component.Acknowledge();
        ++done;
    }
    return true;
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
    app.add_option("--name", choices.name, "Name to register under (default: one that no other listener has)")
        ->type_name("NAME");
    app.add_option("--count", choices.count, "End after so many events")->check(IsPositive)->type_name("N");
    app.add_flag("--json", choices.json, "Print one JSON object per event");
    app.add_flag("--quiet", choices.quiet, "Do not say \"registered\" on standard error");
    app.add_option("--exec", choices.command,
                   "Run this command for each event, with LUM_EVENT and LUM_VALUE in its environment, "
                   "and acknowledge when it has ended (no shell is involved)")
        ->type_name("COMMAND");
    app.add_option("EVENT", choices.events, "Event to listen for; a \"*\" at its end stands for any rest")->required();
    // The completion reads the events from here.
    app.footer(
        "Events of policies: FIRST_POLICY:TYPE, CHECK_POLICY:TYPE, ENABLE_POLICY:TYPE, DISABLE_POLICY:TYPE,\n"
        "REMOVE_POLICY:TYPE and LAST_POLICY:TYPE.\n"
        "Prints one line per event, the event and its value, and acknowledges it.\n"
        "Ends with 0 when --count is reached and on SIGINT or SIGTERM (a command that still runs is left to end\n"
        "by itself), with 1 when the control service cannot be reached or goes away, with 2 for wrong usage.");
}

}  // namespace

int main(int argc, char** argv) {
    lumtools::SetProgramName("lumevents");
    lumtools::OccupyStandardStreams();
    if (!lumtools::AreArgumentsUtf8("lumevents", argc, argv)) return kExitWrongUsage;
    LumPalRuntime::App_t::Init(argc, argv);
    Choices choices;
    choices.name = OwnName();
    CLI::App app("Listens to the events of the node's control service.", "lumevents");
    Describe(app, choices);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (app.exit(e) != 0) return kExitWrongUsage;
        return lumtools::IsOutputWritten() ? 0 : kExitFailed;
    }
    std::signal(SIGINT, AskToStop);
    std::signal(SIGTERM, AskToStop);
    try {
        if (!choices.root.empty()) LumPalRuntime::Dir_t::SetRoot(String_t::FromUtf8(choices.root));
        return Listen(choices) ? 0 : kExitFailed;
    } catch (const LumPalMsg::Exception_t& failure) {
        std::cerr << "lumevents: " << failure.what() << std::endl;
        return kExitFailed;
    }
}
