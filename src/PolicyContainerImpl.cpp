#include "PolicyContainerImpl.h"

#include <iterator>
#include <set>

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

/// A string is not copied: an id from outside may be as long as a request.
const String_t& ToString(const String_t& text) {
    return text;
}
String_t ToString(std::u16string_view text) {
    return {text.data(), static_cast<std::uint32_t>(text.size())};
}

std::u16string_view ViewOf(std::u16string_view text) {
    return text;
}
std::u16string_view ViewOf(const String_t& text) {
    return text.View();
}

}  // namespace

int PolicyContainerImpl::CheckPolicy(const PolicyContainer::Options& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyContainer::CheckPolicy");
    return PolicyLoader(*this, options).Load();
}

int PolicyContainerImpl::CheckPolicy(const String_t& ids) {
    LUMCONF_BLOCK(trace::Policy, "PolicyContainer::CheckPolicy");
    return PolicyLoader::LoadIds(*this, GetVectorFromString(ids.ToLower()));
}

int PolicyContainerImpl::GetCount() const {
    const LumPalThread::PlainLock_t lock(mutex);
    return static_cast<int>(policies.size());
}

bool PolicyContainerImpl::IsEmpty() const {
    return GetCount() == 0;
}

PolicyContainerImpl::Counts PolicyContainerImpl::CountByStatus() const {
    std::vector<HeaderPtr> headers;
    {
        const LumPalThread::PlainLock_t lock(mutex);
        headers.reserve(policies.size());
        for (const auto& [id, entry] : policies) headers.push_back(entry.header);
    }
    Counts counts;
    for (const HeaderPtr& header : headers) {
        ++counts.all;
        if (header->IsEnabled()) ++counts.enabled;
        if (header->IsDisabled()) ++counts.disabled;
        if (header->GetMissingDataFileCount() > 0) ++counts.missingFiles;
    }
    return counts;
}

bool PolicyContainerImpl::HasTypeName(const String_t& typeName) const {
    const LumPalThread::PlainLock_t lock(mutex);
    return types.find(typeName) != types.end();
}

String_t PolicyContainerImpl::OnlyIdOfType(const String_t& typeName) const {
    const LumPalThread::PlainLock_t lock(mutex);
    const auto type = types.find(typeName);
    if (type == types.end() || type->second.count != 1) return {};
    const auto newest = policies.find(type->second.newestId);
    return newest != policies.end() && newest->second.typeName == typeName ? newest->first : String_t();
}

