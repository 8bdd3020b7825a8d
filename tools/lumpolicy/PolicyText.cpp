#include "lumpolicy/PolicyText.h"

#include <sstream>

#include "Exceptions.h"
#include "LumPalColumns.h"
#include "common/Arguments.h"
#include "common/Outcome.h"
#include "common/Table.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumConf::PolicySigner;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

std::string Line(const char* field, const LumPalStr::String_t& value) {
    std::string label = std::string(field) + ":";
    label.resize(14, ' ');
    std::string line = label + lumtools::Printable(value.ToUtf8());
    line.resize(LumPalStr::TrimmedEnd(std::string_view(line), " ").size());
    return line + "\n";
}

std::vector<std::string> MissingFiles(const PolicyHeader& header) {
    std::vector<std::string> files;
    for (int i = 0; i < header.GetMissingDataFileCount(); ++i) {
        files.push_back(header.GetMissingDataFile(i).ToUtf8());
    }
    return files;
}

std::string Named(const LumPalStr::String_t& name) {
    return "'" + name.ToUtf8() + "'";
}

}  // namespace

std::string Sentence(const PolicySigner& signer) {
    if (!signer.found) return "no certificate that can be read";
    return "signed by " + Named(signer.subject) + ", issued by " + Named(signer.issuer) + ", valid until " +
           signer.notAfter.ToUtf8();
}

bool IsUnsigned(const PolicyHeader& header) {
    bool isEmpty = false;  // what cannot be decoded is something
    lumtools::Attempt([&] { isEmpty = header.GetCertificate().GetLength() == 0; });
    return isEmpty;
}

std::string SignerOf(const PolicyHeader& header) {
    return IsUnsigned(header) ? "nobody: it is not signed" : Sentence(PolicySigner::Of(header));
}

ordered_json ToJson(const PolicySigner& signer) {
    if (!signer.found) return nullptr;
    return {{"subject", signer.subject.ToUtf8()},
            {"issuer", signer.issuer.ToUtf8()},
            {"not_after", signer.notAfter.ToUtf8()},
            {"may_sign", signer.maySign}};
}

PolicyContainer ListSome(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                         const lumtools::Selections& selections, const std::string& targetId) {
    PolicyContainer policies = forwarder.List(Text(host), selections.GetFirst(), Text(targetId));
    if (policies.IsEmpty()) {
        throw LumConf::PolicyNotFoundError(LumPalMsg::CreateError_t("No policy with this id is installed on host '%1'.")
                                           << Text(host));
    }
    selections.Narrow(policies);
    if (!policies.IsEmpty()) return policies;
    throw LumConf::PolicyNotFoundError(LumPalMsg::CreateError_t("No policy of host '%1' is meant by all of this.")
                                       << Text(host));
}

PolicyContainer ListOf(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                       const lumtools::Selections& selections, const std::string& targetId) {
    try {
        return ListSome(forwarder, host, selections, targetId);
    } catch (const LumConf::NoPoliciesInstalledError&) {
        return {};
    } catch (const LumConf::PolicyNotFoundError&) {
        return {};
    }
}

ordered_json ToJson(const PolicyHeader& header) {
    ordered_json policy;
    policy["id"] = header.GetContainerId().ToUtf8();
    policy["name"] = header.GetName().ToUtf8();
    policy["version"] = header.GetVersion().ToUtf8();
    policy["status"] = header.GetStatus().ToUtf8();
    policy["description"] = header.GetDescription().ToUtf8();
    policy["owner"] = header.GetOwner().ToUtf8();
    policy["type"] = {{"name", header.GetTypeName().ToUtf8()},
                      {"version", header.GetTypeVersion().ToUtf8()},
                      {"id", header.GetTypeId().ToUtf8()}};
    policy["categories"] = ordered_json::array();
    for (int i = 0; i < header.GetCategoryCount(); ++i) policy["categories"].push_back(header.GetCategory(i).ToUtf8());
    policy["attributes"] = ordered_json::array();
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        const auto attribute = header.GetAttribute(i);
        policy["attributes"].push_back(
            {{"name", attribute.GetName().ToUtf8()}, {"value", attribute.GetValue().ToUtf8()}});
    }
    for (const std::string& file : MissingFiles(header)) policy["missing_data_files"].push_back(file);
    return policy;
}

std::string CategoriesOf(const PolicyHeader& header) {
    std::string joined;
    for (int i = 0; i < header.GetCategoryCount(); ++i) joined += (i ? ", " : "") + header.GetCategory(i).ToUtf8();
    return joined;
}

std::string NameOf(const PolicyHeader& header) {
    return lumtools::Printable(header.GetName().ToUtf8() + " (type " + header.GetTypeName().ToUtf8() + ", id " +
                               header.GetContainerId().ToUtf8() + ")");
}

std::string FieldsOf(const PolicyHeader& header) {
    std::string text = Line("id", header.GetContainerId()) + Line("name", header.GetName()) +
                       Line("version", header.GetVersion()) + Line("status", header.GetStatus()) +
                       Line("description", header.GetDescription()) + Line("owner", header.GetOwner()) +
                       Line("type", header.GetTypeName()) + Line("type version", header.GetTypeVersion()) +
                       Line("type id", header.GetTypeId());
    for (int i = 0; i < header.GetCategoryCount(); ++i) text += Line("category", header.GetCategory(i));
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        const auto attribute = header.GetAttribute(i);
        text += Line("attribute", attribute.GetName() + "=" + attribute.GetValue());
    }
    for (const std::string& file : MissingFiles(header)) text += Line("missing file", Text(file));
    return text;
}

}  // namespace lumpolicy
