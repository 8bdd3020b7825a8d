/// @file
/// The user ends a command that has begun.
#pragma once

namespace lumtools {

/// As long as it lives, the first Ctrl-C (SIGINT) or SIGTERM is noted and ends nothing; the next one ends the process
/// as always. One that the program was started to ignore stays ignored. One at a time.
class Interruption {
public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();
    /// The number of the signal that has come, else 0. Any thread.
    static int GetSignal() noexcept;
};

}  // namespace lumtools
