/// @file
/// Asking many nodes at once, and what is known of each of them meanwhile.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "LumPalPlainMutex.h"
#include "common/Command.h"

namespace lumtools {

/// How the work goes from node to node.
struct Rollout {
    std::size_t serial = 0;  ///< so many nodes are a batch: one begins when all before it have answered; 0: one batch
    std::optional<std::size_t> mostFailed;  ///< when more have failed, no further node is asked
};

/// Nodes, each known by its index, and the threads that ask them. Any thread, but for Start and TakeAnswered: one.
class NodesWork {
public:
    using Clock = std::chrono::steady_clock;
    enum class Phase { NotAsked, Asked, Answered };
    struct Asked {
        std::size_t index = 0;
        std::string step;  ///< what it waits for; empty when nobody said
    };

    explicit NodesWork(std::size_t count);
    NodesWork(const NodesWork&) = delete;
    NodesWork& operator=(const NodesWork&) = delete;
    /// Waits for all that were asked.
    ~NodesWork() = default;

    /// Asks the nodes, at most `parallel` at a time. `ask` is called on several threads at once, and must not throw.
    /// Those that the rollout leaves out have answered that they were not tried.
    void Start(int parallel, std::function<Answer(std::size_t index)> ask, const Rollout& rollout = {});
    /// The nodes that have answered since the call before, in the order of their answers. Waits for the first one, but
    /// not longer than given.
    std::vector<std::size_t> TakeAnswered(std::chrono::milliseconds longest);
    /// From now on no node is asked, and what one still says does not count.
    void Close();

    /// What the node waits for from now on.
    void SetStep(std::size_t index, const std::string& step);
    /// Likewise; and as long as there was no other step, the node was only asked, and nothing in it can have changed.
    void SetQuestion(std::size_t index, const std::string& step);
    /// Whether each step of the node was a question; not without any.
    bool WasOnlyAsked(std::size_t index) const;
    /// Adds to what is known of a node that has not answered yet.
    void Add(std::size_t index, const std::function<void(Answer&)>& add);
    /// What was added so far.
    Answer GetAdded(std::size_t index) const;

    Phase GetPhase(std::size_t index) const;
    /// Those that are asked now, the longest first.
    std::vector<Asked> GetAsked() const;
    std::size_t CountAnswered() const;
    /// The answer of a node that has answered; after Close of any node what is known. Stays as long as the object.
    Answer& GetAnswer(std::size_t index);

private:
    struct Node {
        Phase phase = Phase::NotAsked;
        Answer answer;
        std::string step;
        bool wasOnlyAsked = false;
    };

    void Work(const std::function<Answer(std::size_t)>& ask);
    bool Begin(std::size_t& index);
    bool IsHeldUp() const LUMPAL_REQUIRES(mutex);
    void Take(std::size_t index, Answer answer) LUMPAL_REQUIRES(mutex);
    void LeaveOut() LUMPAL_REQUIRES(mutex);
    void End(std::size_t index, Answer answer);

    mutable LumPalThread::PlainMutex_t mutex;
    std::condition_variable changed, freed;
    Rollout rollout LUMPAL_GUARDED_BY(mutex);
    std::size_t failed LUMPAL_GUARDED_BY(mutex) = 0;
    std::vector<Node> nodes LUMPAL_GUARDED_BY(mutex);
    std::vector<std::size_t> answered LUMPAL_GUARDED_BY(mutex);
    std::size_t taken LUMPAL_GUARDED_BY(mutex) = 0;  ///< of those that have answered
    std::size_t next LUMPAL_GUARDED_BY(mutex) = 0;
    bool isClosed LUMPAL_GUARDED_BY(mutex) = false;
    std::vector<std::jthread> threads;  // the last member: they use the others
};

}  // namespace lumtools
