/// @file
/// Starting programs.
#pragma once

#include <memory>

#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumPalCmd {

/// Where a standard stream of the child goes.
enum Mode_e { Inherit = 0, Null = 1, Pipe = 2 };

/// A started program. A handle; copies mean the same process. Any thread.
class LUMPAL_API Process_t {
public:
    Process_t() = default;
    /// The output, when it was redirected with Pipe; else a null stream.
    LumPalIo::InputStream_t GetStandardOutput() const;
    LumPalIo::InputStream_t GetStandardError() const;
    LumPalIo::OutputStream_t GetStandardInput() const;
    /// Waits for the end; output that nobody reads is drained. The exit code; 128 + n when signal n ended it.
    /// Any number of calls.
    int WaitFor() const;
    long GetPid() const noexcept;

    struct Impl;
    explicit Process_t(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}

private:
    std::shared_ptr<Impl> impl;
};

/// A command line, split at blanks; double quotes keep blanks together (no shell is involved).
class LUMPAL_API Command_t {
public:
    /// @param line           the words; the first is the program, looked up in PATH
    /// @param searchPath     false: the program must be a path
    explicit Command_t(const LumPalStr::String_t& line, bool searchPath = true);
    Command_t& RedirectInput(Mode_e mode);
    Command_t& RedirectOutput(Mode_e mode);
    Command_t& RedirectError(Mode_e mode);
    Command_t& PutEnv(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// Starts the program with closed descriptors, default signals and the C locale.
    /// @throws LumPalIo::FileNotFoundException_t no such program; LumPalIo::IOException_t;
    ///         LumPalMsg::IllegalArgumentError_t an empty line or an open quote
    Process_t Execute();

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

}  // namespace LumPalCmd
