#include "PolicyContainerImpl.h"

#include <iterator>

#include "AttributeCheck.h"
#include "Exceptions.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyListFile.h"
#include "PolicyLoader.h"
#include "StringList.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;
using HeaderPtr = PolicyContainerImpl::HeaderPtr;

namespace {

/// What a policy is found by beside its id.
String_t NameKey(const String_t& name, const String_t& type) {
    const String_t foldedType = type.ToLower();
    String_t key;
    key.Reserve(name.GetLength() + 1 + foldedType.GetLength());  // names may be long: no copy on the way
    return key.Append(name).Append(u"=", 1).Append(foldedType);
}

}  // namespace

int PolicyContainerImpl::CheckPolicy(const PolicyContainer::Options& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyContainer::CheckPolicy");
    return PolicyLoader(*this, options).Load();
}

int PolicyContainerImpl::CheckPolicy(const String_t& ids) {
    int count = 0;
    for (const String_t& id : GetVectorFromString(ids.ToLower()))
        count += CheckPolicy(PolicyContainer::Options().SetPolicyId(id));
    return count;
}

int PolicyContainerImpl::GetCount() const {
    const std::lock_guard lock(mutex);
    return static_cast<int>(policies.size());
}

bool PolicyContainerImpl::IsEmpty() const {
    return GetCount() == 0;
}

bool PolicyContainerImpl::HasTypeName(const String_t& typeName) const {
    const std::lock_guard lock(mutex);
    return typeCounts.find(typeName) != typeCounts.end();
}

HeaderPtr PolicyContainerImpl::GetPolicyHeader(int position) const {
    {
        const std::lock_guard lock(mutex);
        if (position >= 0 && static_cast<std::size_t>(position) < policies.size()) {
            RefreshIndexLocked();
            return HeaderPtr(index[static_cast<std::size_t>(position)]);
        }
    }
    Raise<LumPalMsg::IllegalArgumentError_t>(msg::PolicyHeaderIndex, position);
}

void PolicyContainerImpl::RefreshIndexLocked() const {
    if (indexValid) return;
    index.clear();
    index.reserve(policies.size());
    for (const auto& [id, entry] : policies) index.push_back(entry.header.Get());
    indexValid = true;
}

HeaderPtr PolicyContainerImpl::Find(const String_t& id) const {
    const std::lock_guard lock(mutex);
    const auto found = policies.find(id);
    return found == policies.end() ? HeaderPtr() : found->second.header;
}

HeaderPtr PolicyContainerImpl::GetPolicyHeader(const String_t& id) const {
    const String_t folded = id.ToLower();
    HeaderPtr header = Find(folded);
    if (!header) Raise<PolicyNotFoundError>(msg::PolicyIdNotInCache, folded);
    return header;
}

/// The id that a name and a type stand for, whether or not it is still there.
String_t PolicyContainerImpl::IdOf(const String_t& name, const String_t& type) const {
    CheckAttribute(name);
    CheckAttribute(type);
    {
        const std::lock_guard lock(mutex);
        const auto found = nameToId.find(NameKey(name, type));
        if (found != nameToId.end()) return found->second;
    }
    Raise<PolicyNotFoundError>(msg::PolicyNameNotInCache, name, type);
}

HeaderPtr PolicyContainerImpl::GetPolicyHeader(const String_t& name, const String_t& type) const {
    return GetPolicyHeader(IdOf(name, type));
}

void PolicyContainerImpl::Insert(PolicyHeaderImpl* newcomer) {
    if (!newcomer) Raise<LumPalMsg::IllegalArgumentError_t>(msg::InsertNullHeader);
    const HeaderPtr header(newcomer);
    header->SetDataReadAllowed(true);
    const PolicyKeys keys = header->GetKeys();
    const String_t key = NameKey(keys.name, keys.typeName);

    HeaderPtr sameId, sameKey;  // the replaced ones go when the mutex is free again
    const std::lock_guard lock(mutex);
    // One search each: what stands at the place goes, and the newcomer takes it.
    auto named = nameToId.lower_bound(key);
    if (named != nameToId.end() && named->first == key) {
        sameKey = EraseLocked(policies.find(named->second));
        named = nameToId.erase(named);
    }
    nameToId.emplace_hint(named, key, keys.containerId);
    auto position = policies.lower_bound(keys.containerId);
    if (position != policies.end() && position->first == keys.containerId) {
        const auto next = std::next(position);
        sameId = EraseLocked(position);
        position = next;
    }
    Entry entry{header, CountTypeLocked(keys.typeName), {}};
    const auto place = policies.emplace_hint(position, keys.containerId, std::move(entry));
    indexValid = false;
    if (filesIndexed) files.Add(header.Get(), place->second.files);
}

