/// @file
/// The application log and log files of one's own.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumPalLog {

/// Options of a log (Rotate, PrivateMode; 20 is both) and of a write (AppLog).
enum LogOptions_e : unsigned {
    None = 0,
    Rotate = 4,        ///< a file of 10 MiB becomes NAME.1, that one NAME.2 and so on to NAME.5; else it grows
    PrivateMode = 16,  ///< readable by the owner and group alone (0640); else by everybody (0644)
    AppLog = 128       ///< a write with details of every level below the message, indented, each on its own line
};

/// One line per message: local time (ISO 8601), severity, text, and, without option AppLog, the
/// details of every level behind it, each after " | ":
///
///     2024-02-29T08:05:01.250+01:00 WARNING The outer text. | Why it is so.
///
/// A message without severity shows "-". Control characters (C0, DEL, C1), line and paragraph
/// separators and bidirectional controls of a text are escaped as \xNN and \uNNNN, so that no
/// name forges a line. Each message is appended in one write. Nothing is thrown for a line that
/// cannot be written, as on a full disk: that is logged in the application log, and the next line that
/// can be written stands behind one that tells how many were lost, since when and why:
///
///     2024-02-29T08:07:12.004+01:00 ERROR 3 line(s) of this log were lost since 2024-02-29T08:05:01.250+01:00. | ...
///
/// What arrived of a line that was cut stays on a line of its own. A file that was taken away or
/// renamed by somebody else is made again.
/// Any thread. A handle; undefined when it could not be opened, and then writes nothing.
class LUMPAL_API Log_t {
public:
    Log_t();
    /// Opens `directory`/`name` for appending; a directory that is not there is made. A failure, and
    /// anything there that is no regular file, is logged in the application log. It leaves the log undefined
    /// unless it may pass by itself (no room, a disk that cannot be written, no descriptors): then each
    /// line tries anew, and those until then are lost as above.
    /// @param component  who writes: named in what the application log says about this log
    Log_t(const LumPalStr::String_t& directory, const LumPalStr::String_t& name, const LumPalStr::String_t& component,
          unsigned options);
    bool IsDefined() const noexcept;
    void Write(const LumPalMsg::MessageList_t& messages, unsigned options);

    /// Implemented by each kind of log.
    class Impl;
    explicit Log_t(std::shared_ptr<Impl> impl);

private:
    std::shared_ptr<Impl> impl;
};

/// The process's log: standard error, and a rotated file once SetApplicationLogFile was called.
LUMPAL_API Log_t& GetApplicationLog();
/// Adds the file (10 MiB, 5 older ones beside it, 0640), in place of the one set before; a null or
/// empty path takes it away. A file that cannot be opened is reported on standard error.
LUMPAL_API void SetApplicationLogFile(const LumPalStr::String_t& path);
/// Writes to the application log with option 128. @throws std::bad_alloc alone
LUMPAL_API void Log(const LumPalMsg::MessageList_t& messages);
/// An error that was written to the application log.
struct LoggedError {
    std::int64_t time = 0;  ///< seconds since 1970-01-01T00:00:00Z
    LumPalMsg::Message_t message;
};
/// The last of them, at most ten, the newest last.
LUMPAL_API std::vector<LoggedError> GetLastErrors();
/// Reports on standard error, without taking memory, that a line of the application log is lost: once in a second at
/// most.
LUMPAL_API void ReportLostLine() noexcept;
/// Log, for where memory may be out and nothing may be thrown: in catch clauses that end a thread's work, in
/// destructors.
/// @param make  makes the messages; called at once
template <class Make>
void LogGuarded(Make&& make) noexcept {
    try {
        Log(make());
    } catch (...) {
        ReportLostLine();
    }
}

}  // namespace LumPalLog
