#include "lumpolicy/NodeExport.h"

#include <set>

#include "Exceptions.h"
#include "LumSecDigest.h"
#include "common/Arguments.h"
#include "lumpolicy/NodeStored.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumConf::Selection;
using LumConf::StoredFiles;
using LumConf::StoredPolicy;
using LumPalMsg::CreateError_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;
using lumtools::Text;

namespace {

constexpr const char kHeaderSuffix[] = "_header.xml";

[[noreturn]] void ThrowChanged() {
    throw PoliciesChanged(CreateError_t("The node's policies changed while they were read."));
}

std::set<String_t> IdsOf(const PolicyContainer& policies) {
    std::set<String_t> ids;
    for (int i = 0; i < policies.GetCount(); ++i) ids.insert(policies.GetPolicyHeader(i).GetContainerId());
    return ids;
}

std::set<String_t> NamedFiles(const PolicyHeader& header) {
    std::set<String_t> names;
    for (int i = 0; i < header.GetDataFileCount(); ++i) names.insert(header.GetDataFile(i));
    return names;
}

void CheckDocument(const StoredPolicy& policy) {
    if (policy.header.GetContainerId() == policy.id && !policy.header.GetTypeName().IsEmpty()) return;
    throw RuntimeException_t(CreateError_t("What the node tells is no document of this policy."));
}

/// What a document does not name would be lost, or would lie where another policy wants it.
void CheckFiles(const StoredPolicy& policy) {
    const std::set<String_t> named = NamedFiles(policy.header);
    for (const StoredPolicy::DataFile& file : policy.dataFiles) {
        if (!named.contains(file.name))
            throw RuntimeException_t(CreateError_t("The node tells a data file '%1', which the document does not name.")
                                     << file.name);
    }
}

std::string MissingOf(const StoredPolicy& policy) {
    std::set<String_t> missing = NamedFiles(policy.header);
    for (const StoredPolicy::DataFile& file : policy.dataFiles) missing.erase(file.name);
    std::string names;
    for (const String_t& name : missing) names += (names.empty() ? "" : ", ") + name.ToUtf8();
    return names;
}

}  // namespace

LUMPAL_DEFINE_EXCEPTION(PoliciesChanged);

std::vector<PolicyHeader> NodeExport::Run() {
    folder.Begin();
    source.setStep("its list");
    const PolicyContainer listed = ListSome(source.forwarder, source.host, source.selections, source.targetId);
    for (int i = 0; i < listed.GetCount(); ++i) {
        source.setStep(std::to_string(i) + " of " + std::to_string(listed.GetCount()) + " policies");
        Export(listed.GetPolicyHeader(i));
    }
    RefuseIncomplete();
    source.setStep("whether they are still the same");
    CheckUnchanged();
    return std::move(headers);
}

void NodeExport::Export(const PolicyHeader& listed) {
    current = NameOf(listed);
    Write(ReadOne(listed.GetContainerId()));
    current.clear();
}

StoredPolicy NodeExport::ReadOne(const String_t& id) const {
    std::vector<StoredPolicy> found = ReadFromNode(source.forwarder, source.host, Selection().SetPolicyId(id),
                                                   StoredFiles::Contents, source.targetId);
    if (found.empty()) ThrowChanged();
    if (found.size() > 1 || found.front().id != id || written.contains(id))
        throw RuntimeException_t(CreateError_t("The node tells another policy than it was asked for."));
    return std::move(found.front());
}

/// The header last: where it stands, its data stand beside it.
void NodeExport::Write(const StoredPolicy& policy) {
    CheckDocument(policy);
    CheckFiles(policy);
    const String_t type = policy.header.GetTypeName();
    const std::string missing = MissingOf(policy);
    if (!missing.empty()) incomplete.push_back(NameOf(policy.header) + ": " + missing);
    Digests& digests = written[policy.id];
    for (const StoredPolicy::DataFile& file : policy.dataFiles) {
        digests[file.name] = folder.Write(type, file.name, file.bytes);
    }
    const String_t document = policy.id + kHeaderSuffix;
    digests[document] = folder.Write(type, document, policy.document);
    headers.push_back(policy.header);
}

/// All of them are named, so that they can be mended at once.
void NodeExport::RefuseIncomplete() const {
    if (incomplete.empty()) return;
    LumPalMsg::MessageList_t details;
    for (const std::string& one : incomplete) details.Add(CreateError_t(Text(one)));
    throw RuntimeException_t(
        CreateError_t("The node misses data files of its policies: there is no whole export of them.")
            .AddDetails(details));
}

/// A question for each type, as answers are limited.
NodeExport::ByFile NodeExport::DigestsNow() const {
    std::set<String_t> types;
    for (const PolicyHeader& header : headers) types.insert(header.GetTypeName());
    ByFile now;
    for (const String_t& type : types) {
        for (const StoredPolicy& policy :
             ReadFromNode(source.forwarder, source.host, Selection().SetPolicyTypeName(type), StoredFiles::Digests,
                          source.targetId)) {
            if (!written.contains(policy.id)) continue;
            Digests& digests = now[policy.id];
            for (const StoredPolicy::DataFile& file : policy.dataFiles) digests[file.name] = file.bytes.View();
            digests[policy.id + kHeaderSuffix] =
                LumSecCore::Sha256(LumPalIo::CharArrayInputStream_t::Over(policy.document));
        }
    }
    return now;
}

void NodeExport::CheckUnchanged() const {
    if (DigestsNow() != written) ThrowChanged();
    std::set<String_t> ids;
    for (const auto& [id, digests] : written) ids.insert(id);
    if (IdsOf(ListOf(source.forwarder, source.host, source.selections, source.targetId)) != ids) ThrowChanged();
}

}  // namespace lumpolicy
