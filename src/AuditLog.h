/// @file
/// Who did what to the policies.
#pragma once

#include <atomic>
#include <functional>

#include "LumPalConfig.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "LumPalThread.h"
#include "StrangersLog.h"

namespace LumConf {

/// The choices of the operator at one moment.
struct AuditChoices {
    bool enabled = false, failureOnly = false;
};

/// The choices of the operator: as they are when it begins to follow, and with each change of the configuration.
class AuditChangeHandler : public LumPalConfig::ConfigChangeHandler_i {
public:
    AuditChangeHandler(const AuditChangeHandler&) = delete;
    AuditChangeHandler& operator=(const AuditChangeHandler&) = delete;
    ~AuditChangeHandler() override;
    /// Called on the configuration layer's thread.
    void Update(const LumPalConfig::ChangedConfiguration_t& changes,
                const LumPalConfig::Configuration_t& configuration) override;
    /// Whether lines are written at all.
    bool IsEnabled() const noexcept { return enabled; }
    /// Whether only failures are.
    bool IsFailureOnly() const noexcept { return failureOnly; }

protected:
    AuditChangeHandler();
    /// Reads the choices and subscribes to changes: at the end of the making of the whole object, which changes may
    /// reach from then on. @throws what ConfigNamespace_t::Open throws
    void Follow();
    /// Ends it: at the beginning of the whole object's end.
    void Unfollow();

private:
    void Read();

    LumPalConfig::ConfigNamespace_t nameSpace;
    // unmarked: held while the choices are taken up, so that older ones never come last; readers take the atomics
    LumPalThread::Mutex_t mutex;
    std::atomic<bool> enabled{false};
    std::atomic<bool> failureOnly{false};
};

/// Writes one line for each policy that an operation touched, or for the operation, to "conf.server.audit.log".
/// The operator turns it on (AUDIT_LOGGING) and may limit it to failures (AUDIT_LOG_MODE); operations of the cluster
/// monitor are never written. A log that cannot be opened is only traced; what one that can be has no room for is
/// counted and reported (LumPalLog::Log_t). Any thread; one mutex is held for each line.
class AuditLog final : public AuditChangeHandler {
public:
    using ChangeHandler = AuditChangeHandler;

    /// What was done.
    enum Mode : int {
        Install = 0,
        Remove = 1,
        Enable = 2,
        Disable = 3,
        Notify = 4,
        List = 5,
        Owner = 6,
        Category = 7,
        Attribute = 8,
        Reinit = 9,
        ConfigSet = 10,
        ConfigGet = 11,
        ConfigClear = 12
    };

    /// How it ended.
    enum class Outcome { Success, Failure };

    /// The one log, made at the first call; it lives to the end of the process.
    static AuditLog& GetInstance();
    /// A log of one's own under the present root and configuration; lines of all logs share the mutex.
    AuditLog();
    ~AuditLog() override;

    /// One line on one policy; a mode that is none of a single policy gives an empty line.
    void Log(const LumPalStr::String_t& originator, const LumPalStr::String_t& name, const LumPalStr::String_t& id,
             Mode mode, Outcome outcome);
    /// One line on a whole operation.
    void Log(const LumPalStr::String_t& originator, Mode mode, Outcome outcome);
    /// What an operation that may change the choices takes before it begins.
    AuditChoices GetChoices() const { return {IsEnabled(), IsFailureOnly()}; }
    /// One line on a whole operation, and directly behind it one line more, under the same choices. No other line comes
    /// between them.
    /// @param before  those that held before the operation: what silences the log is written too
    /// @param more    makes it; called when it is written
    void Log(const LumPalStr::String_t& originator, Mode mode, Outcome outcome, AuditChoices before,
             const std::function<LumPalMsg::Message_t()>& more);
    /// One line on a refused call: in failure-only mode too, and for any originator. Those of a caller without an id
    /// are StrangersLog's.
    void LogAuthorizationError(const LumPalStr::String_t& originator, const LumPalStr::String_t& method);

    /// Writes what is counted until now.
    void WriteCounts() { strangers.Finish(); }

private:
    /// Guards the making of the instance and every line of all audit logs. Never destroyed, as the instance is not.
    static LumPalThread::Mutex_t& FileMutex();
    static bool IsWanted(AuditChoices choices, const LumPalStr::String_t& originator, Outcome outcome);
    void Write(const LumPalMsg::MessageList_t& lines);

    StrangersLog strangers;
    LumPalLog::Log_t log LUMPAL_GUARDED_BY(FileMutex());
};

}  // namespace LumConf
