#include "PolicySettings.h"

#include <utility>

#include "DirectoryImpl.h"
#include "Exceptions.h"
#include "LumPalCfgFile.h"
#include "LumPalDaemon.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "Names.h"
#include "SettingsWriter.h"
#include "StorePaths.h"
#include "StringList.h"
#include "Trace.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalArray::CharArray_t;
using LumPalLog::Log;
using LumPalMsg::Exception_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;

namespace {

void TraceMessage(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Config, message.Format(LumPalMsg::Text | LumPalMsg::Details));
}

/// Thousands of signatures take seconds, and the next start reads all of them anyway.
/// @param complete  out: false when it is given up, as the memory lacks policies then
void GiveUpIfStopping(bool& complete) {
    if (!LumPalRuntime::IsStopping()) return;
    complete = false;
    Raise<RuntimeException_t>(msg::SettingsGivenUp, names::SettingsTypeName);
}

void ReadData(const PolicyHeader& header, int index, CharArray_t& data) {
    header.GetData(index, data);
}

}  // namespace

SettingsSink::~SettingsSink() = default;

SettingsSinkFactory MakePolicySettings() {
    return [] { return std::make_unique<PolicySettings>(); };
}

PolicySettings::PolicySettings() : PolicySettings(PolicyContainer(), ReadData) {}

PolicySettings::PolicySettings(const PolicyContainer& container, SettingsMemory::Reader read)
    : container(container), read(std::move(read)) {}

void PolicySettings::RequireStarted(const char* operation) const {
    if (started) return;
    // Kept: the text has no place for the name, but who translates it may give it one.
    throw LumPalMsg::IllegalStateError_t(MakeUnchecked(msg::SettingsNotStarted) << operation);
}

void PolicySettings::Start() {
    LUMCONF_BLOCK(trace::Config, "PolicySettings::Start");
    started = true;
    complete = false;
    MakeSettingsDirectory();
    ReadStore();
    InitMaps();
    complete = true;
    CreateConfigGroup();
    WriteSettings();
}

void PolicySettings::MakeSettingsDirectory() {
    const LumPalIo::File_t directory = paths::SettingsDirectory();
    if (!DirectoryImpl::MakeDirectory(directory) || !directory.IsDirectory()) {
        Raise<LumPalIo::IOException_t>(msg::DirectoryNotCreated, directory.GetAbsolutePath());
    }
    newSettingsFile = paths::NewSettingsFile();
}

/// A merge of what a failed start left in memory would take the settings of all other policies away. Whoever changed
/// a policy changed the store first, so a start takes the change in too.
bool PolicySettings::StartsAnew() {
    if (complete) return false;
    memory = SettingsMemory();
    container = PolicyContainer();
    Start();
    return true;
}

void PolicySettings::ReadStore() {
    try {
        container.CheckPolicy(PolicyContainer::Options().SetPolicyTypeName(names::SettingsTypeName));
    } catch (const PolicyFileException& e) {
        throw Because<PolicyFileException>(msg::SettingsNotInitialized, names::SettingsTypeName, e);
    }
}

void PolicySettings::InitMaps() {
    RequireStarted("InitMaps");
    int index = 0;
    for (int left = container.GetCount(); left > 0; --left) {
        GiveUpIfStopping(complete);
        index += TakeIn(index);
    }
}

std::optional<PolicyHeader> PolicySettings::HeaderAt(int index) const {
    try {
        return container.GetPolicyHeader(index);
    } catch (const Exception_t& e) {
        Log(Make(msg::SettingsHeaderNotFound, index, e));
        return std::nullopt;
    }
}

/// @return how far it is to the next policy: one that is left out leaves the container too
int PolicySettings::TakeIn(int index) {
    const std::optional<PolicyHeader> header = HeaderAt(index);
    if (!header) return 1;
    memory.Insert(header->GetName(), header->GetContainerId());
    for (int i = 0; i < header->GetDataFileCount(); ++i) {
        if (!TakeInData(i, *header)) return 0;
    }
    return 1;
}

bool PolicySettings::TakeInData(int index, const PolicyHeader& header) {
    try {
        LoadDataFile(index, header);
        return true;
    } catch (const Exception_t& e) {
        Log(Make(msg::SettingsDataNotLoaded, header.GetDataFile(index), header.GetName(), e));
        DeleteId(header.GetContainerId());
        return false;
    }
}

void PolicySettings::LoadDataFile(int index, const PolicyHeader& header) {
    RequireStarted("LoadDataFile");
    try {
        memory.InsertData(header.GetContainerId(), ReadSettingsData(read, header, index));
    } catch (const RuntimeException_t& e) {
        Log(Make(msg::SettingsDataIgnored, header.GetDataFile(index), e));
    }
}

