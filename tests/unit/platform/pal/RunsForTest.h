/// @file
/// A runnable of a test.
#pragma once

#include <functional>

#include "LumPalThread.h"

namespace LumPalThread {

/// A runnable of two functions.
class Runs : public Runnable_i {
public:
    explicit Runs(std::function<void(const Thread_t&)> run, std::function<void(bool)> done = {})
        : run(std::move(run)), done(std::move(done)) {}
    void Run(const Thread_t& thread) override { run(thread); }
    void Done(bool success) override {
        if (done) done(success);
    }

private:
    std::function<void(const Thread_t&)> run;
    std::function<void(bool)> done;
};

}  // namespace LumPalThread
