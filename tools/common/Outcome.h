/// @file
/// What came of a request: an exit code, a word for it, and the messages.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "ExitCode.h"
#include "LumPalMsg.h"

namespace lumtools {

/// One line of a failure: how deep it stands below the outer message, and its text.
struct MessageLine {
    int level = 0;
    std::string text;
};

struct Outcome {
    ExitCode code = kDone;
    std::vector<MessageLine> messages;
    bool wasBegun = true;       ///< false: nothing was asked of anybody before it was ended
    unsigned message = 0;       ///< the number of the outer message in the catalogue; 0 for none
    bool isUnanswered = false;  ///< unreachable, but a request was sent: what it asked for may be done

    /// "done", "nothing to do", "not found", "refused", "failed", "unreachable", "done, nobody told", "unknown", "not
    /// asked", "not tried".
    const char* Word() const;
};

/// Runs a request; what it raises becomes the outcome. What fails while this user may not look into the node's folders
/// is refused, and told so. Advice (Advice.h) stands below the messages.
Outcome Attempt(const std::function<void()>& request);

/// Each message of the list with its details below it.
std::vector<MessageLine> LinesOf(const LumPalMsg::MessageList_t& messages);

/// The outer message behind the program's name, and behind "note: " when there was nothing to do, "warning: " when
/// nobody was told; each detail as an item below it, all wrapped at the width of the terminal that standard error goes
/// to. Where std::cerr is the journal each line bears its priority (LumPalConsole::JournalMark).
/// @param where  stands before the text of the outer message; may be empty
void PrintFailure(std::ostream& out, const std::string& where, const Outcome& outcome);
/// In the same form: each outer message is a warning.
void PrintWarnings(std::ostream& out, const LumPalMsg::MessageList_t& messages);

}  // namespace lumtools
