/// @file
/// What strangers' connections have to do, behind what all others have.
#pragma once

#include <array>
#include <boost/intrusive/slist.hpp>
#include <memory>
#include <utility>

namespace LumVoxMsg {

/// Steps that run one at a time, of one address after another, so that none waits for all of another's. Used by one
/// thread.
class LaterSteps {
public:
    LaterSteps() = default;
    LaterSteps(const LaterSteps&) = delete;
    LaterSteps& operator=(const LaterSteps&) = delete;
    ~LaterSteps() {
        for (Queue& queue : queues) queue.clear_and_dispose(std::default_delete<Step>());
    }
    /// @param place  where it queues up; any number, the same for an address
    /// @throws std::bad_alloc
    template <class Function>
    void Add(std::size_t place, Function function) {
        queues[place % kQueues].push_back(*new StepOf<Function>(std::move(function)));
        ++count;
    }
    bool IsEmpty() const noexcept { return count == 0; }
    /// Runs the first step of the next queue that has one; there is one. What the step throws comes out.
    void RunNext() {
        do next = (next + 1) % kQueues;
        while (queues[next].empty());
        const std::unique_ptr<Step> step(&queues[next].front());
        queues[next].pop_front();
        --count;
        step->Run();
    }

private:
    static constexpr std::size_t kQueues = 64;
    struct Step : boost::intrusive::slist_base_hook<> {
        virtual ~Step() = default;
        virtual void Run() = 0;
    };
    template <class Function>
    struct StepOf final : Step {
        explicit StepOf(Function function) : function(std::move(function)) {}
        void Run() override { function(); }
        Function function;
    };
    using Queue = boost::intrusive::slist<Step, boost::intrusive::cache_last<true>>;

    std::array<Queue, kQueues> queues;
    std::size_t count = 0, next = 0;
};

}  // namespace LumVoxMsg
