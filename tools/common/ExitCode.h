/// @file
/// What the client tools end with; scripts rely on the numbers.
#pragma once

namespace lumtools {

enum ExitCode {
    kDone = 0,
    kFailed = 1,
    kWrongUsage = 2,
    kNothingToDo = 3,
    kNotFound = 4,     ///< no policy is installed, or none matches
    kRefused = 5,      ///< the caller has no right, or the node's rules for owner and version forbid it
    kUnreachable = 6,  ///< the node could not be asked
    kUntold = 7,       ///< done, but not every consumer could be notified
    kSomeFailed = 8,   ///< of many nodes some were asked in vain
    // As a shell calls the end by the signal.
    kInterrupted = 130,  ///< the user ended it (SIGINT) before all was known
    kTerminated = 143    ///< likewise by SIGTERM
};

}  // namespace lumtools
