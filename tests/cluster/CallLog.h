/// @file
/// The log of what was run.
#pragma once

#include <string>

#include "Description.h"

namespace sim {

/// A file of JSON objects, one in a line. Locked as long as this lives, so that calls of several processes stand one
/// behind the other.
class CallLog {
public:
    /// @throws std::runtime_error
    explicit CallLog(const std::string& path);
    ~CallLog();
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;

    /// Writes a call down: its words, the user, and what its environment says of language.
    /// @param call  the tool's name without its folder, and its words. @throws std::runtime_error
    void Write(const Words& call);
    /// Writes down that it begins to wait for a file. @throws std::runtime_error
    void WriteWaiting(const Words& call);
    /// How many calls of the log match a pattern, the one that was written last included.
    long Count(const std::string& pattern) const;

private:
    void WriteLine(const std::string& text);

    std::string path;
    int file;
};

/// Whether the words of a call, a blank between them, match a pattern of a shell.
bool Matches(const std::string& pattern, const Words& call);

}  // namespace sim
