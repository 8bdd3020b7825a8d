/// @file
/// A command about this node alone.
#pragma once

#include "LumPalMsg.h"
#include "common/Command.h"

namespace lumtools {

/// A command that looks at this node's own files; it asks no node.
class LocalCommand : public Command {
public:
    /// Control characters of the answer's text are replaced.
    ExitCode Run() override;

protected:
    using Command::Command;
    /// Fills the answer in; it may throw what goes wrong.
    virtual void Work(Answer& answer) const = 0;
    /// What was left out, for those who read the answer and for programs.
    void TellProblems(const LumPalMsg::MessageList_t& problems, Answer& answer) const;
};

}  // namespace lumtools
