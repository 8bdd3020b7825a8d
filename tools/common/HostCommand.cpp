#include "common/HostCommand.h"

#include <algorithm>
#include <iostream>
#include <sstream>

#include "LumPalConsole.h"
#include "LumVoxRpc.h"
#include "common/Advice.h"
#include "common/Interruption.h"
#include "common/NodesText.h"
#include "common/Program.h"

namespace lumtools {

namespace {

constexpr std::chrono::seconds kLongestQuestion{60};
constexpr std::chrono::milliseconds kTick{100};  // between two looks whether the user ends it
constexpr int kSignalled = 128;

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

/// Those are named together, but to programs.
bool IsNotTried(const Outcome& outcome) {
    return outcome.code == kFailed && !outcome.wasBegun;
}

/// What is said of several things at once is not all of the kind that counts for the whole.
std::string WordFor(const Outcome& outcome) {
    const auto outer = std::count_if(outcome.messages.begin(), outcome.messages.end(),
                                     [](const MessageLine& line) { return line.level == 0; });
    const bool isOfAll = outer <= 1 || outcome.code == kNothingToDo || outcome.code == kUntold;
    return isOfAll ? std::string(": ") + outcome.Word() : "";
}

/// A signal's number, as a shell tells it.
ExitCode CodeOf(int signal) {
    return signal == kInterrupted - kSignalled ? kInterrupted : kTerminated;
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

HostCommand::HostCommand(CLI::App& command, Asks asks) : Command(command) {
    asks == Asks::ThisNode ? hostOptions.AddTimeoutTo(command) : hostOptions.AddTo(command);
}

ExitCode HostCommand::Run() {
    hosts = hostOptions.Make();
    const Outcome prepared = Prepare();
    if (prepared.code != kDone) {
        PrintUnsent(prepared);
        return prepared.code;
    }
    if (ChangesNodes()) LumPalConsole::OutliveReaders();
    AskAll();
    PrintTogether();
    PrintNotTried();
    const std::vector<const Answer*> answers = GetAnswers();
    if (AsksMany()) PrintSummary();
    return CodeOf(answers);
}

/// Who only asks need not wait as long as a change may take.
std::optional<std::chrono::seconds> HostCommand::GetTimeout() const {
    const auto given = hostOptions.GetTimeout();
    return given || TakesLong() ? given : kLongestQuestion;
}

/// Threads ask: what is raised would end the program.
Answer HostCommand::AskGuarded(const std::string& host) const {
    Answer answer;
    const Outcome outcome = Attempt([&] { answer = Ask(host); });
    if (outcome.code != kDone) answer.outcome = outcome;
    return answer;
}

Answer HostCommand::AskWithin(std::size_t index) const {
    const LumVoxRpc::CallBudget budget(GetTimeout());
    Answer answer = AskGuarded(hosts[index]);
    AddLackingRight(hosts[index], GetRight(), answer.outcome);
    if (ChangesNodes()) AddUnanswered(index, answer);
    return answer;
}

/// Who changes a node is told whether it can be otherwise than before, also when it did not answer.
void HostCommand::AddUnanswered(std::size_t index, Answer& answer) const {
    if (answer.outcome.code != kUnreachable && !answer.outcome.isUnanswered) return;
    const bool mayBeDone = answer.outcome.isUnanswered && !work->WasOnlyAsked(index);
    const bool wasChanged = answer.fields.contains("changed") && answer.fields["changed"] == true;
    if (TellsChanged() && !wasChanged)
        answer.fields["changed"] = mayBeDone ? nlohmann::ordered_json() : nlohmann::ordered_json(false);
    if (mayBeDone) answer.outcome.messages.push_back({1, "The request was sent: the change may be done all the same."});
}

void HostCommand::AskAll() {
    const Interruption interruption;
    for (std::size_t i = 0; i < hosts.size(); ++i) indexes[hosts[i]] = i;
    printed.assign(hosts.size(), false);
    line = std::make_unique<StatusLine>(!quiet);
    work = std::make_unique<NodesWork>(hosts.size());
    work->Start(
        hostOptions.GetParallel(), [this](std::size_t index) { return AskWithin(index); }, GetRollout());
    for (std::size_t arrived = 0; arrived < hosts.size();) {
        const std::vector<std::size_t> fresh = work->TakeAnswered(kTick);
        arrived += fresh.size();
        if (!fresh.empty()) PrintArrived(fresh);
        if (arrived < hosts.size() && Interruption::GetSignal() != 0) EndEarly(CodeOf(Interruption::GetSignal()));
        if (arrived < hosts.size() && line->IsDue()) line->Show(TextOf(*work, hosts, line->GetElapsed()));
    }
    line->Clear();
}

/// Who looks on sees a result when it is there; else those before it go first.
void HostCommand::PrintArrived(const std::vector<std::size_t>& arrived) {
    line->Clear();
    if (LumPalConsole::IsTerminal(LumPalConsole::Stream::Output)) {
        for (const std::size_t index : arrived) PrintNode(index);
        return;
    }
    while (firstUnprinted < hosts.size() && work->GetPhase(firstUnprinted) == NodesWork::Phase::Answered) {
        PrintNode(firstUnprinted++);
    }
}

/// Of a node that has told nothing of it.
void HostCommand::AddChanged(Answer& answer) const {
    const Outcome& outcome = answer.outcome;
    if (!TellsChanged() || answer.fields.contains("changed") || outcome.code == kDone) return;
    const bool isUnknown = outcome.wasBegun && (outcome.code == kFailed || outcome.code == kInterrupted ||
                                                outcome.code == kTerminated || outcome.code == kUntold);
    answer.fields["changed"] = isUnknown ? nlohmann::ordered_json() : nlohmann::ordered_json(false);
}

void HostCommand::PrintNode(std::size_t index) {
    AddChanged(work->GetAnswer(index));
    Print(hosts[index], work->GetAnswer(index));
    printed[index] = true;
}

std::vector<const Answer*> HostCommand::GetAnswers() const {
    std::vector<const Answer*> answers;
    for (std::size_t i = 0; i < hosts.size(); ++i) answers.push_back(&work->GetAnswer(i));
    return answers;
}

void HostCommand::EndEarly(ExitCode code) {
    work->Close();
    line->Clear();
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        const NodesWork::Phase phase = work->GetPhase(i);
        if (phase != NodesWork::Phase::Answered) FillUnknown(i, code);
        // Who was not asked is named together with all others of the kind, but to programs.
        if (!printed[i] && (json || phase != NodesWork::Phase::NotAsked)) PrintNode(i);
    }
    PrintTogether();
    PrintNotTried();
    if (!json) PrintNotAsked(code);
    if (AsksMany()) PrintSummary();
    EndNow(code);
}

/// What was known before stands below the reason.
void HostCommand::FillUnknown(std::size_t index, ExitCode code) {
    Answer& answer = work->GetAnswer(index);
    const bool wasAsked = work->GetPhase(index) == NodesWork::Phase::Asked;
    const bool wasOnlyAsked = ChangesNodes() && work->WasOnlyAsked(index);
    Outcome outcome{code, {}, wasAsked && !wasOnlyAsked};
    const std::string host = "'" + hosts[index] + "'";
    outcome.messages.push_back({0, !wasAsked        ? "Ended before " + host + " was asked."
                                   : wasOnlyAsked   ? "Ended before " + host + " answered: nothing was sent."
                                   : ChangesNodes() ? "Ended before " + host + " answered: the change may be done."
                                                    : "Ended before " + host + " answered."});
    for (const MessageLine& known : answer.outcome.messages) {
        outcome.messages.push_back({known.level + 1, known.text});
    }
    answer.outcome = outcome;
    if (wasAsked) AddUnknown(answer);
}

void HostCommand::PrintNotAsked(ExitCode code) const {
    std::string names;
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        if (work->GetPhase(i) == NodesWork::Phase::NotAsked) names += (names.empty() ? "" : ", ") + hosts[i];
    }
    if (!names.empty()) PrintFailure(std::cerr, "not asked", {code, {{0, names}}, false});
}

void HostCommand::PrintNotTried() const {
    std::string names;
    Outcome outcome;
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        if (!IsNotTried(work->GetAnswer(i).outcome)) continue;
        outcome = work->GetAnswer(i).outcome;
        names += (names.empty() ? "" : ", ") + hosts[i];
    }
    if (json || names.empty()) return;
    outcome.messages.push_back({1, names});
    PrintFailure(std::cerr, "", outcome);
}

