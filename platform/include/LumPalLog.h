/// @file
/// The application log and log files of one's own.
#pragma once

#include <memory>

#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumPalLog {

/// Options of a log and of a write.
enum LogOptions_e : unsigned {
    None = 0,
    Rotate = 4,        ///< rotate by size
    PrivateMode = 16,  ///< readable by the owner and group alone
    AppLog = 128       ///< a write to the application log: with details of every level
};

/// One line per message: local time (ISO 8601), severity, text; control characters are escaped,
/// each line is appended in one write. Any thread. A handle; undefined when it could not be opened.
class LUMPAL_API Log_t {
public:
    Log_t();
    /// Opens `directory`/`name` for appending. A failure leaves the log undefined and is said in the application log.
    Log_t(const LumPalStr::String_t& directory, const LumPalStr::String_t& name, const LumPalStr::String_t& component,
          unsigned options);
    bool IsDefined() const noexcept;
    void Write(const LumPalMsg::MessageList_t& messages, unsigned options);

    struct Impl;
    explicit Log_t(std::shared_ptr<Impl> impl);

private:
    std::shared_ptr<Impl> impl;
};

/// The process's log: standard error, and a rotated file once SetApplicationLogFile was called.
LUMPAL_API Log_t& GetApplicationLog();
LUMPAL_API void SetApplicationLogFile(const LumPalStr::String_t& path);
/// Writes to the application log with option 128.
LUMPAL_API void Log(const LumPalMsg::MessageList_t& messages);

}  // namespace LumPalLog
