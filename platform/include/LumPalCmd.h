/// @file
/// Starting programs.
#pragma once

#include <cstdint>
#include <memory>

#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumPalCmd {

/// Where a standard stream of the child goes.
enum Mode_e { Inherit = 0, Null = 1, Pipe = 2 };

/// A program took longer than its limit.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, TimeLimitException_t, LumPalIo::IOException_t);

/// The process is stopping, and the program was to end with it.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, StoppingException_t, LumPalIo::IOException_t);

/// A started program. A handle; copies mean the same process. Any thread.
///
/// A program whose handle and streams are all gone runs on: its output is read and dropped in the
/// background, so that it never blocks, and its end is collected, so that no zombie remains.
class LUMPAL_API Process_t {
public:
    Process_t() = default;
    /// The output, when it was redirected with Pipe; else a null stream. It ends with the program,
    /// also when a program that this one left running still holds its end. After Close what comes is dropped.
    /// While one of the two is read the other is drained, as by WaitFor, unless somebody reads that too.
    LumPalIo::InputStream_t GetStandardOutput() const;
    LumPalIo::InputStream_t GetStandardError() const;
    /// The input, when it was redirected with Pipe; else a null stream. Writing to a program that
    /// has closed its input throws LumPalIo::IOException_t.
    LumPalIo::OutputStream_t GetStandardInput() const;
    /// Waits for the end; output that nobody reads is drained. The exit code; 128 + n when signal n ended it.
    /// Any number of calls. What was drained can still be read afterwards: 16 MiB of it, a read beyond
    /// that throws LumPalIo::IOException_t. An input that nobody asked for is closed first.
    /// @throws LumPalMsg::IllegalStateError_t for a default-constructed object; LumPalIo::IOException_t
    ///         when the exit code is lost (the host program ignores the ends of its children)
    /// @throws TimeLimitException_t once the program's limit is over; it goes on, and may be ended
    /// @throws StoppingException_t  when the process is stopping and the program is to end with it; likewise
    int WaitFor() const;
    /// Asks the program to end (SIGTERM), one that leads a process group together with that, waits for it as long as is
    /// allowed, and then ends it as End does. Blocks so long.
    void Terminate(std::uint32_t milliseconds) const noexcept;
    /// Ends the program at once (SIGKILL), one that leads a process group together with that. Its output is refused
    /// from then on, and what outlives it and writes gets a broken pipe once the last handle has gone. A program with
    /// another user's rights (started by sudo(8)) cannot be ended. Does nothing after the end was waited for.
    void End() const noexcept;
    /// 0 for a default-constructed object.
    long GetPid() const noexcept;

    struct Impl;
    explicit Process_t(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}

private:
    std::shared_ptr<Impl> impl;
};

/// A command line, split at blanks and tabs; double quotes keep them together, also inside a word,
/// and are taken off; nothing else has a meaning (no shell is involved). Not for several threads at
/// a time; copies share. Streams are inherited unless redirected.
class LUMPAL_API Command_t {
public:
    /// @param line           the words; the first is the program, looked up in this process's PATH
    /// @param searchPath     false: the program must be a path (hold a "/")
    explicit Command_t(const LumPalStr::String_t& line, bool searchPath = true);
    Command_t& RedirectInput(Mode_e mode);
    Command_t& RedirectOutput(Mode_e mode);
    Command_t& RedirectError(Mode_e mode);
    /// Adds to the child's environment, which is this process's otherwise, with LC_ALL=C.
    /// @throws LumPalMsg::IllegalArgumentError_t for a name that is empty or holds "=", and for NUL in either
    Command_t& PutEnv(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// Limits the time of each program that is started from now on; 0, as at first, is without limit. Once it is over,
    /// reading the output and waiting for the end throw TimeLimitException_t. Such a program leads a process group of
    /// its own, so that it can be ended with its children; a terminal's signals for this process don't reach it.
    Command_t& LimitTime(std::uint32_t milliseconds);
    /// Lets each program that is started from now on end with this process: when that is stopping
    /// (LumPalRuntime::SetStopping), reading the output and waiting for the end throw StoppingException_t within a
    /// tenth of a second, and none is started any more. Where signals do not end this process by themselves
    /// (LumPalRuntime::TakesSignals), such a program leads a process group of its own too.
    Command_t& EndOnStop();
    /// Asks each program that is started from now on to end (SIGTERM) when the thread that starts it ends, even by a
    /// kill of this process; where the system has a program that does that (setpriv(1)), elsewhere nothing happens.
    /// What the program starts is not asked.
    Command_t& EndWithParent();
    /// Demands that there is a program that this process may start, without starting it.
    /// @throws LumPalIo::FileNotFoundException_t no such program; LumPalIo::IOException_t none that may be started;
    ///         LumPalMsg::IllegalArgumentError_t as Execute
    void RequireProgram() const;
    /// Starts the program with closed descriptors, default signals (none blocked) and the C locale. May be
    /// called again: each call starts one.
    /// @throws LumPalIo::FileNotFoundException_t no such program; LumPalIo::IOException_t; StoppingException_t;
    ///         LumPalMsg::IllegalArgumentError_t an empty line, an open quote or NUL
    Process_t Execute();

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

}  // namespace LumPalCmd
