#include "NotifyStore.h"

#include <utility>

#include "FirstReading.h"
#include "LumCtrl.h"
#include "Messages.h"
#include "Names.h"
#include "NodeHealth.h"
#include "StringList.h"
#include "Trace.h"

namespace LumConf {

using LumPalConfig::ConfigNamespace_t;
using LumPalStr::String_t;

namespace {

/// How a kind of change leaves the store.
struct KindRow {
    NotifyStore::Kind kind;
    const char* keyword;
    JobKind job;
};

const KindRow kKinds[] = {
    {NotifyStore::Install, names::EventCheck, JobKind::Install},
    {NotifyStore::Enable, names::EventEnable, JobKind::Enable},
    {NotifyStore::Disable, names::EventDisable, JobKind::Disable},
    {NotifyStore::Remove, names::EventRemove, JobKind::Remove},
};

const KindRow& RowOf(NotifyStore::Kind kind) {
    for (const KindRow& row : kKinds) {
        if (row.kind == kind) return row;
    }
    Raise<LumPalMsg::IllegalStateError_t>(msg::NotificationParameterWrong);
}

bool StartsWith(const String_t& text, const String_t& start) {
    return text.Left(start.GetLength()) == start;
}

LumCtrl::Control::Options MakeOptions(bool asynchronous) {
    LumCtrl::Control::Options options;
    options.SetAsynchronous(asynchronous);
    options.SetTargetID(ConfigNamespace_t(names::NsSecCore).Open().GetAttrValue(names::CoreIdKey));
    return options;
}

}  // namespace

NotifyStore::ConfigHandler::ConfigHandler(const ConfigNamespace_t& ns) : nameSpace(ns), asynchronous(false) {
    RegisterAndRead(nameSpace, *this, mutex,
                    [this] { asynchronous = nameSpace.Open().GetBool(names::AsyncControlNotifyKey); });
}

NotifyStore::ConfigHandler::~ConfigHandler() {
    nameSpace.Unregister(*this);
}

void NotifyStore::ConfigHandler::Update(const LumPalConfig::ChangedConfiguration_t& changes,
                                        const LumPalConfig::Configuration_t& configuration) {
    const LumPalThread::MutexLock_t lock(mutex);
    if (!changes.HasChanged(names::AsyncControlNotifyKey)) return;
    asynchronous = configuration.GetBool(names::AsyncControlNotifyKey);
}

NotifyStore::NotifyStore(JobSink sink)
    : asynchronous(false), jobs(std::move(sink)), configHandler(ConfigNamespace_t(names::NsConfCore)) {
    asynchronous = configHandler.IsAsynchronous();
}

void NotifyStore::AddInstall(const String_t& type, const String_t& id) {
    Insert(Install, type, id);
}

void NotifyStore::AddEnable(const String_t& type, const String_t& id) {
    Insert(Enable, type, id);
}

void NotifyStore::AddDisable(const String_t& type, const String_t& id) {
    Insert(Disable, type, id);
}

void NotifyStore::AddRemove(const String_t& type, const String_t& id) {
    Insert(Remove, type, id);
}

NotifyEntries& NotifyStore::EntriesOf(Kind kind) {
    switch (RowOf(kind).kind) {
        case Install:
            return installs;
        case Enable:
            return enables;
        case Disable:
            return disables;
        case Remove:
            break;
    }
    return removes;
}

void NotifyStore::EraseElsewhere(Kind kind, const String_t& type, const String_t& id) {
    for (const KindRow& row : kKinds) {
        if (row.kind != kind) EntriesOf(row.kind).Erase(type, id);
    }
}

void NotifyStore::Insert(Kind kind, const String_t& type, const String_t& id) {
    NotifyEntries& entries = EntriesOf(kind);
    bool isStatus = kind == Enable || kind == Disable;
    // Who is told of an install or a remove looks at the policy anyway.
    if (isStatus && (installs.Contains(type, id) || removes.Contains(type, id))) return;
    EraseElsewhere(kind, type, id);
    entries.Add(type, id);
    NoteQueued();
}

void NotifyStore::NoteQueued() const noexcept {
    std::size_t count = 0;
    for (const NotifyEntries* entries : {&installs, &enables, &disables, &removes}) count += entries->GetCount();
    NodeHealth::GetInstance().SetQueued(count);
}

void NotifyStore::AddFirstPolicy(const String_t& type) {
    if (lastPolicies.erase(type) == 0) firstPolicies.insert(type);
}

void NotifyStore::AddLastPolicy(const String_t& type) {
    if (firstPolicies.erase(type) == 0) lastPolicies.insert(type);
}

void NotifyStore::Send() {
    SendKinds({Install, Enable, Disable, Remove});
}

void NotifyStore::SendEnableDisable() {
    SendKinds({Enable, Disable});
}

void NotifyStore::SendKinds(std::initializer_list<Kind> kinds) {
    messages.Clear();
    for (Kind kind : kinds) SendKind(kind);
    NoteQueued();
    if (messages.GetMessageCount() > 0) Raise<LumCtrl::ControlException>(msg::NotificationsNotSent, messages);
}

void NotifyStore::SendKind(Kind kind) {
    NotifyEntries& entries = EntriesOf(kind);
    for (const NotifyEntries::OfType& ofType : entries.ByType()) SendType(kind, ofType);
    entries.Clear();
}

void NotifyStore::SendType(Kind kind, const NotifyEntries::OfType& entries) {
    const KindRow& row = RowOf(kind);
    const String_t ids = JoinWithBlanks(entries.ids);
    if (kind == Install) SendListed(firstPolicies, names::EventFirst, entries.type);
    if (entries.type == names::SettingsTypeName) {
        jobs(row.job, ids);
        return;
    }
    Trigger(row.keyword + entries.type, ids);
    if (kind == Remove) SendListed(lastPolicies, names::EventLast, entries.type);
}

/// Tells of a first or a last policy, if the list has the type, and takes it off the list.
void NotifyStore::SendListed(Types& types, const char* keyword, const String_t& type) {
    if (types.erase(type) == 0) return;
    if (type != names::SettingsTypeName) Trigger(keyword + type, "");
}

void NotifyStore::Trigger(const String_t& event, const String_t& value) {
    // Only a consumer that misses a new policy does harm; the others find out by themselves.
    bool failuresCount = StartsWith(event, names::EventCheck);
    if (failuresCount) asynchronous = configHandler.IsAsynchronous();
    Notify(event, value, failuresCount);
}

void NotifyStore::Notify(const String_t& event, const String_t& value, bool failuresCount) {
    const String_t target = "";
    LumPalMsg::Message_t failure;
    try {
        LumCtrl::Control::Notify(event, value, target, MakeOptions(failuresCount ? asynchronous : true));
        return;
    } catch (const LumCtrl::TargetException& e) {
        failure = Make(msg::NoTargetRegistered, target, event, value, e);
    } catch (const LumCtrl::EventException& e) {
        failure = Make(msg::NoComponentRegistered, event, value, e);
    } catch (const LumPalMsg::Exception_t& e) {
        failure = Make(msg::TriggerNotSent, event, value, target, e);
    }
    NodeHealth::GetInstance().NotificationFailed();
    LUMCONF_TRACE(trace::Policy, failure.Format(LumPalMsg::Text | LumPalMsg::Details));
    if (failuresCount) messages.Add(failure);
}

}  // namespace LumConf
