#include "PolicyLoader.h"

#include "AttributeCheck.h"
#include "Exceptions.h"
#include "Messages.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"
#include "StoreIndex.h"
#include "StoreWalk.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

std::unique_ptr<const StoreIndex> MakeIndex(const std::vector<String_t>& ids) {
    try {
        return StoreIndex::MakeFor(ids);
    } catch (const LumPalMsg::RuntimeException_t& e) {
        throw Because<LumPalMsg::RuntimeException_t>(msg::CacheNotRead, e);
    }
}

}  // namespace

PolicyLoader::PolicyLoader(PolicyContainerImpl& target, const PolicyContainer::Options& options)
    : target(target), options(options) {}

int PolicyLoader::Load() {
    try {
        LoadEntries();
    } catch (const LumPalMsg::RuntimeException_t& e) {
        throw Because<LumPalMsg::RuntimeException_t>(msg::CacheNotRead, e);
    }
    if (failures.GetMessageCount() > 0) throw PolicyFileException(failures);
    return count;
}

int PolicyLoader::LoadIds(PolicyContainerImpl& target, const std::vector<String_t>& ids) {
    const std::unique_ptr<const StoreIndex> index = MakeIndex(ids);
    int count = 0;
    for (const String_t& id : ids) {
        PolicyLoader loader(target, PolicyContainer::Options().SetPolicyId(id));
        loader.index = index.get();
        count += loader.Load();
    }
    return count;
}

void PolicyLoader::LoadEntries() {
    const std::vector<File_t> entries = ChooseEntries();
    if (entries.empty() && !index)
        LUMCONF_TRACE(trace::Policy, Make(msg::NoInstalledPolicyFiles).Format(LumPalMsg::Label | LumPalMsg::Text));
    for (const File_t& entry : entries) LoadEntry(entry);
}

std::vector<File_t> PolicyLoader::ChooseEntries() {
    const String_t& value = options.GetValue();
    if (options.GetKind() == Kind::TypeName) return StoreWalk::EntryOf(value);
    if (options.GetKind() == Kind::Id && index) return index->EntriesOf(value);
    if (options.GetKind() != Kind::NameAndTypeName) return StoreWalk::AllEntries();
    const std::uint32_t equalsSign = value.Find("=");
    wantedName = value.Left(equalsSign);
    const String_t typeName = equalsSign == LumPalStr::NotFound ? String_t() : value.Mid(equalsSign + 1);
    CheckAttribute(wantedName);
    CheckAttribute(typeName);
    return StoreWalk::EntryOf(typeName.ToLower());
}

void PolicyLoader::LoadEntry(const File_t& entry) {
    const bool oneWanted = options.GetKind() == Kind::Id || options.GetKind() == Kind::NameAndTypeName;
    for (const File_t& file : ChooseFiles(entry)) {
        try {
            // The other folders are still searched: of an id under two types the later one stands.
            if (LoadFile(file) && oneWanted) return;
        } catch (const LumPalMsg::RuntimeException_t& e) {
            failures.Add(Make(msg::PolicyFileIgnored, file.GetAbsolutePath(), e));
        }
    }
}

std::vector<File_t> PolicyLoader::ChooseFiles(const File_t& entry) const {
    if (options.GetKind() == Kind::Id) return StoreWalk::HeaderFileOf(entry, options.GetValue());
    return StoreWalk::HeaderFiles(entry);
}

bool PolicyLoader::LoadFile(const File_t& file) {
    PolicyXmlHandler handler;
    handler.StartReading();
    PolicyXmlParser::Parse(file, handler);
    const PolicyContainerImpl::HeaderPtr header = handler.TakeHeader();
    if (options.GetKind() == Kind::NameAndTypeName && header->GetName() != wantedName) return false;
    target.Insert(header.Get());
    ++count;
    return true;
}

}  // namespace LumConf