/// One more header of the type. @return the type's name, as all its headers share it
String_t PolicyContainerImpl::CountTypeLocked(const String_t& typeName) {
    const auto counted = typeCounts.try_emplace(typeName, 0).first;
    ++counted->second;
    return counted->first;
}

/// @return the header that is out now, or null
HeaderPtr PolicyContainerImpl::EraseLocked(Policies::iterator position) {
    if (position == policies.end()) return {};
    const auto counted = typeCounts.find(position->second.typeName);
    if (--counted->second == 0) typeCounts.erase(counted);
    files.Remove(position->second.files);
    HeaderPtr header = std::move(position->second.header);
    policies.erase(position);
    indexValid = false;
    return header;
}

HeaderPtr PolicyContainerImpl::FindNaming(const String_t& typeName, const String_t& file, const Accept& accept) {
    const std::lock_guard lock(mutex);
    IndexFilesLocked();
    HeaderPtr found;
    files.Visit(typeName, file, [&](PolicyHeaderImpl& header) {
        if (accept(header)) found = HeaderPtr(&header);
        return !found;
    });
    return found;
}

LumPalPtr::RefPtr_t<PolicyContainerImpl> PolicyContainerImpl::Naming(const std::vector<String_t>& names) {
    LumPalPtr::RefPtr_t<PolicyContainerImpl> naming(new PolicyContainerImpl);
    for (const HeaderPtr& header : AllNaming(names)) naming->Insert(header.Get());
    return naming;
}

std::vector<HeaderPtr> PolicyContainerImpl::AllNaming(const std::vector<String_t>& names) {
    const std::lock_guard lock(mutex);
    IndexFilesLocked();
    std::vector<HeaderPtr> naming;
    for (const String_t& name : names) {
        files.VisitAllTypes(name, [&naming](PolicyHeaderImpl& header) {
            naming.emplace_back(&header);
            return true;
        });
    }
    return naming;
}

void PolicyContainerImpl::IndexFilesLocked() {
    if (filesIndexed) return;
    for (auto& [id, entry] : policies) files.Add(entry.header.Get(), entry.files);
    filesIndexed = true;
}

void PolicyContainerImpl::SetStatus(const String_t& ids, bool enabled) {
    LumPalMsg::MessageList_t missing;
    for (const String_t& id : GetVectorFromString(ids.ToLower())) {
        const HeaderPtr header = Find(id);
        if (!header)
            missing.Add(Make(msg::StatusPolicyNotInCache, id, enabled ? names::StatusEnabled : names::StatusDisabled));
        else if (enabled)
            header->SetEnabled();
        else
            header->SetDisabled();
    }
    if (missing.GetMessageCount() > 0) throw PolicyNotFoundError(missing);
}

void PolicyContainerImpl::Enable(const String_t& ids) {
    SetStatus(ids, true);
}
void PolicyContainerImpl::Disable(const String_t& ids) {
    SetStatus(ids, false);
}
void PolicyContainerImpl::Enable(const String_t& name, const String_t& type) {
    SetStatus(IdOf(name, type), true);
}
void PolicyContainerImpl::Disable(const String_t& name, const String_t& type) {
    SetStatus(IdOf(name, type), false);
}
void PolicyContainerImpl::Remove(const String_t& name, const String_t& type) {
    Remove(IdOf(name, type));
}

void PolicyContainerImpl::Remove(const String_t& ids) {
    LumPalMsg::MessageList_t missing;
    for (const String_t& id : GetVectorFromString(ids.ToLower())) {
        if (!Erase(id)) missing.Add(Make(msg::RemovePolicyNotInCache, id));
    }
    if (missing.GetMessageCount() > 0) throw PolicyNotFoundError(missing);
}

bool PolicyContainerImpl::Erase(const String_t& id) {
    HeaderPtr header;
    const std::lock_guard lock(mutex);
    header = EraseLocked(policies.find(id));
    if (!header) return false;
    const PolicyKeys keys = header->GetKeys();
    nameToId.erase(NameKey(keys.name, keys.typeName));
    return true;
}

void PolicyContainerImpl::Dump(const LumPalIo::File_t& out, const String_t& typeName) {
    LUMCONF_BLOCK(trace::Policy, "PolicyContainer::Dump");
    PolicyListFile::Write(out, typeName);
}

}  // namespace LumConf
