#include "lumconfd/Expiry.h"

#include <climits>

#include "LumPalIo.h"
#include "LumPalLog.h"
#include "LumPalWhole.h"
#include "LumSecPki.h"

namespace lumconfd {

using LumPalMsg::MessageList_t;
using LumPalStr::String_t;
using LumSecCore::NodeIdentity;
using LumSecCore::X509Certificate;

namespace {

constexpr std::int64_t kDaySeconds = 86400;
/// Days before the end, the smallest last; 0 is the end itself.
constexpr int kThresholds[] = {30, 7, 1, 0};
constexpr int kNothingSaid = INT_MAX;

/// The smallest threshold that the time left has reached.
int Reached(std::int64_t secondsLeft) {
    int reached = kNothingSaid;
    for (const int days : kThresholds) {
        if (secondsLeft <= days * kDaySeconds) reached = days;
    }
    return reached;
}

std::vector<X509Certificate> Certificates(const String_t& path) {
    const auto bytes = LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(path), LumSecPki::kLargestPemFile);
    return bytes ? LumSecPki::ReadCertificates(*bytes) : std::vector<X509Certificate>();
}

template <class Severity>
Severity About(const char* text, const X509Certificate& certificate, const std::string& path) {
    Severity message{String_t(text)};
    message << certificate.GetSubjectCN() << String_t::FromUtf8(path) << certificate.GetNotAfter();
    return message;
}

constexpr char kOwnEnds[] = "The node's certificate of '%1' in '%2' ends on %3, in less than %4 day(s).";
constexpr char kTrustedEnds[] = "The trusted certificate of '%1' in '%2' ends on %3, in less than %4 day(s).";
constexpr char kOwnEnded[] = "The node's certificate of '%1' in '%2' has ended on %3: nobody accepts it any more.";
constexpr char kTrustedEnded[] =
    "The trusted certificate of '%1' in '%2' has ended on %3: it vouches for nobody any more.";

}  // namespace

Expiry::Expiry(Clock clock) : now(std::move(clock)) {}

void Expiry::Look() {
    Read();
    std::map<std::string, int> next;
    for (const auto& [path, entry] : entries) {
        for (const X509Certificate& certificate : entry.certificates) Tell(path, entry, certificate, next);
    }
    told.swap(next);
}

void Expiry::Read() try {
    const NodeIdentity identity = NodeIdentity::Load();
    std::map<std::string, Entry> next;
    if (identity.certificateInstalled) ReadFile("own", identity.certificatePath, next);
    for (const String_t& path : identity.trustedPaths) ReadFile("trusted", path, next);
    entries.swap(next);
} catch (const LumPalMsg::Exception_t&) {
    // What is wrong with the settings or the key store, the reload itself says.
}

void Expiry::ReadFile(const std::string& kind, const String_t& path, std::map<std::string, Entry>& next) {
    const std::string name = path.ToUtf8();
    try {
        next[name] = Entry{kind, Certificates(path)};
    } catch (const LumPalMsg::Exception_t&) {
        const auto before = entries.find(name);
        next[name] = before == entries.end() ? Entry{kind, {}} : before->second;
    }
}

void Expiry::Tell(const std::string& path, const Entry& entry, const X509Certificate& certificate,
                  std::map<std::string, int>& next) try {
    LumPalArray::CharArray_t der;
    certificate.GetEncoded(der);
    const std::string key = path + '\n' + std::string(der.View());
    const auto before = told.find(key);
    const int said = before == told.end() ? kNothingSaid : before->second;
    const int reached = std::min(said, Reached(LumSecPki::EndSeconds(certificate) - now()));
    next[key] = reached;
    if (reached >= said) return;
    const bool own = entry.kind == "own";
    if (reached > 0) {
        using Warning = LumPalMsg::CreateWarn_t;
        LumPalLog::Log(MessageList_t(About<Warning>(own ? kOwnEnds : kTrustedEnds, certificate, path) << reached));
    } else {
        using Error = LumPalMsg::CreateError_t;
        LumPalLog::Log(MessageList_t(About<Error>(own ? kOwnEnded : kTrustedEnded, certificate, path)));
    }
} catch (const LumPalMsg::Exception_t& e) {
    LumPalLog::Log(e.GetMessageList());
}

}  // namespace lumconfd
