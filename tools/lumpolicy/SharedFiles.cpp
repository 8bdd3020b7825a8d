#include "lumpolicy/SharedFiles.h"

#include <algorithm>

#include "PolicyContainer.h"
#include "common/Arguments.h"
#include "common/Table.h"
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
        list.Add(LumPalMsg::CreateWarn_t("There are %1 more such data files.") << count - kMostWarnings);
    }

private:
    MessageList_t& list;
    int count = 0;
};

bool IsSame(const PolicyHeader& a, const PolicyHeader& b) {
    return a.GetContainerId() == b.GetContainerId() ||
           (a.GetName() == b.GetName() && a.GetTypeName() == b.GetTypeName());
}

/// What a policy of the node shares with the given ones of its type.
template <class Naming>
void Compare(const Naming& naming, const PolicyHeader& installed, const std::string& host, Warnings& warnings) {
    for (int i = 0; i < installed.GetDataFileCount(); ++i) {
        const auto named = naming.find(installed.GetDataFile(i));
        if (named == naming.end()) continue;
        for (const PolicyHeader& policy : named->second) {
            if (IsSame(policy, installed)) continue;
            warnings.Add(named->first, policy, installed, ", which is installed on '" + host + "'");
        }
    }
}

}  // namespace

MessageList_t GivenPolicies::Add(const PolicyHeader& header) {
    MessageList_t list;
    Warnings warnings(list);
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        std::vector<PolicyHeader>& before = types[header.GetTypeName()][header.GetDataFile(i)];
        const auto other = std::find_if(before.begin(), before.end(),
                                        [&header](const PolicyHeader& given) { return !IsSame(given, header); });
        if (other != before.end()) warnings.Add(header.GetDataFile(i), header, *other, "");
        before.push_back(header);
    }
    warnings.End();
    return list;
}

Outcome GivenPolicies::AskNode(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                               const std::string& targetId, MessageList_t& list) const {
    Warnings warnings(list);
    for (const auto& [type, naming] : types) {
        std::vector<String_t> files;
        for (const auto& [file, policies] : naming) files.push_back(file);
        const String_t typeName = type;
        PolicyContainer installed;
        const Outcome asked =
            lumtools::Attempt([&] { installed = forwarder.ListNaming(Text(host), typeName, files, Text(targetId)); });
        if (asked.code == lumtools::kUnreachable) return asked;
        for (int i = 0; i < installed.GetCount(); ++i) Compare(naming, installed.GetPolicyHeader(i), host, warnings);
    }
    warnings.End();
    return {};
}

}  // namespace lumpolicy
