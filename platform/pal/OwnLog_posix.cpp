#include <mutex>

#include "AppendFile_posix.h"
#include "LumPalIo.h"
#include "OwnLog.h"

namespace LumPalLog {

using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kMaxBytes = 10u << 20;
constexpr unsigned kOldFiles = 5;

void SayFailure(const char* text, const String_t& component, const LumPalMsg::Exception_t& reason) {
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
        file.Open();
    }
    void Write(const LumPalMsg::Message_t& message, DetailStyle style) override {
        const std::string lines = LogLines(message, style, std::chrono::system_clock::now());
        try {
            const std::lock_guard lock(mutex);
            file.Append(lines);
        } catch (const LumPalMsg::Exception_t& e) {
            SayFailure("A line of the log of '%1' was lost.", component, e);
        }
    }

private:
    const String_t component;
    std::mutex mutex;  // guards the file
    AppendFile file;
};

}  // namespace

std::shared_ptr<Log_t::Impl> OpenOwnLog(const String_t& directory, const String_t& name, const String_t& component,
                                        unsigned options) {
    try {
        const LumPalIo::File_t folder(directory);
        folder.Mkdirs();  // a failure shows when the file is opened
        return std::make_shared<OwnLog>(LumPalIo::File_t(folder, name).ToString(), component, options);
    } catch (const LumPalMsg::Exception_t& e) {
        SayFailure("The log of '%1' could not be opened.", component, e);
        return nullptr;
    }
}

}  // namespace LumPalLog
