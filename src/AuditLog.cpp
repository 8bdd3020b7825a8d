#include "AuditLog.h"

#include "FirstReading.h"
#include "LumPalMetrics.h"
#include "LumPalThread.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

namespace {

/// The messages of one mode: for a success and for a failure.
template <unsigned Holes>
struct ModeRow {
    AuditLog::Mode mode;
    const MessageOf<Holes>& success;
    const MessageOf<Holes>& failure;
};

const ModeRow<3> kPolicyRows[] = {
    {AuditLog::Install, msg::AuditPolicyInstalled, msg::AuditPolicyInstallFailed},
    {AuditLog::Remove, msg::AuditPolicyRemoved, msg::AuditPolicyRemoveFailed},
    {AuditLog::Enable, msg::AuditPolicyEnabled, msg::AuditPolicyEnableFailed},
    {AuditLog::Disable, msg::AuditPolicyDisabled, msg::AuditPolicyDisableFailed},
    {AuditLog::Owner, msg::AuditPolicyOwner, msg::AuditPolicyOwnerFailed},
    {AuditLog::Category, msg::AuditPolicyCategory, msg::AuditPolicyCategoryFailed},
    {AuditLog::Attribute, msg::AuditPolicyAttribute, msg::AuditPolicyAttributeFailed},
};

const ModeRow<1> kOperationRows[] = {
    {AuditLog::Install, msg::AuditInstall, msg::AuditInstallFailed},
    {AuditLog::Remove, msg::AuditRemove, msg::AuditRemoveFailed},
    {AuditLog::Enable, msg::AuditEnable, msg::AuditEnableFailed},
    {AuditLog::Disable, msg::AuditDisable, msg::AuditDisableFailed},
    {AuditLog::Notify, msg::AuditNotify, msg::AuditNotifyFailed},
    {AuditLog::List, msg::AuditList, msg::AuditListFailed},
    {AuditLog::Owner, msg::AuditOwner, msg::AuditOwnerFailed},
    {AuditLog::Category, msg::AuditCategory, msg::AuditCategoryFailed},
    {AuditLog::Attribute, msg::AuditAttribute, msg::AuditAttributeFailed},
    {AuditLog::Reinit, msg::AuditReinit, msg::AuditReinitFailed},
    {AuditLog::ConfigSet, msg::AuditConfigSet, msg::AuditConfigSetFailed},
    {AuditLog::ConfigGet, msg::AuditConfigGet, msg::AuditConfigGetFailed},
    {AuditLog::ConfigClear, msg::AuditConfigClear, msg::AuditConfigClearFailed},
};

template <unsigned Holes, std::size_t Rows, class... Args>
LumPalMsg::Message_t MessageFor(const ModeRow<Holes> (&rows)[Rows], AuditLog::Mode mode, AuditLog::Outcome outcome,
                                const Args&... args) {
    for (const ModeRow<Holes>& row : rows) {
        if (row.mode == mode) return Make(outcome == AuditLog::Outcome::Success ? row.success : row.failure, args...);
    }
    return {};
}

// Kept: the mode is read in lower case at the start and in upper case on a change; operators rely on both.
constexpr const char* kFailureAtStart = "failure";
constexpr const char* kAllAtStart = "all";
constexpr const char* kFailureOnChange = "FAILURE";

bool ReadFailureOnlyAtStart(const Configuration_t& configuration) {
    String_t mode = configuration.GetValue(names::AuditLogModeKey);
    if (mode == kFailureAtStart) return true;
    if (mode != kAllAtStart) LUMCONF_TRACE(trace::Policy, "audit log mode '" + mode + "' is unknown, 'all' is used");
    return false;
}

constexpr unsigned kLogOptions = LumPalLog::Rotate | LumPalLog::PrivateMode;

}  // namespace

AuditChangeHandler::AuditChangeHandler() : nameSpace(names::NsConfServer) {}

AuditChangeHandler::~AuditChangeHandler() {
    Unfollow();
}

void AuditChangeHandler::Follow() {
    RegisterAndRead(nameSpace, *this, mutex, [this] { Read(); });
}

void AuditChangeHandler::Unfollow() {
    nameSpace.Unregister(*this);
}

void AuditChangeHandler::Read() {
    const Configuration_t configuration = nameSpace.Open();
    enabled = configuration.GetBool(names::AuditLoggingKey);
    failureOnly = ReadFailureOnlyAtStart(configuration);
}

void AuditChangeHandler::Update(const LumPalConfig::ChangedConfiguration_t& changes,
                                const Configuration_t& configuration) {
    const MutexLock_t lock(mutex);
    if (changes.HasChanged(names::AuditLoggingKey)) enabled = configuration.GetBool(names::AuditLoggingKey);
    if (changes.HasChanged(names::AuditLogModeKey)) {
        failureOnly = configuration.GetValue(names::AuditLogModeKey) == kFailureOnChange;
    }
}

LumPalThread::Mutex_t& AuditLog::FileMutex() {
    static LumPalThread::Mutex_t& mutex = *new LumPalThread::Mutex_t;  // never destroyed: as the instance
    return mutex;
}

AuditLog& AuditLog::GetInstance() {
    MutexLock_t lock(FileMutex());
    static AuditLog& instance = *new AuditLog;  // never destroyed: calls may outlive statics
    return instance;
}

AuditLog::AuditLog() {
    Follow();
    log = LumPalLog::Log_t(paths::AuditLogDirectory(), names::AuditLogName, names::ServerComponent, kLogOptions);
}

AuditLog::~AuditLog() {
    Unfollow();
}

bool AuditLog::IsWanted(AuditChoices choices, const String_t& originator, Outcome outcome) {
    if (!choices.enabled || (choices.failureOnly && outcome == Outcome::Success)) return false;
    return originator != names::NsConfCluster;
}

void AuditLog::Log(const String_t& originator, const String_t& name, const String_t& id, Mode mode, Outcome outcome) {
    if (!IsWanted(GetChoices(), originator, outcome)) return;
    Write(MessageFor(kPolicyRows, mode, outcome, Shown(name), Shown(id), originator));
}

void AuditLog::Log(const String_t& originator, Mode mode, Outcome outcome) {
    if (IsWanted(GetChoices(), originator, outcome)) Write(MessageFor(kOperationRows, mode, outcome, originator));
}

void AuditLog::Log(const String_t& originator, Mode mode, Outcome outcome, AuditChoices before,
                   const std::function<LumPalMsg::Message_t()>& more) {
    if (!IsWanted(before, originator, outcome) && !IsWanted(GetChoices(), originator, outcome)) return;
    LumPalMsg::MessageList_t lines = MessageFor(kOperationRows, mode, outcome, originator);
    lines.Add(more());
    Write(lines);
}

void AuditLog::LogAuthorizationError(const String_t& originator, const String_t& method) {
    static LumPalMetrics::Counter_t refused("lumconf_refused_total",
                                            "Calls of systems without the right, by operation.");
    LumPalMetrics::Guarded([&] { refused.Add({{"operation", method.ToUtf8()}}); });
    if (!IsEnabled()) return;
    if (originator.IsEmpty()) return strangers.Refuse(method);
    Write(Make(msg::AuditNotAuthorized, originator, method));
}

void AuditLog::Write(const LumPalMsg::MessageList_t& lines) {
    MutexLock_t lock(FileMutex());
    if (log.IsDefined()) {
        log.Write(lines, LumPalLog::None);
    } else {
        LUMCONF_TRACE(trace::Policy, "no audit log: " + lines.Format(LumPalMsg::BareText));
    }
}

}  // namespace LumConf
