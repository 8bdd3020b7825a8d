#include "lumpolicy/DesiredState.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>

#include "LumPalIo.h"
#include "LumPalPlainFile.h"
#include "LumSecDigest.h"
#include "common/Arguments.h"

namespace lumpolicy {

using LumConf::PolicyHeader;
using LumConf::StoredPolicy;
using LumPalIo::File_t;
using LumPalMsg::CreateError_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using lumtools::Text;

namespace {

constexpr const char kHeaderSuffix[] = "_header.xml";
constexpr const char kClusterAttribute[] = "HARG:";
constexpr const char kStatus[] = "status";
constexpr char kHexDigits[] = "0123456789abcdef";

using Values = std::vector<std::string>;

/// In no order, each once.
template <class Value>
Values SetOf(int count, Value value) {
    std::set<std::string> values;
    for (int i = 0; i < count; ++i) values.insert(value(i));
    return {values.begin(), values.end()};
}

Values Categories(const PolicyHeader& header) {
    return SetOf(header.GetCategoryCount(), [&](int i) { return header.GetCategory(i).ToUtf8(); });
}

Values Attributes(const PolicyHeader& header) {
    return SetOf(header.GetAttributesCount(), [&](int i) {
        return header.GetAttribute(i).GetName().ToUtf8() + "=" + header.GetAttribute(i).GetValue().ToUtf8();
    });
}

Values DataFiles(const PolicyHeader& header) {
    return SetOf(header.GetDataFileCount(), [&](int i) {
        const std::string checksum = header.GetDataFileChecksum(i).ToUtf8();
        return header.GetDataFile(i).ToUtf8() + " (" + header.GetDataFileEncoding(i).ToUtf8() +
               (checksum.empty() ? "" : ", checksum " + checksum) + ")";
    });
}

template <String_t (PolicyHeader::*Get)() const>
Values TextOf(const PolicyHeader& header) {
    return {(header.*Get)().ToUtf8()};
}

struct Field {
    const char* name;
    Values (*values)(const PolicyHeader&);
};

const Field kFields[] = {
    {"id", &TextOf<&PolicyHeader::GetContainerId>},
    {"version id", &TextOf<&PolicyHeader::GetVersionId>},
    {"name", &TextOf<&PolicyHeader::GetName>},
    {"version", &TextOf<&PolicyHeader::GetVersion>},
    {"description", &TextOf<&PolicyHeader::GetDescription>},
    {kStatus, &TextOf<&PolicyHeader::GetStatus>},
    {"owner", &TextOf<&PolicyHeader::GetOwner>},
    {"data files", &DataFiles},
    {"categories", &Categories},
    {"attributes", &Attributes},
    {"type", &TextOf<&PolicyHeader::GetTypeName>},
    {"type id", &TextOf<&PolicyHeader::GetTypeId>},
    {"type version", &TextOf<&PolicyHeader::GetTypeVersion>},
};

std::string Joined(const Values& values) {
    std::string joined;
    for (const std::string& value : values) joined += (joined.empty() ? "" : ", ") + value;
    return joined;
}

std::string Hex(std::string_view bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        text += kHexDigits[byte >> 4];
        text += kHexDigits[byte & 15];
    }
    return text;
}

template <class Read>
std::string BytesOr(const char* otherwise, Read read) try {
    return std::string(read().View());
} catch (const LumPalMsg::Exception_t&) {
    return otherwise;
}

/// The proof of the data files: a policy that was signed anew is another one, also with the same data.
Values Proof(const PolicyHeader& header) {
    std::set<std::string> proof{"certificate " + BytesOr("unreadable", [&] { return header.GetCertificate(); })};
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        const std::string signature = BytesOr("", [&] { return header.GetSignature(i); });
        if (!signature.empty()) proof.insert(header.GetDataFile(i).ToUtf8() + " " + signature);
    }
    return {proof.begin(), proof.end()};
}

void CompareData(const StoredPolicy& has, const DesiredPolicy& wanted, std::vector<Difference>& differences) {
    std::map<std::string, std::string> there;
    for (const StoredPolicy::DataFile& file : has.dataFiles) there[file.name.ToUtf8()] = file.bytes.View();
    for (const auto& [name, digest] : wanted.digests) {
        const auto found = there.find(name);
        if (found != there.end() && found->second == digest) continue;
        const std::string was = found == there.end()    ? "missing"
                                : found->second.empty() ? "unreadable"
                                                        : Hex(found->second);
        differences.push_back({"data file " + name, was, Hex(digest), true});
    }
}

File_t FolderOf(const std::string& file) {
    return File_t(File_t(Text(file)).GetAbsolutePath()).GetParentFile();
}

void CheckIsBeside(const std::string& file, const std::string& name) {
    if (name.find_first_of("/\\") == name.npos && name != "." && name != "..") return;
    throw LumPalMsg::RuntimeException_t(CreateError_t("The data file '%1' of '%2' does not lie beside it.")
                                        << Text(name) << Text(file));
}

void CheckStatus(const DesiredPolicy& policy) {
    const bool isClear = policy.header.IsEnabled() || policy.header.IsDisabled();
    if (isClear || FollowsCluster(policy.header)) return;
    throw LumPalMsg::RuntimeException_t(
        CreateError_t("The status '%1' in '%2' is neither 'enabled' nor 'disabled': no state that a node could have.")
        << policy.header.GetStatus() << Text(policy.file));
}