void PolicySettings::Install(const String_t& ids) {
    LUMCONF_BLOCK(trace::Config, "PolicySettings::Install");
    RequireStarted("Install");
    if (StartsAnew()) return;
    DeleteId(ids);
    if (!ReadHeaders(ids)) return;
    const std::vector<String_t> each = GetVectorFromString(ids);
    for (const String_t& id : each) {
        if (each.size() > 1) GiveUpIfStopping(complete);
        if (!InstallOne(id)) return;
    }
    CreateConfigGroup();
    WriteSettings();
}

bool PolicySettings::ReadHeaders(const String_t& ids) {
    try {
        container.CheckPolicy(ids);
        return true;
    } catch (const PolicyFileException& e) {
        Log(Make(msg::SettingsPoliciesNotLoaded, ids, e));
        return false;
    }
}

/// The id may stand for a policy of another type by now: jobs wait, and the store goes on.
PolicyHeader PolicySettings::SettingsHeader(const String_t& id) const {
    const PolicyHeader header = container.GetPolicyHeader(id);
    if (header.GetTypeName() != names::SettingsTypeName) Raise<PolicyNotFoundError>(msg::PolicyIdNotInCache, id);
    return header;
}

bool PolicySettings::InstallOne(const String_t& id) {
    try {
        const PolicyHeader header = SettingsHeader(id);
        memory.Erase(header.GetContainerId());  // a list may name an id twice
        memory.Insert(header.GetName(), header.GetContainerId());
        for (int i = 0; i < header.GetDataFileCount(); ++i) {
            if (!InstallData(i, header)) return false;
        }
        return true;
    } catch (const PolicyNotFoundError& e) {
        Log(Make(msg::SettingsPolicyNotInserted, id, e));
        return false;
    }
}

bool PolicySettings::InstallData(int index, const PolicyHeader& header) {
    try {
        LoadDataFile(index, header);
        return true;
    } catch (const Exception_t& e) {
        Log(Make(msg::SettingsInstallDataNotLoaded, header.GetDataFile(index), header.GetName(), header.GetTypeName(),
                 e));
        DeleteId(header.GetContainerId());
        return false;
    }
}

void PolicySettings::Remove(const String_t& ids) {
    LUMCONF_BLOCK(trace::Config, "PolicySettings::Remove");
    RequireStarted("Remove");
    if (StartsAnew()) return;
    DeleteId(ids);
    CreateConfigGroup();
    WriteSettings();
}

void PolicySettings::DeleteId(const String_t& ids) {
    RequireStarted("DeleteId");
    try {
        container.Remove(ids);
    } catch (const PolicyNotFoundError& e) {
        TraceMessage(Make(msg::SettingsRemoveNotFound, ids, e));
    }
    for (const String_t& id : GetVectorFromString(ids.ToLower())) memory.Erase(id);
}

void PolicySettings::Enable(const String_t& ids) {
    LUMCONF_BLOCK(trace::Config, "PolicySettings::Enable");
    RequireStarted("Enable");
    if (StartsAnew()) return;
    try {
        container.Enable(ids);
    } catch (const PolicyNotFoundError& e) {
        TraceMessage(Make(msg::SettingsEnableNotFound, ids, e));
    }
    CreateConfigGroup();
    WriteSettings();
}

void PolicySettings::Disable(const String_t& ids) {
    LUMCONF_BLOCK(trace::Config, "PolicySettings::Disable");
    RequireStarted("Disable");
    if (StartsAnew()) return;
    try {
        container.Disable(ids);
    } catch (const PolicyNotFoundError& e) {
        // Kept: the text speaks of enabling here too.
        TraceMessage(Make(msg::SettingsEnableNotFound, ids, e));
    }
    CreateConfigGroup();
    WriteSettings();
}

void PolicySettings::CreateConfigGroup() {
    group.Reset();
    try {
        memory.Merge(container, [this](const PolicyHeader& header, const SettingsData& data) {
            LoadSettingsData(header, data, group);
        });
    } catch (const RuntimeException_t& e) {
        Log(e.GetMessageList());
        throw;
    }
}

void PolicySettings::WriteSettings() {
    LUMCONF_TRACE(trace::Config, "the merged settings are written to " + newSettingsFile.GetAbsolutePath());
    try {
        SettingsWriter(String_t(), group).WritePolicySettings();
    } catch (const RuntimeException_t& e) {
        throw Because<RuntimeException_t>(msg::SettingsNotWritten, e);
    }
}

}  // namespace LumConfPar
