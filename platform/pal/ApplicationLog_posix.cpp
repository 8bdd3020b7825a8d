// ApplicationLog of LogImpl.h: the file and standard error.
#include <optional>

#include "AppendFile_posix.h"
#include "LogImpl.h"
#include "LumPalPlainMutex.h"
#include "WriteError.h"

namespace LumPalLog {

using LumPalStr::String_t;

namespace {

constexpr unsigned kMode = 0640;
constexpr unsigned kOldFiles = 5;

LumPalMsg::CreateError_t Failure(const char* text, const std::exception& reason) {
    LumPalMsg::CreateError_t message{String_t(text)};
    message.AddDetails(LumPalMsg::CreateError_t(String_t::FromUtf8(reason.what())));
    return message;
}

/// On standard error, in the form of whoever reads there.
void Show(const LumPalMsg::MessageList_t& messages, const std::string& lines, DetailStyle style) {
    const std::string journal = JournalLines(messages, style);
    LumPal::WriteError(journal.empty() ? lines : journal);
}

}  // namespace

struct ApplicationLog::Sinks {
    void PutFileLocked(const std::string& lines) LUMPAL_REQUIRES(mutex) {
        try {
            if (file) file->Append(lines);
        } catch (const std::exception& e) {
            const LumPalMsg::MessageList_t failure = Failure("The application log's file could not be written.", e);
            Show(failure, LogLines(failure, DetailStyle::LineEach, std::chrono::system_clock::now()),
                 DetailStyle::LineEach);
        }
    }

    LumPalThread::PlainMutex_t mutex;  // also keeps the two logs in one order
    std::optional<AppendFile> file LUMPAL_GUARDED_BY(mutex);
};

ApplicationLog::ApplicationLog() : sinks(std::make_unique<Sinks>()) {}

ApplicationLog::~ApplicationLog() = default;

void ApplicationLog::Write(const LumPalMsg::MessageList_t& messages, DetailStyle style) {
    const std::string lines = LogLines(messages, style, std::chrono::system_clock::now());
    const LumPalThread::PlainLock_t lock(sinks->mutex);
    Show(messages, lines, style);
    sinks->PutFileLocked(lines);
}

void ApplicationLog::SetFile(const String_t& path, std::size_t maxBytes) {
    try {
        const LumPalThread::PlainLock_t lock(sinks->mutex);
        sinks->file.reset();
        if (path.IsEmpty()) return;
        AppendFile& file = sinks->file.emplace(path.ToUtf8(), AppendFile::Limits{kMode, maxBytes, kOldFiles});
        file.Open();
    } catch (const std::exception& e) {
        Forget();
        Write(Failure("The application log's file could not be opened.", e), DetailStyle::LineEach);
    }
}

/// A file that may be opened later, when there is room or the disk can be written again, is tried with each line.
void ApplicationLog::Forget() {
    const LumPalThread::PlainLock_t lock(sinks->mutex);
    if (sinks->file && !sinks->file->MayOpenLater()) sinks->file.reset();
}

}  // namespace LumPalLog
