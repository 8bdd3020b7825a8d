/// @file
/// What has changed in the installed policies, until their consumers are notified.
#pragma once

#include <atomic>
#include <initializer_list>
#include <set>

#include "LumPalConfig.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "LumPalThread.h"
#include "NotifyEntries.h"
#include "PolicyJob.h"

namespace LumConf {

/// Collects changes, folds those that contradict each other, and notifies the control service: one trigger for each
/// policy type and kind of change, with the ids of all its policies. Policies of the type "configsettings" become jobs
/// instead. What is not sent stays for the next send.
///
/// No lock: used under the mutex of the policy operations alone, which is held while consumers are notified.
class NotifyStore {
public:
    /// Kinds of changes.
    enum Kind : int { Install = 1, Enable = 2, Disable = 3, Remove = 4 };

    /// Holds the live value of ASYNC_CONTROL_NOTIFY. Any thread.
    class ConfigHandler final : public LumPalConfig::ConfigChangeHandler_i {
    public:
        explicit ConfigHandler(const LumPalConfig::ConfigNamespace_t& nameSpace);
        ConfigHandler(const ConfigHandler&) = delete;
        ConfigHandler& operator=(const ConfigHandler&) = delete;
        ~ConfigHandler() override;
        void Update(const LumPalConfig::ChangedConfiguration_t& changes,
                    const LumPalConfig::Configuration_t& configuration) override;
        bool IsAsynchronous() const noexcept { return asynchronous; }

    private:
        LumPalConfig::ConfigNamespace_t nameSpace;
        // unmarked: held while the value is taken up, so that an older one never comes last; readers take the atomic
        LumPalThread::Mutex_t mutex;
        std::atomic<bool> asynchronous;
    };

    /// @param jobs  takes what became of settings policies
    explicit NotifyStore(JobSink jobs);

    /// The last install or remove of a policy wins over everything before it; beside one that waits, an enable or a
    /// disable is dropped; of enable and disable the last one wins.
    void AddInstall(const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    void AddEnable(const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    void AddDisable(const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    void AddRemove(const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    /// @throws LumPalMsg::IllegalStateError_t NotificationParameterWrong for a number that is no kind
    void Insert(Kind kind, const LumPalStr::String_t& type, const LumPalStr::String_t& id);

    /// A type got its first policy, or lost its last one. They go out with the next install or remove of the type. Of
    /// a type that did both before anything was sent neither is sent: its consumer is where it was.
    void AddFirstPolicy(const LumPalStr::String_t& type);
    void AddLastPolicy(const LumPalStr::String_t& type);

    /// Notifies of everything: installs, enables, disables, removes. All is tried and nothing is kept for a second try.
    /// @throws LumCtrl::ControlException NotificationsNotSent with a detail for each failed trigger of an install;
    ///         those of other kinds are only traced
    void Send();
    /// Notifies of enables and disables only.
    void SendEnableDisable();

    /// Whether the last trigger of an install went out without waiting for its consumers.
    bool WasAsynchronous() const noexcept { return asynchronous; }

private:
    using Types = std::set<LumPalStr::String_t>;

    NotifyEntries& EntriesOf(Kind kind);
    void NoteQueued() const noexcept;
    void EraseElsewhere(Kind kind, const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    void SendKinds(std::initializer_list<Kind> kinds);
    void SendKind(Kind kind);
    void SendType(Kind kind, const NotifyEntries::OfType& entries);
    void SendListed(Types& types, const char* keyword, const LumPalStr::String_t& type);
    void Trigger(const LumPalStr::String_t& event, const LumPalStr::String_t& value);
    void Notify(const LumPalStr::String_t& event, const LumPalStr::String_t& value, bool failuresCount);

    NotifyEntries installs, enables, disables, removes;
    Types firstPolicies, lastPolicies;
    bool asynchronous;
    const JobSink jobs;
    LumPalMsg::MessageList_t messages;
    ConfigHandler configHandler;
};

}  // namespace LumConf
