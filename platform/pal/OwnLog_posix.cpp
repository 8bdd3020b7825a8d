
#include "AppendFile_posix.h"
#include "LostLines.h"
#include "LumPalIo.h"
#include "LumPalPlainMutex.h"
#include "OwnLog.h"

namespace LumPalLog {

using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kMaxBytes = 10u << 20;
constexpr unsigned kOldFiles = 5;
constexpr char kNotOpened[] = "The log of '%1' could not be opened.";

void LogFailure(const char* text, const String_t& component, const LumPalMsg::Exception_t& reason) {
    CreateError_t message{String_t(text)};
    message << component;
    message.AddDetails(reason.GetMessageList());
    Log(LumPalMsg::MessageList_t(message));
}

AppendFile::Limits LimitsOf(unsigned options) {
    AppendFile::Limits limits;
    limits.mode = options & PrivateMode ? 0640 : 0644;
    if (options & Rotate) {
        limits.maxBytes = kMaxBytes;
        limits.oldFiles = kOldFiles;
    }
    return limits;
}

class OwnLog : public Log_t::Impl {
public:
    OwnLog(const String_t& path, const String_t& component, unsigned options)
        : component(component), file(path.ToUtf8(), LimitsOf(options)) {
        OpenLocked();
    }
    void Write(const LumPalMsg::MessageList_t& messages, DetailStyle style) override {
        const LostLines::Moment now = std::chrono::system_clock::now();
        const std::string lines = LogLines(messages, style, now);
        try {
            const LumPalThread::PlainLock_t lock(mutex);
            AppendLocked(lines, messages.GetMessageCount(), now);
        } catch (const LumPalMsg::Exception_t& e) {
            LogFailure("A line of the log of '%1' was lost.", component, e);
        }
    }

private:
    /// What keeps it from being opened now and may pass costs the lines until then, and they are counted.
    void OpenLocked() LUMPAL_REQUIRES(mutex) {
        try {
            file.Open();
        } catch (const LumPalMsg::Exception_t& e) {
            if (!file.MayOpenLater()) throw;
            LogFailure(kNotOpened, component, e);
        }
    }
    void AppendLocked(const std::string& lines, int count, LostLines::Moment now) LUMPAL_REQUIRES(mutex) {
        try {
            LogWhatIsLostLocked(now);
            file.Append(lines);
        } catch (const LumPalMsg::Exception_t& e) {
            for (int i = 0; i < count; ++i) lost.Add(now, e.GetMessageList());
            throw;
        } catch (...) {
            for (int i = 0; i < count; ++i) lost.Add(now, {});
            throw;
        }
    }
    void LogWhatIsLostLocked(LostLines::Moment now) LUMPAL_REQUIRES(mutex) {
        if (!lost.Any()) return;
        file.Append(LogLines(lost.Notice(), DetailStyle::SameLine, now));
        lost = {};
    }

    const String_t component;
    LumPalThread::PlainMutex_t mutex;
    AppendFile file LUMPAL_GUARDED_BY(mutex);
    LostLines lost LUMPAL_GUARDED_BY(mutex);
};

}  // namespace

std::shared_ptr<Log_t::Impl> OpenOwnLog(const String_t& directory, const String_t& name, const String_t& component,
                                        unsigned options) {
    try {
        return std::make_shared<OwnLog>(LumPalIo::File_t(directory, name).ToString(), component, options);
    } catch (const LumPalMsg::Exception_t& e) {
        LogFailure(kNotOpened, component, e);
        return nullptr;
    }
}

}  // namespace LumPalLog
