#include "StoreSweep.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "DirectoryImpl.h"
#include "LumPalIo.h"
#include "Names.h"
#include "StoreWalk.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

constexpr std::uint32_t kDigits = 16;

bool IsHexDigit(char16_t unit) {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'f');
}

class AsideFilter : public LumPalIo::DirLister_t::Filter_t {
public:
    bool Accept(const String_t& name) const override { return IsAsideName(name); }
};

std::vector<File_t> FindAsideCopies() {
    std::vector<File_t> found;
    const auto filter = std::make_shared<AsideFilter>();
    for (const File_t& entry : StoreWalk::AllEntries()) {
        if (!entry.IsDirectory()) continue;
        for (LumPalIo::DirLister_t lister(entry, filter); lister.Next();) found.push_back(lister.GetCurrentFile());
    }
    return found;
}

/// Type and name of each data file that an installed policy names so.
std::set<std::pair<String_t, String_t>> NamedSo(const PolicyContainerImpl& installed) {
    std::set<std::pair<String_t, String_t>> named;
    for (int i = 0; i < installed.GetCount(); ++i) {
        const PolicyRecord policy = installed.GetPolicyHeader(i)->Snapshot();
        for (const PolicyDataFile& file : policy.dataFiles) {
            if (IsAsideName(file.name)) named.emplace(policy.typeName, file.name);
        }
    }
    return named;
}

void DeleteUnlessNamed(const std::vector<File_t>& copies, const PolicyContainerImpl& installed) {
    const auto named = NamedSo(installed);
    for (const File_t& file : copies) {
        if (named.count({file.GetParentFile().GetName(), file.GetName()}) > 0) continue;
        if (!DirectoryImpl::DeleteFile(file)) LUMCONF_TRACE(trace::Policy, "could not delete " + file.ToString());
    }
}

}  // namespace

bool IsAsideName(const String_t& name) {
    static const auto& prefix = *new String_t(names::AsideFilePrefix);  // never destroyed: threads may outlive it
    if (name.GetLength() != prefix.GetLength() + kDigits || name.Left(prefix.GetLength()) != prefix) return false;
    const std::u16string_view digits = name.View().substr(prefix.GetLength());
    return std::all_of(digits.begin(), digits.end(), IsHexDigit);
}

void DeleteAsideCopies(const PolicyContainerImpl& installed) {
    try {
        const std::vector<File_t> copies = FindAsideCopies();
        if (!copies.empty()) DeleteUnlessNamed(copies, installed);
    } catch (const LumPalIo::IOException_t& e) {
        LUMCONF_TRACE(trace::Policy, e.GetMessageList().Format(LumPalMsg::Text | LumPalMsg::Details));
    }
}

}  // namespace LumConf
