#include "common/HostCommand.h"

#include <atomic>
#include <iostream>
#include <map>
#include <sstream>

#include "LumPalConfig.h"
#include "LumPalConsole.h"
#include "LumPalKeys.h"
#include "LumPalRuntime.h"
#include "LumVoxRpc.h"

namespace lumtools {

namespace {

constexpr std::chrono::seconds kLongestQuestion{60};

nlohmann::ordered_json ToJson(const std::string& host, const Answer& answer) {
    nlohmann::ordered_json object;
    object["host"] = host;
    Fill(object, answer.outcome);
    if (!answer.fields.is_null()) object.update(answer.fields);
    return object;
}

std::string Indented(const std::string& text) {
    std::istringstream in(text);
    std::string out;
    for (std::string line; std::getline(in, line);) out += line.empty() ? "\n" : "  " + line + "\n";
    return out;
}

/// One line of standard error that says how far the work is; only on a terminal.
class Progress {
public:
    explicit Progress(std::size_t count)
        : count(count), shown(count > 1 && LumPalConsole::IsTerminal(LumPalConsole::Stream::Error)) {}
    void Show(std::size_t done) const {
        if (shown) std::cerr << "\r\033[K" << done << " of " << count << " nodes" << std::flush;
    }
    void Clear() const {
        if (shown) std::cerr << "\r\033[K" << std::flush;
    }

private:
    const std::size_t count;
    const bool shown;
};

/// The exit code for many nodes. What was done already is no failure of many.
ExitCode CodeOf(const std::map<ExitCode, int>& counts, std::size_t hosts) {
    const auto count = [&counts](ExitCode code) {
        const auto found = counts.find(code);
        return found == counts.end() ? std::size_t{0} : static_cast<std::size_t>(found->second);
    };
    if (counts.size() == 1) return counts.begin()->first;
    const std::size_t well = count(kDone) + count(kNothingToDo);
    if (well == hosts) return kDone;
    return well + count(kUntold) == hosts ? kUntold : kSomeFailed;
}

/// The node cannot say why it knows no sender: the caller alone sees that he has no proof to show.
void AddHint(const std::string& host, Outcome& outcome) {
    if (outcome.code != lumtools::kRefused || host != "localhost" || LumVoxRpc::HasLocalSecret()) return;
    if (LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCmCert).Open().GetBool(LumPalKeys::CertInstalledKey)) return;
    const std::string root = LumPalRuntime::Dir_t::Path(LumPalRuntime::Root).ToUtf8();
    outcome.messages.push_back({1, "This call proved nothing, since '" + LumVoxRpc::LocalSecretPath().ToUtf8() +
                                       "' cannot be read: run it as the user to whom the node's root '" + root +
                                       "' belongs, or as root, and with LUM_ROOT naming the root that the daemon "
                                       "serves."});
}

std::map<ExitCode, int> Count(const std::vector<Answer>& answers) {
    std::map<ExitCode, int> counts;
    for (const Answer& answer : answers) ++counts[answer.outcome.code];
    return counts;
}

}  // namespace

CLI::Option* AddTargetId(CLI::App& command, std::string& targetId) {
    return command.add_option("--target-id", targetId, "The id that the node must bear over TLS, else nothing is sent")
        ->type_name("ID")
        ->check(IsGiven);
}

void BeginDryRun(Answer& answer) {
    answer.isBlock = true;
    answer.fields["dry_run"] = true;
    answer.fields["changes"] = nlohmann::ordered_json::array();
}

void EndDryRun(const std::string& host, Answer& answer) {
    if (answer.outcome.code != kDone || !answer.fields["changes"].empty()) return;
    answer.outcome = {kNothingToDo, {{0, "Nothing would change on '" + host + "'."}}};
}

HostCommand::HostCommand(CLI::App& command) : Command(command) {
    hostOptions.AddTo(command);
}

ExitCode HostCommand::Run() {
    hosts = hostOptions.Make();
    const Outcome prepared = Prepare();
    if (prepared.code != kDone) {
        PrintUnsent(prepared);
        return prepared.code;
    }
    if (ChangesNodes()) LumPalConsole::OutliveReaders();
    const std::vector<Answer> answers = AskAll();
    if (hosts.size() == 1) return answers.front().outcome.code;
    PrintSummary(answers);
    return CodeOf(Count(answers), hosts.size());
}

/// Who only asks need not wait as long as a change may take.
std::optional<std::chrono::seconds> HostCommand::GetTimeout() const {
    const auto given = hostOptions.GetTimeout();
    return given || ChangesNodes() ? given : kLongestQuestion;
}

/// A node's result is printed when those before it are.
std::vector<Answer> HostCommand::AskAll() const {
    std::vector<Answer> answers(hosts.size());
    std::vector<std::atomic<bool>> ready(hosts.size());
    std::size_t printed = 0;
    const Progress progress(hosts.size());
    const auto ask = [&](std::size_t index) {
        const LumVoxRpc::CallBudget budget(GetTimeout());
        answers[index] = Ask(hosts[index]);
        AddHint(hosts[index], answers[index].outcome);
        ready[index] = true;
    };
    progress.Show(0);
    ForEach(hosts.size(), hostOptions.GetParallel(), ask, [&](std::size_t done) {
        progress.Clear();
        for (; printed < hosts.size() && ready[printed]; ++printed) Print(hosts[printed], answers[printed]);
        if (done < hosts.size()) progress.Show(done);
    });
    return answers;
}

void HostCommand::Warn(const LumPalMsg::MessageList_t& warnings) const {
    if (json || warnings.GetMessageCount() == 0) return;
    std::ostringstream text;
    if (AsksMany() && LumPalConsole::IsTerminal(LumPalConsole::Stream::Error)) text << "\r\033[K";
    PrintWarnings(text, warnings);
    std::cerr << text.str() << std::flush;  // in one piece: other threads write too
}

/// What is wrong with the arguments is said once, and concerns no node.
void HostCommand::PrintUnsent(const Outcome& outcome) const {
    if (json) {
        nlohmann::ordered_json object;
        Fill(object, outcome);
        std::cout << OneLine(object) << std::endl;
    } else {
        PrintFailure(std::cerr, "", outcome);
    }
}

void HostCommand::Print(const std::string& host, const Answer& answer) const {
    if (json) {
        std::cout << OneLine(ToJson(host, answer)) << std::endl;
        return;
    }
    const bool many = AsksMany();
    if (!quiet) {
        if (many && answer.isBlock && !answer.text.empty()) std::cout << host << ":\n";
        std::cout << (many && answer.isBlock ? Indented(answer.text) : answer.text) << std::flush;
    }
    if (answer.outcome.code == kDone) return;
    PrintFailure(std::cerr, many ? host + ": " + answer.outcome.Word() : "", answer.outcome);
}

void HostCommand::PrintSummary(const std::vector<Answer>& answers) const {
    if (json || quiet) return;
    std::cout << hosts.size() << " nodes";
    const char* separator = ": ";
    for (const auto& [code, count] : Count(answers)) {
        std::cout << separator << count << " " << Outcome{code, {}}.Word();
        separator = ", ";
    }
    std::cout << std::endl;
}

}  // namespace lumtools
