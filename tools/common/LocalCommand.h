/// @file
/// A command about this node alone.
#pragma once

#include "LumPalMsg.h"
#include "common/Command.h"

namespace lumtools {

/// A command that looks at this node's own files; it asks no node.
class LocalCommand : public Command {
public:
    /// Control characters of the answer's text are replaced, unless it is printable.
    ExitCode Run() override;

protected:
    using Command::Command;
    /// Fills the answer in; it may throw what goes wrong.
    virtual void Work(Answer& answer) const = 0;
    /// Whether the text holds no control characters but the colours that it was given.
    virtual bool IsPrintable() const { return false; }
    /// What was left out, for those who read the answer and for programs.
    void TellProblems(const LumPalMsg::MessageList_t& problems, Answer& answer) const;
};

}  // namespace lumtools
