// LumPalLog.h: the logs as callers see them.
#include <atomic>
#include <chrono>
#include <exception>
#include <memory>

#include "LogImpl.h"
#include "OwnLog.h"
#include "WriteError.h"

namespace LumPalLog {

using LumPalMsg::MessageList_t;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kApplicationLogBytes = 10u << 20;

struct Process {
    std::shared_ptr<ApplicationLog> application = std::make_shared<ApplicationLog>();
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

void ReportLostLine() noexcept {
    static std::atomic<std::int64_t> nextSecond{0};
    using std::chrono::duration_cast, std::chrono::seconds, std::chrono::steady_clock;
    const std::int64_t now = duration_cast<seconds>(steady_clock::now().time_since_epoch()).count();
    std::int64_t next = nextSecond;
    if (now < next || !nextSecond.compare_exchange_strong(next, now + 1)) return;
    LumPal::WriteError("A line of the application log is lost: there is no memory for it.\n");
}

}  // namespace LumPalLog
