#include <fcntl.h>
#include <spdlog/common.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <sys/stat.h>

#include <mutex>

#include "LogImpl.h"
#include "WriteError.h"

namespace LumPalLog {

using LumPalStr::String_t;

namespace {

constexpr std::size_t kOldFiles = 5;

// The library opens files for everybody to read, and for children to inherit.
void ConfineFile(const spdlog::filename_t&, std::FILE* file) {
    fchmod(fileno(file), S_IRUSR | S_IWUSR | S_IRGRP);
    fcntl(fileno(file), F_SETFD, FD_CLOEXEC);
}

spdlog::sink_ptr RotatedFile(const String_t& path, std::size_t maxBytes) {
    spdlog::file_event_handlers handlers;
    handlers.after_open = ConfineFile;
    auto file =
        std::make_shared<spdlog::sinks::rotating_file_sink_st>(path.ToUtf8(), maxBytes, kOldFiles, false, handlers);
    file->set_formatter(std::make_unique<spdlog::pattern_formatter>("%v", spdlog::pattern_time_type::local, ""));
    return file;
}

LumPalMsg::CreateError_t Failure(const char* text, const std::exception& reason) {
    LumPalMsg::CreateError_t message{String_t(text)};
    message.AddDetails(LumPalMsg::CreateError_t(String_t::FromUtf8(reason.what())));
    return message;
}

}  // namespace

struct ApplicationLog::Sinks {
    void PutFile(const std::string& lines) {
        try {
            if (!file) return;
            file->log(spdlog::details::log_msg({}, spdlog::level::info, lines));
            file->flush();
        } catch (const std::exception& e) {
            LumPal::WriteError(LogLines(Failure("The application log's file could not be written.", e),
                                        DetailStyle::LineEach, std::chrono::system_clock::now()));
        }
    }

    std::mutex mutex;  // guards the file, and keeps the two logs in one order
    spdlog::sink_ptr file;
};

ApplicationLog::ApplicationLog() : sinks(std::make_unique<Sinks>()) {}

ApplicationLog::~ApplicationLog() = default;

void ApplicationLog::Write(const LumPalMsg::Message_t& message, DetailStyle style) {
    const std::string lines = LogLines(message, style, std::chrono::system_clock::now());
    const std::lock_guard lock(sinks->mutex);
    LumPal::WriteError(lines);
    sinks->PutFile(lines);
}

void ApplicationLog::SetFile(const String_t& path, std::size_t maxBytes) {
    {
        const std::lock_guard lock(sinks->mutex);
        sinks->file.reset();
    }
    if (path.IsEmpty()) return;
    try {
        spdlog::sink_ptr file = RotatedFile(path, maxBytes);
        const std::lock_guard lock(sinks->mutex);
        sinks->file = std::move(file);
    } catch (const std::exception& e) {
        Write(Failure("The application log's file could not be opened.", e), DetailStyle::LineEach);
    }
}

}  // namespace LumPalLog
