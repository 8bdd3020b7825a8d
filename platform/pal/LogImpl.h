/// @file
/// The kinds of log behind Log_t.
#pragma once

#include "LogText.h"
#include "LumPalLog.h"

namespace LumPalLog {

class Log_t::Impl {
public:
    virtual ~Impl() = default;
    /// Writes the messages in one piece, between which nothing comes and no file is put aside. Any thread; throws
    /// nothing of its own.
    virtual void Write(const LumPalMsg::MessageList_t& messages, DetailStyle style) = 0;
};

/// Standard error and a rotated file.
class ApplicationLog : public Log_t::Impl {
public:
    ApplicationLog();
    ApplicationLog(const ApplicationLog&) = delete;
    ApplicationLog& operator=(const ApplicationLog&) = delete;
    ~ApplicationLog() override;
    void Write(const LumPalMsg::MessageList_t& messages, DetailStyle style) override;
    /// @param maxBytes  size at which the file is rotated
    void SetFile(const LumPalStr::String_t& path, std::size_t maxBytes);

private:
    void Forget();

    struct Sinks;
    std::unique_ptr<Sinks> sinks;
};

}  // namespace LumPalLog
