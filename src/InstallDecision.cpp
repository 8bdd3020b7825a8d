// Which policy an array installs: what the options make of it, and whether it may replace what stands there.
#include <utility>

#include "Exceptions.h"
#include "InstallOptionsImpl.h"
#include "InstallTask.h"
#include "LumPalConfig.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyForwarder.h"
#include "PolicyOperation.h"
#include "Selection.h"
#include "SharedDataFiles.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

void SetEnabled(PolicyHeaderImpl& header, bool enabled) {
    enabled ? header.SetEnabled() : header.SetDisabled();
}

}  // namespace

void InstallTask::ApplyOptions() {
    ApplyOwner();
    ApplyStatus();
    ApplyCategories();
    ApplyAttributes();
}

void InstallTask::ApplyOwner() {
    if (options.GetRemoveOwner()) {
        newHeader->SetOwner("");
    } else if (options.GetOwner().IsNotEmpty()) {
        newHeader->SetOwner(options.GetOwner());
    }
}

void InstallTask::ApplyStatus() {
    const int state = options.GetState();
    if (state == 0 || state == 1) SetEnabled(*newHeader, state == 1);
}

void InstallTask::ApplyCategories() {
    if (options.GetRemoveAllCategories()) {
        newHeader->RemoveAllCategories();
    } else {
        newHeader->RemoveCategories(HashedTexts<String_t>(options.GetRemoveCategories()));
    }
    for (const String_t& category : options.GetAddCategories()) newHeader->SetCategory(category);
}

void InstallTask::ApplyAttributes() {
    if (options.GetRemoveAllAttributes()) {
        newHeader->RemoveAllAttributes();
    } else {
        newHeader->RemoveAttributes(options.GetRemoveAttributes());
    }
    for (const auto& [name, value] : options.GetAddAttributes()) newHeader->SetAttribute(name, value);
}

void InstallTask::FindInstalled() {
    const auto cache = operation.Cache();
    installedHeader = cache->Find(newHeader->GetContainerId());
    if (!installedHeader) {
        // The same policy may have been built anew, under another id.
        installedHeader = cache->Find(newHeader->GetName(), newHeader->GetTypeName());
        if (installedHeader) installedPolicyId = installedHeader->GetContainerId();
    }
    if (installedHeader) installedTypeName = installedHeader->GetTypeName();
}

// A policy that is found by its id may bring the name of another one, whose place it then takes too.
InstallTask::HeaderPtr InstallTask::FindDisplaced() const {
    HeaderPtr named = operation.Cache()->FindDisplacedBy(*newHeader);
    return named.Get() == installedHeader.Get() ? HeaderPtr() : named;
}

void InstallTask::Decide() {
    if (!installedHeader) {
        DecideNew();
    } else if (!options.GetForceAll()) {
        DecideUpdate();
    }
    newHeader->Compact();
}

void InstallTask::CheckSharedDataFiles() const {
    SharedDataFiles::CheckInstall(*operation.Cache(), *newHeader, installedHeader.Get(), options);
}

void InstallTask::DecideUpdate() {
    CheckType();
    CheckOwner();
    CheckVersion();
    TakeOverStatus();
    TakeOverCategories();
    TakeOverAttributes();
}

void InstallTask::CheckType() const {
    const String_t type = newHeader->GetTypeName();
    if (type == installedTypeName) return;
    Raise<PolicyException>(msg::InstalledWithOtherType, newHeader->GetContainerId(), Shown(newHeader->GetName()), type,
                           installedTypeName);
}

void InstallTask::CheckOwner() const {
    CheckOwnerOf(*installedHeader);
    if (const HeaderPtr displaced = FindDisplaced()) CheckOwnerOf(*displaced);
}

void InstallTask::CheckOwnerOf(const PolicyHeaderImpl& replaced) const {
    const String_t owner = newHeader->GetOwner();
    const String_t installedOwner = replaced.GetOwner();
    if (options.GetForceOwner() || installedOwner.IsEmpty() || owner == installedOwner) return;
    Raise<PolicyOwnerError>(msg::OwnerDoesNotMatch, Shown(owner), Shown(installedOwner), replaced.GetTypeName(),
                            Shown(replaced.GetName()));
}

void InstallTask::CheckVersion() const {
    const String_t version = newHeader->GetVersion();
    const String_t installedVersion = installedHeader->GetVersion();
    // Kept: versions are texts, so that "10" is below "9"; and this message has the name before the type.
    if (!options.GetCheckVersion() || version > installedVersion) return;
    Raise<PolicyVersionError>(msg::VersionNotHigher, Shown(version), Shown(installedVersion),
                              Shown(installedHeader->GetName()), installedTypeName);
}

void InstallTask::TakeOverStatus() {
    SetEnabled(*newHeader, options.GetForceState() ? options.GetState() == 1 : installedHeader->IsEnabled());
}

void InstallTask::TakeOverCategories() {
    std::vector<String_t> categories = installedHeader->Snapshot().categories;
    if (options.GetForceCat() || categories.empty()) return;
    newHeader->ReplaceCategories(std::move(categories));
}

void InstallTask::TakeOverAttributes() {
    auto attributes = installedHeader->Snapshot().attributes;
    if (options.GetForceAttr() || attributes.empty()) return;
    newHeader->ReplaceAttributes(std::move(attributes));
}

void InstallTask::DecideNew() {
    if (!IsTypeLimited()) return;
    const String_t type = newHeader->GetTypeName();
    if (!operation.IsPolicyTypeNameInstalled(type)) return;
    if (!options.GetForceAll()) Raise<NoMultiplePoliciesException>(msg::TypeLimitedToOnePolicy, type);
    RemoveWholeType();
}

// Kept: the list is searched as one text, so that an entry that merely contains the type's name limits the type too.
bool InstallTask::IsTypeLimited() const {
    const auto configuration = LumPalConfig::ConfigNamespace_t(names::NsConfServer).Open();
    const String_t limited = configuration.GetValue(names::NoMultiplePoliciesKey);
    return limited.Find(newHeader->GetTypeName()) < LumPalStr::NotFound;
}

void InstallTask::RemoveWholeType() {
    const String_t type = newHeader->GetTypeName();
    // A type that is limited to one policy has one: to select it by its type would walk over those of all types, for
    // each policy of a package.
    const String_t only = operation.Cache()->OnlyIdOfType(type);
    try {
        // An install that has begun is finished.
        operation.RemoveSelected(originator,
                                 only.IsEmpty() ? Selection().SetPolicyTypeName(type) : Selection().SetPolicyId(only),
                                 PolicyForwarder::Options(), PolicyOperation::AtStop::GoOn);
    } catch (const NoPoliciesInstalledError&) {
    } catch (const PolicyNotFoundError&) {
    }
}

}  // namespace LumConf
