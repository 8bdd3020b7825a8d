#include "common/NodesWork.h"

#include <algorithm>

namespace lumtools {

using LumPalThread::PlainLock_t;

namespace {

bool IsFailure(const Outcome& outcome) {
    return outcome.code != kDone && outcome.code != kNothingToDo && outcome.code != kUntold;
}

Answer NotTried(std::size_t failed) {
    Answer answer;
    const std::string count = std::to_string(failed) + (failed == 1 ? " node has" : " nodes have");
    answer.outcome = {kFailed, {{0, "Not tried, since " + count + " failed."}}, false};
    return answer;
}

}  // namespace

NodesWork::NodesWork(std::size_t count) : nodes(count) {}

void NodesWork::Start(int parallel, std::function<Answer(std::size_t)> ask, const Rollout& how) {
    const PlainLock_t lock(mutex);
    rollout = how;
    const std::size_t count = std::min(static_cast<std::size_t>(parallel), nodes.size());
    for (std::size_t i = 0; i < count; ++i) threads.emplace_back([this, ask] { Work(ask); });
}

void NodesWork::Work(const std::function<Answer(std::size_t)>& ask) {
    for (std::size_t index = 0; Begin(index);) End(index, ask(index));
}

bool NodesWork::Begin(std::size_t& index) {
    PlainLock_t lock(mutex);
    while (IsHeldUp()) freed.wait(lock.ForWait());
    if (isClosed || next >= nodes.size()) return false;
    index = next++;
    nodes[index].phase = Phase::Asked;
    return true;
}

/// The next one is the first of a batch, and one before it has not answered.
bool NodesWork::IsHeldUp() const {
    const bool isWanted = !isClosed && next < nodes.size();
    return isWanted && rollout.serial > 0 && next % rollout.serial == 0 && answered.size() < next;
}

void NodesWork::End(std::size_t index, Answer answer) {
    const PlainLock_t lock(mutex);
    if (isClosed) return;
    if (IsFailure(answer.outcome)) ++failed;
    Take(index, std::move(answer));
    if (rollout.mostFailed && failed > *rollout.mostFailed) LeaveOut();
    changed.notify_one();
    freed.notify_all();
}

void NodesWork::Take(std::size_t index, Answer answer) {
    nodes[index].answer = std::move(answer);
    nodes[index].phase = Phase::Answered;
    answered.push_back(index);
}

void NodesWork::LeaveOut() {
    while (next < nodes.size()) Take(next++, NotTried(failed));
}

std::vector<std::size_t> NodesWork::TakeAnswered(std::chrono::milliseconds longest) {
    const Clock::time_point end = Clock::now() + longest;
    PlainLock_t lock(mutex);
    while (taken == answered.size() && changed.wait_until(lock.ForWait(), end) != std::cv_status::timeout) {
    }
    std::vector<std::size_t> arrived(answered.begin() + static_cast<std::ptrdiff_t>(taken), answered.end());
    taken = answered.size();
    return arrived;
}

void NodesWork::Close() {
    const PlainLock_t lock(mutex);
    isClosed = true;
    freed.notify_all();
}

void NodesWork::SetStep(std::size_t index, const std::string& step) {
    const PlainLock_t lock(mutex);
    nodes[index].step = step;
    nodes[index].wasOnlyAsked = false;
}

void NodesWork::SetQuestion(std::size_t index, const std::string& step) {
    const PlainLock_t lock(mutex);
    Node& node = nodes[index];
    node.wasOnlyAsked = node.wasOnlyAsked || node.step.empty();
    node.step = step;
}

bool NodesWork::WasOnlyAsked(std::size_t index) const {
    const PlainLock_t lock(mutex);
    return nodes[index].wasOnlyAsked;
}

void NodesWork::Add(std::size_t index, const std::function<void(Answer&)>& add) {
    const PlainLock_t lock(mutex);
    if (!isClosed) add(nodes[index].answer);
}

Answer NodesWork::GetAdded(std::size_t index) const {
    const PlainLock_t lock(mutex);
    return nodes[index].answer;
}

NodesWork::Phase NodesWork::GetPhase(std::size_t index) const {
    const PlainLock_t lock(mutex);
    return nodes[index].phase;
}

std::vector<NodesWork::Asked> NodesWork::GetAsked() const {
    const PlainLock_t lock(mutex);
    std::vector<Asked> asked;
    for (std::size_t i = 0; i < next; ++i) {
        if (nodes[i].phase == Phase::Asked) asked.push_back({i, nodes[i].step});
    }
    return asked;
}

std::size_t NodesWork::CountAnswered() const {
    const PlainLock_t lock(mutex);
    return answered.size();
}

Answer& NodesWork::GetAnswer(std::size_t index) {
    const PlainLock_t lock(mutex);
    return nodes[index].answer;
}

}  // namespace lumtools