std::uint64_t SizeOf(const File_t& file) {
    return std::filesystem::file_size(file.GetAbsolutePath().ToUtf8());
}

/// What no two policies may have in common, and who has it.
class Claims {
public:
    void Claim(const std::string& what, const std::string& file) {
        const auto [found, isFirst] = owners.emplace(what, file);
        if (isFirst) return;
        throw IllegalArgumentError_t(CreateError_t("'%1' and '%2' are both %3.")
                                     << Text(found->second) << Text(file) << Text(what));
    }
    void ClaimData(const std::string& what, const std::string& digest, const std::string& file) {
        const auto [found, isFirst] = data.emplace(what, std::pair(digest, file));
        if (isFirst || found->second.first == digest) return;
        throw IllegalArgumentError_t(CreateError_t("'%1' and '%2' want other contents of %3.")
                                     << Text(found->second.second) << Text(file) << Text(what));
    }

private:
    std::map<std::string, std::string> owners;
    std::map<std::string, std::pair<std::string, std::string>> data;
};

void ClaimAll(const DesiredPolicy& policy, Claims& claims) {
    const std::string type = policy.header.GetTypeName().ToUtf8(), ofType = "' of the type '" + type + "'";
    claims.Claim("the policy with the id '" + policy.header.GetContainerId().ToUtf8() + "'", policy.file);
    claims.Claim("the policy '" + policy.header.GetName().ToUtf8() + ofType, policy.file);
    for (const auto& [name, digest] : policy.digests)
        claims.ClaimData("the data file '" + name + ofType, digest, policy.file);
}

void CollectHeaders(const std::filesystem::path& folder, Values& found) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().string().ends_with(kHeaderSuffix) && !entry.is_directory())
            found.push_back(entry.path().string());
    }
}

/// Also of the folders in it: policies of several types may have data files of one name.
Values HeadersIn(const std::string& folder) {
    Values found;
    CollectHeaders(folder, found);
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_directory()) CollectHeaders(entry.path(), found);
    }
    if (found.empty())
        throw IllegalArgumentError_t(CreateError_t("There is no policy in the folder '%1'.") << Text(folder));
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

DesiredPolicy DesiredPolicy::Read(const std::string& file) {
    const File_t path{Text(file)};
    DesiredPolicy policy{file, PolicyHeader::Read(path), {}, SizeOf(path)};
    CheckStatus(policy);
    for (int i = 0; i < policy.header.GetDataFileCount(); ++i) {
        const String_t name = policy.header.GetDataFile(i);
        CheckIsBeside(file, name.ToUtf8());
        const File_t data(FolderOf(file), name);
        policy.digests[name.ToUtf8()] = LumSecCore::Sha256(LumPalIo::OpenPlainFile(data));
        policy.bytes += SizeOf(data);
    }
    return policy;
}

std::vector<std::string> FindHeaders(const std::vector<std::string>& filesAndFolders) {
    Values found;
    for (const std::string& given : filesAndFolders) {
        const Values headers = std::filesystem::is_directory(given) ? HeadersIn(given) : Values{given};
        found.insert(found.end(), headers.begin(), headers.end());
    }
    return found;
}

std::vector<DesiredPolicy> ReadDesired(const std::vector<std::string>& filesAndFolders) {
    Claims claims;
    std::vector<DesiredPolicy> policies;
    LumPalMsg::MessageList_t wrong, contradictions;
    std::exception_ptr last;
    for (const std::string& file : FindHeaders(filesAndFolders)) try {
            policies.push_back(DesiredPolicy::Read(file));
            ClaimAll(policies.back(), claims);
        } catch (const IllegalArgumentError_t& e) {
            contradictions.Add(e.GetMessageList());
            last = std::current_exception();
        } catch (const LumPalMsg::Exception_t& e) {
            wrong.Add(e.GetMessageList());
            last = std::current_exception();
        }
    if (wrong.GetMessageCount() + contradictions.GetMessageCount() == 1) std::rethrow_exception(last);
    if (wrong.GetMessageCount() > 0) {
        wrong.Add(contradictions);
        throw LumPalMsg::RuntimeException_t(wrong);
    }
    if (contradictions.GetMessageCount() > 0) throw IllegalArgumentError_t(contradictions);
    return policies;
}

bool FollowsCluster(const PolicyHeader& header) {
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        if (header.GetAttribute(i).GetName().ToUtf8().starts_with(kClusterAttribute)) return true;
    }
    return false;
}

std::vector<Difference> Compare(const StoredPolicy& has, const DesiredPolicy& wanted) {
    std::vector<Difference> differences;
    const bool statusIsTheClusters = FollowsCluster(wanted.header);
    for (const Field& field : kFields) {
        if (statusIsTheClusters && field.name == std::string_view(kStatus)) continue;
        const Values was = field.values(has.header), now = field.values(wanted.header);
        if (was != now) differences.push_back({field.name, Joined(was), Joined(now), field.values == &DataFiles});
    }
    CompareData(has, wanted, differences);
    if (Proof(has.header) != Proof(wanted.header)) differences.push_back({"signatures", "others", "those of the file"});
    return differences;
}

std::string LinesOf(const PolicyHeader& header) {
    std::string text;
    for (const Field& field : kFields) {
        for (std::string value : field.values(header)) {
            std::replace(value.begin(), value.end(), '\n', ' ');
            text += std::string(field.name) + ": " + value + "\n";
        }
    }
    return text;
}

}  // namespace lumpolicy
