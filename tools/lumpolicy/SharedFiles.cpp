#include "lumpolicy/SharedFiles.h"

#include <algorithm>
#include <tuple>

#include "PolicyContainer.h"
#include "common/Arguments.h"
#include "common/Table.h"
#include "lumpolicy/NodeStored.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;
using lumtools::Outcome;
using lumtools::Text;

namespace {

constexpr int kMostWarnings = 10;
/// Of a file that thousands of policies name there are millions of pairs, which nobody reads.
constexpr std::size_t kMostPairs = 10000;

/// Warnings up to a number that can be read, and then the count of the others.
class Warnings {
public:
    explicit Warnings(MessageList_t& list) : list(list) {}

    void Add(const String_t& file, const PolicyHeader& policy, const PolicyHeader& other, const std::string& where) {
        if (++count > kMostWarnings) return;
        list.Add(LumPalMsg::CreateWarn_t("The data file '%1' of %2 is also one of %3%4. A node keeps it once for both.")
                 << file << Text(NameOf(policy)) << Text(NameOf(other)) << Text(where));
    }
    void End() {
        if (count <= kMostWarnings) return;
        const bool isAll = static_cast<std::size_t>(count) < kMostPairs;
        list.Add(LumPalMsg::CreateWarn_t(isAll ? "There are %1 more such data files."
                                               : "There are at least %1 more such data files.")
                 << count - kMostWarnings);
    }

private:
    MessageList_t& list;
    int count = 0;
};

bool IsSame(const PolicyHeader& a, const PolicyHeader& b) {
    return a.GetContainerId() == b.GetContainerId() ||
           (a.GetName() == b.GetName() && a.GetTypeName() == b.GetTypeName());
}

}  // namespace

/// What policies of a node share with the given ones of their types: of two that share a file one word, whichever of
/// them is given.
class GivenPolicies::Comparison {
public:
    Comparison(const GivenPolicies& given, const GivenPolicies* told, const std::string& host, MessageList_t& list)
        : given(given), told(told), where(", which is installed on '" + host + "'"), warnings(list) {}

    void Add(const PolicyHeader& installed) {
        for (int i = 0; i < installed.GetDataFileCount(); ++i) {
            const Policies* naming = given.FindNaming(installed.GetTypeName(), installed.GetDataFile(i));
            if (naming) AddFile(installed, installed.GetDataFile(i), *naming);
        }
    }
    void End() { warnings.End(); }

private:
    void AddFile(const PolicyHeader& installed, const String_t& file, const Policies& naming) {
        const String_t other = installed.GetContainerId();
        const bool isGoing = given.going.contains(other);
        if (isGoing && given.isAllGoing) return;
        for (const auto& [id, policy] : naming) {
            if (pairs.size() >= kMostPairs) return;
            if (IsSame(policy, installed) || (isGoing && given.going.contains(id))) continue;
            if (told && told->DoesName(policy, file) && told->DoesName(installed, file)) continue;
            if (pairs.insert({file, std::min(id, other), std::max(id, other)}).second)
                warnings.Add(file, policy, installed, where);
        }
    }

    const GivenPolicies& given;
    const GivenPolicies* const told;
    const std::string where;
    Warnings warnings;
    std::set<std::tuple<String_t, String_t, String_t>> pairs;  ///< a file and two ids
};

MessageList_t GivenPolicies::Add(const PolicyHeader& header) {
    isAllGoing = false;
    return AddOne(header);
}

MessageList_t GivenPolicies::AddOne(const PolicyHeader& header) {
    MessageList_t list;
    Warnings warnings(list);
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        Policies& before = types[header.GetTypeName()][header.GetDataFile(i)];
        const auto other = std::find_if(before.begin(), before.end(),
                                        [&header](const auto& given) { return !IsSame(given.second, header); });
        if (other != before.end()) warnings.Add(header.GetDataFile(i), header, other->second, "");
        before.emplace(header.GetContainerId(), header);
    }
    warnings.End();
    return list;
}

void GivenPolicies::AddGoing(const PolicyHeader& header) {
    AddOne(header);
    going.insert(header.GetContainerId());
}

const GivenPolicies::Policies* GivenPolicies::FindNaming(const String_t& type, const String_t& file) const {
    const auto ofType = types.find(type);
    if (ofType == types.end()) return nullptr;
    const auto naming = ofType->second.find(file);
    return naming == ofType->second.end() ? nullptr : &naming->second;
}

bool GivenPolicies::DoesName(const PolicyHeader& policy, const String_t& file) const {
    const Policies* naming = FindNaming(policy.GetTypeName(), file);
    return naming && naming->contains(policy.GetContainerId());
}

Outcome GivenPolicies::AskNode(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                               const std::string& targetId, MessageList_t& list) const {
    Comparison comparison(*this, nullptr, host, list);
    for (const auto& [type, naming] : types) {
        std::vector<String_t> files;
        for (const auto& [file, policies] : naming) files.push_back(file);
        const String_t typeName = type;
        PolicyContainer installed;
        const Outcome asked =
            lumtools::Attempt([&] { installed = forwarder.ListNaming(Text(host), typeName, files, Text(targetId)); });
        if (asked.code == lumtools::kUnreachable) return asked;
        for (int i = 0; i < installed.GetCount(); ++i) comparison.Add(installed.GetPolicyHeader(i));
    }
    comparison.End();
    return {};
}

void GivenPolicies::Compare(const std::vector<LumConf::StoredPolicy>& installed, const std::string& host,
                            const GivenPolicies& told, MessageList_t& list) const {
    Comparison comparison(*this, &told, host, list);
    for (const LumConf::StoredPolicy& policy : installed) comparison.Add(policy.header);
    comparison.End();
}

Outcome AskOfRemoval(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                     const lumtools::Selections& selections, const std::string& targetId, MessageList_t& warnings) {
    GivenPolicies going;
    const Outcome asked = lumtools::Attempt([&] {
        std::set<String_t> meant;
        if (!selections.IsOne()) {
            const PolicyContainer listed = ListOf(forwarder, host, selections, targetId);
            for (int i = 0; i < listed.GetCount(); ++i) meant.insert(listed.GetPolicyHeader(i).GetContainerId());
            if (meant.empty()) return;
        }
        for (const LumConf::StoredPolicy& policy :
             ReadFromNode(forwarder, host, selections.GetFirst(), LumConf::StoredFiles::Digests, targetId)) {
            if (selections.IsOne() || meant.contains(policy.id)) going.AddGoing(policy.header);
        }
    });
    return asked.code == lumtools::kUnreachable ? asked : going.AskNode(forwarder, host, targetId, warnings);
}

}  // namespace lumpolicy
