#include "lumtrust/Entries.h"

#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumSecPki.h"
#include "LumSecRevoked.h"
#include "lumtrust/Command.h"

namespace lumtrust {

using LumPalIo::File_t;
using LumSecCore::X509Certificate;
using nlohmann::ordered_json;

namespace {

constexpr std::int64_t kDaySeconds = 86400;

/// Whole days; the day on which it ends is 0, afterwards it is below that.
std::int64_t DaysLeft(std::int64_t seconds) {
    return seconds >= 0 ? seconds / kDaySeconds : -((-seconds + kDaySeconds - 1) / kDaySeconds);
}

bool IsInTime(const X509Certificate& certificate) try {
    return certificate.CheckValidity();
} catch (const LumSecCore::SecCoreException&) {
    return false;
}

bool AreSignersStrict() {
    return LumPalConfig::ConfigNamespace_t(LumPalKeys::NsConfCore).Open().GetBool(LumPalKeys::StrictSignersKey);
}

/// Of a list that is broken nobody can tell; it is told as such.
bool IsRevoked(const X509Certificate& certificate) try {
    return LumSecCore::RevocationList::Load()->Holds(LumSecCore::CertificateId::Of(certificate));
} catch (const LumSecCore::KeyStoreException&) {
    return true;
}

/// For whom a trusted certificate vouches now. Signers are looked up by the common name of their authority.
std::vector<std::string> WhomFor(const std::string& alias, const X509Certificate& certificate, bool first) {
    if (IsRevoked(certificate)) return {};
    const bool inTime = IsInTime(certificate);
    if (!certificate.MayIssue()) return inTime ? std::vector<std::string>{"itself"} : std::vector<std::string>{};
    std::vector<std::string> whom;
    if (inTime) whom.push_back("callers");
    if (first && alias == certificate.GetSubjectCN().ToUtf8() && (inTime || !AreSignersStrict()))
        whom.push_back("signers");
    return whom;
}

ordered_json EntryOf(const std::string& kind, const std::string& alias, const X509Certificate& certificate) {
    const std::int64_t seconds = LumSecPki::SecondsLeft(certificate);
    return {{"alias", alias},
            {"kind", kind},
            {"subject", certificate.GetSubjectCN().ToUtf8()},
            {"issuer", certificate.GetIssuerCN().ToUtf8()},
            {"serial", LumSecCore::CertificateId::Of(certificate).serial},
            {"fingerprint", LumSecPki::FingerprintOf(certificate).ToUtf8()},
            {"revoked", IsRevoked(certificate)},
            {"not_after", certificate.GetNotAfter().ToUtf8()},
            {"days_left", DaysLeft(seconds)},
            {"seconds_left", seconds}};
}

/// Of a file of trusted certificates each one counts for callers; behind the node's own stands only its chain.
std::vector<ordered_json> Entries(const std::string& kind, const File_t& file) {
    const std::string name = file.GetName().ToUtf8(), alias = name.substr(0, name.size() - 4);
    try {
        std::vector<ordered_json> entries;
        for (const X509Certificate& certificate : ReadCertificates(file.ToString().ToUtf8())) {
            if (!entries.empty() && kind != kTrustedPart) break;
            const bool first = entries.empty();
            entries.push_back(EntryOf(kind, alias, certificate));
            if (kind == kTrustedPart) entries.back()["vouches_for"] = WhomFor(alias, certificate, first);
        }
        return entries;
    } catch (const LumPalMsg::Exception_t& e) {
        const std::string why = e.GetMessageList().Format(LumPalMsg::BareText).ToUtf8();
        return {{{"alias", alias}, {"kind", kind}, {"broken", why}}};
    }
}

}  // namespace

std::vector<ordered_json> EntriesOf(const std::string& part) {
    std::vector<ordered_json> entries;
    for (const File_t& file : StoreFiles(part.c_str(), ".pem")) {
        for (ordered_json& entry : Entries(part, file)) entries.push_back(std::move(entry));
    }
    return entries;
}

std::string VouchesFor(const ordered_json& entry) {
    if (entry["revoked"]) return "nobody: revoked";
    if (!entry.contains("vouches_for")) return "";
    std::string whom;
    for (const std::string word : entry["vouches_for"]) whom += (whom.empty() ? "" : ", ") + word;
    return whom.empty() ? "nobody" : whom;
}

}  // namespace lumtrust
