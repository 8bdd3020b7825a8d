// LumPalLog.h: the logs as callers see them.
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <memory>

#include "LogImpl.h"
#include "LumPalConsole.h"
#include "LumPalPlainMutex.h"
#include "OwnLog.h"
#include "WriteError.h"

namespace LumPalLog {

using LumPalMsg::MessageList_t;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kApplicationLogBytes = 10u << 20;

constexpr std::size_t kLastErrors = 10;

/// Remembers what was written last.
class Remembering : public ApplicationLog {
public:
    void Write(const MessageList_t& messages, DetailStyle style) override {
        ApplicationLog::Write(messages, style);
        for (int i = 0; i < messages.GetMessageCount(); ++i) Remember(messages.GetMessage(i));
    }
    std::vector<LoggedError> GetErrors() {
        const LumPalThread::PlainLock_t lock(mutex);
        return {errors.begin(), errors.end()};
    }

private:
    void Remember(const LumPalMsg::Message_t& message) {
        if (message.GetSeverity() != LumPalMsg::Severity_e::Error) return;
        const LumPalThread::PlainLock_t lock(mutex);
        if (errors.size() == kLastErrors) errors.pop_front();
        errors.push_back({std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()), message});
    }

    LumPalThread::PlainMutex_t mutex;
    std::deque<LoggedError> errors LUMPAL_GUARDED_BY(mutex);
};

struct Process {
    std::shared_ptr<Remembering> application = std::make_shared<Remembering>();
    Log_t log{application};
};

Process& TheProcess() {
    static Process& process = *new Process;  // never destroyed: threads log to the end
    return process;
}

}  // namespace

Log_t::Log_t() = default;

Log_t::Log_t(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}

Log_t::Log_t(const String_t& directory, const String_t& name, const String_t& component, unsigned options)
    : impl(OpenOwnLog(directory, name, component, options)) {}

bool Log_t::IsDefined() const noexcept {
    return static_cast<bool>(impl);
}

void Log_t::Write(const MessageList_t& messages, unsigned options) {
    if (!impl) return;
    const DetailStyle style = options & AppLog ? DetailStyle::LineEach : DetailStyle::SameLine;
    if (messages.GetMessageCount() > 0) impl->Write(messages, style);
}

Log_t& GetApplicationLog() {
    return TheProcess().log;
}

void SetApplicationLogFile(const String_t& path) {
    TheProcess().application->SetFile(path, kApplicationLogBytes);
}

void Log(const MessageList_t& messages) {
    GetApplicationLog().Write(messages, AppLog);
}

std::vector<LoggedError> GetLastErrors() {
    return TheProcess().application->GetErrors();
}

void ReportLostLine() noexcept {
    static std::atomic<std::int64_t> nextSecond{0};
    using std::chrono::duration_cast, std::chrono::seconds, std::chrono::steady_clock;
    const std::int64_t now = duration_cast<seconds>(steady_clock::now().time_since_epoch()).count();
    std::int64_t next = nextSecond;
    if (now < next || !nextSecond.compare_exchange_strong(next, now + 1)) return;
    std::string_view line = "<3>A line of the application log is lost: there is no memory for it.\n";
    if (LumPalConsole::JournalMark(LumPalConsole::Priority::Error).empty()) line.remove_prefix(3);
    LumPal::WriteError(line);
}

}  // namespace LumPalLog