void HostCommand::SetStep(const std::string& host, const std::string& step) const {
    work->SetStep(indexes.at(host), step);
}

void HostCommand::SetQuestion(const std::string& host, const std::string& step) const {
    work->SetQuestion(indexes.at(host), step);
}

void HostCommand::AddKnown(const std::string& host, const std::function<void(Answer&)>& add) const {
    work->Add(indexes.at(host), add);
}

Answer HostCommand::GetKnown(const std::string& host) const {
    return work->GetAdded(indexes.at(host));
}

void HostCommand::Warn(const LumPalMsg::MessageList_t& warnings) const {
    if (json || warnings.GetMessageCount() == 0) return;
    std::ostringstream text;
    PrintWarnings(text, warnings);
    line->PrintAbove(text.str());  // in one piece: other threads write too
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
    if (!quiet && !IsShownTogether()) {
        if (many && answer.isBlock && !answer.text.empty()) std::cout << host << ":\n";
        std::cout << (many && answer.isBlock ? Indented(answer.text) : answer.text) << std::flush;
    }
    if (answer.outcome.code == kDone || IsNotTried(answer.outcome)) return;
    PrintFailure(std::cerr, many ? host + WordFor(answer.outcome) : "", answer.outcome);
}

void HostCommand::PrintTogether() const {
    if (json || quiet || !IsShownTogether()) return;
    std::vector<std::pair<std::string, const Answer*>> answers;
    for (std::size_t i = 0; i < hosts.size(); ++i) answers.emplace_back(hosts[i], &work->GetAnswer(i));
    std::cout << ShowTogether(answers) << std::flush;
}

void HostCommand::PrintSummary() const {
    if (!json && !quiet) std::cout << SummaryOf(GetAnswers()) << std::endl;
}

}  // namespace lumtools