HeaderPtr PolicyContainerImpl::GetPolicyHeader(int position) const {
    {
        const LumPalThread::PlainLock_t lock(mutex);
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
    const String_t folded = id.ToLower();
    const LumPalThread::PlainLock_t lock(mutex);
    const auto found = policies.find(folded);
    return found == policies.end() ? HeaderPtr() : found->second.header;
}

HeaderPtr PolicyContainerImpl::Find(const String_t& name, const String_t& type) const {
    const std::optional<String_t> id = FindId(name, type);
    return id ? Find(*id) : HeaderPtr();
}

HeaderPtr PolicyContainerImpl::GetPolicyHeader(const String_t& id) const {
    HeaderPtr header = Find(id);
    if (!header) Raise<PolicyNotFoundError>(msg::PolicyIdNotInCache, id.ToLower());
    return header;
}

/// The id that a name and a type stand for, whether or not it is still there.
std::optional<String_t> PolicyContainerImpl::FindId(const String_t& name, const String_t& type) const {
    CheckAttribute(name);
    CheckAttribute(type);
    const LumPalThread::PlainLock_t lock(mutex);
    const auto found = nameToId.find(NameKey(name, type));
    return found == nameToId.end() ? std::nullopt : std::optional(found->second);
}

String_t PolicyContainerImpl::IdOf(const String_t& name, const String_t& type) const {
    const std::optional<String_t> id = FindId(name, type);
    if (!id) Raise<PolicyNotFoundError>(msg::PolicyNameNotInCache, name, type);
    return *id;
}

HeaderPtr PolicyContainerImpl::GetPolicyHeader(const String_t& name, const String_t& type) const {
    return GetPolicyHeader(IdOf(name, type));
}

HeaderPtr PolicyContainerImpl::FindDisplacedBy(const PolicyHeaderImpl& newcomer) const {
    const PolicyKeys keys = newcomer.GetKeys();
    const LumPalThread::PlainLock_t lock(mutex);
    const auto named = nameToId.find(NameKey(keys.name, keys.typeName));
    if (named == nameToId.end() || named->second == keys.containerId) return {};
    const auto found = policies.find(named->second);
    return found == policies.end() ? HeaderPtr() : found->second.header;
}

void PolicyContainerImpl::Reserve(std::size_t policyCount) {
    const LumPalThread::PlainLock_t lock(mutex);
    nameToId.reserve(policyCount);
}

void PolicyContainerImpl::Insert(PolicyHeaderImpl* newcomer) {
    if (!newcomer) Raise<LumPalMsg::IllegalArgumentError_t>(msg::InsertNullHeader);
    const HeaderPtr header(newcomer);
    header->SetDataReadAllowed(true);
    const PolicyKeys keys = header->GetKeys();
    const String_t key = NameKey(keys.name, keys.typeName);

    HeaderPtr sameId, sameKey;  // the replaced ones go when the mutex is free again
    const LumPalThread::PlainLock_t lock(mutex);
    // One search each: what stands at the place goes, and the newcomer takes it.
    const auto [named, isNew] = nameToId.try_emplace(key, keys.containerId);
    if (!isNew) {
        sameKey = EraseLocked(policies.find(named->second));
        named->second = keys.containerId;
    }
    // Stores and lists come in the order of their ids.
    const bool isLast = policies.empty() || policies.rbegin()->first < keys.containerId;
    auto position = isLast ? policies.end() : policies.lower_bound(keys.containerId);
    if (position != policies.end() && position->first == keys.containerId) {
        const auto next = std::next(position);
        sameId = EraseLocked(position);
        position = next;
    }
    Entry entry{header, CountTypeLocked(keys), {}};
    const auto place = policies.emplace_hint(position, keys.containerId, std::move(entry));
    indexValid = false;
    if (filesIndexed) files.Add(header.Get(), place->second.files);
}

/// One more header of the type. @return the type's name, as all its headers share it
String_t PolicyContainerImpl::CountTypeLocked(const PolicyKeys& keys) {
    const auto type = types.try_emplace(keys.typeName).first;
    ++type->second.count;
    type->second.newestId = keys.containerId;
    return type->first;
}

/// @return the header that is out now, or null
HeaderPtr PolicyContainerImpl::EraseLocked(Policies::iterator position) {
    if (position == policies.end()) return {};
    const auto type = types.find(position->second.typeName);
    if (--type->second.count == 0) types.erase(type);
    files.Remove(position->second.files);
    HeaderPtr header = std::move(position->second.header);
    policies.erase(position);
    indexValid = false;
    return header;
}

HeaderPtr PolicyContainerImpl::FindNaming(const String_t& typeName, const String_t& file, const Accept& accept) {
    const LumPalThread::PlainLock_t lock(mutex);
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
    const LumPalThread::PlainLock_t lock(mutex);
    IndexFilesLocked();
    std::vector<HeaderPtr> naming;
    // A caller may name one file as often as he likes.
    for (const String_t& name : std::set<String_t>(names.begin(), names.end())) {
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

template <class Map>
auto PolicyContainerImpl::FindFrom(Map& map, decltype(map.end()) guess, std::u16string_view id) {
    return guess != map.end() && guess->first.View() == id ? guess : map.find(ToString(id));
}

template <class Ids>
std::vector<HeaderPtr> PolicyContainerImpl::FindEach(const Ids& ids) const {
    std::vector<HeaderPtr> headers(ids.size());
    const LumPalThread::PlainLock_t lock(mutex);
    auto next = policies.end();
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const bool isNext = next != policies.end() && next->first.View() == ViewOf(ids[i]);
        const auto found = isNext ? next : policies.find(ToString(ids[i]));
        if (found == policies.end()) continue;
        headers[i] = found->second.header;
        next = std::next(found);
    }
    return headers;
}

std::vector<HeaderPtr> PolicyContainerImpl::FindAll(const std::vector<String_t>& ids) const {
    return FindEach(ids);
}

void PolicyContainerImpl::SetStatus(const String_t& text, bool enabled) {
    const String_t folded = text.ToLower();
    const std::vector<std::u16string_view> ids = GetViewsFromString(folded);
    const std::vector<HeaderPtr> headers = FindEach(ids);
    LumPalMsg::MessageList_t missing;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (!headers[i]) {
            const char* const status = enabled ? names::StatusEnabled : names::StatusDisabled;
            missing.Add(Make(msg::StatusPolicyNotInCache, ToString(ids[i]), status));
        } else if (enabled) {
            headers[i]->SetEnabled();
        } else {
            headers[i]->SetDisabled();
        }
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

void PolicyContainerImpl::Remove(const String_t& text) {
    std::vector<HeaderPtr> removed;  // they go when the mutex is free again
    std::vector<std::u16string_view> unknown;
    const String_t folded = text.ToLower();
    {
        const LumPalThread::PlainLock_t lock(mutex);
        auto next = policies.end();
        for (const std::u16string_view id : GetViewsFromString(folded)) {
            const auto found = FindFrom(policies, next, id);
            if (found == policies.end()) {
                unknown.push_back(id);
                continue;
            }
            next = std::next(found);
            removed.push_back(ForgetLocked(found));
        }
    }
    LumPalMsg::MessageList_t missing;
    for (const std::u16string_view id : unknown) missing.Add(Make(msg::RemovePolicyNotInCache, ToString(id)));
    if (missing.GetMessageCount() > 0) throw PolicyNotFoundError(missing);
}

bool PolicyContainerImpl::Erase(const String_t& id) {
    HeaderPtr header;
    const LumPalThread::PlainLock_t lock(mutex);
    header = ForgetLocked(policies.find(id));
    return static_cast<bool>(header);
}

/// @return the header that is out now, with its name, or null
HeaderPtr PolicyContainerImpl::ForgetLocked(Policies::iterator position) {
    HeaderPtr header = EraseLocked(position);
    if (!header) return {};
    const PolicyKeys keys = header->GetKeys();
    nameToId.erase(NameKey(keys.name, keys.typeName));
    return header;
}

void PolicyContainerImpl::Dump(const LumPalIo::File_t& out, const String_t& typeName) {
    LUMCONF_BLOCK(trace::Policy, "PolicyContainer::Dump");
    PolicyListFile::Write(out, typeName);
}

}  // namespace LumConf
