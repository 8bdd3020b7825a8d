#include "common/RevokedHere.h"

#include <algorithm>

#include "LumPalIo.h"
#include "LumPalLog.h"
#include "LumPalWhole.h"
#include "LumSecPki.h"
#include "LumSecRevoked.h"

namespace lumtools {

using LumPalMsg::MessageList_t;
using LumPalStr::String_t;
using LumSecCore::CertificateId;
using LumSecCore::NodeIdentity;
using LumSecCore::RevocationList;
using LumSecCore::X509Certificate;

namespace {

using Certificates = std::vector<X509Certificate>;

constexpr char kShown[] =
    "The node's certificate of '%1' in '%2' is revoked on this node: its own tools refuse it. 'lumtrust request' and "
    "'lumtrust install' bring another one; in an operator's folder 'lumtrust operator' does.";
constexpr char kNeeded[] =
    "The trusted certificate of '%1' in '%2' is revoked on this node, and nothing else that is trusted vouches for the "
    "node's own: its own tools refuse it.";
constexpr char kTrusted[] = "The trusted certificate of '%1' in '%2' is revoked on this node: it vouches for nobody.";

Certificates CertificatesIn(const String_t& path) try {
    const auto bytes = LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(path), LumSecPki::kLargestPemFile);
    return bytes ? LumSecPki::ReadCertificates(*bytes) : Certificates();
} catch (const LumPalMsg::Exception_t&) {
    return {};
}

bool HasIssued(const X509Certificate& authority, const X509Certificate& certificate) try {
    return authority.MayIssue() && certificate.Verify(authority.GetPublicKey());
} catch (const LumPalMsg::Exception_t&) {
    return false;  // a key of another kind
}

/// One that is trusted vouches for itself too.
bool Vouches(const X509Certificate& trusted, const Certificates& shown) {
    return std::any_of(shown.begin(), shown.end(), [&trusted](const X509Certificate& one) {
        return HasIssued(trusted, one) || LumSecPki::FingerprintOf(trusted) == LumSecPki::FingerprintOf(one);
    });
}

class Finder {
public:
    explicit Finder(const NodeIdentity& identity) : identity(identity), list(RevocationList::Load()) {
        if (identity.certificateInstalled) shown = CertificatesIn(identity.certificatePath);
        for (const String_t& path : identity.trustedPaths) trusted.emplace_back(path, CertificatesIn(path));
    }

    std::vector<RevokedHere> Find() const {
        using enum RevokedHere::Kind;
        std::vector<RevokedHere> found;
        for (const X509Certificate& one : shown)
            if (IsRevoked(one)) found.push_back({Shown, identity.certificatePath, one});
        const bool isLeftWithout = !IsVouchedFor();
        for (const auto& [path, certificates] : trusted) {
            for (const X509Certificate& one : certificates)
                if (IsRevoked(one))
                    found.push_back({isLeftWithout && Vouches(one, shown) ? Needed : Trusted, path, one});
        }
        return found;
    }

private:
    bool IsRevoked(const X509Certificate& one) const { return list->Holds(CertificateId::Of(one)); }

    bool IsVouchedFor() const {
        return std::any_of(trusted.begin(), trusted.end(), [this](const auto& file) {
            return std::any_of(file.second.begin(), file.second.end(),
                               [this](const X509Certificate& one) { return !IsRevoked(one) && Vouches(one, shown); });
        });
    }

    const NodeIdentity& identity;
    const std::shared_ptr<const RevocationList> list;
    Certificates shown;
    std::vector<std::pair<String_t, Certificates>> trusted;
};

template <class Severity>
MessageList_t About(const char* text, const RevokedHere& revoked) {
    Severity message{String_t(text)};
    message << revoked.certificate.GetSubjectCN() << revoked.path;
    return MessageList_t(message);
}

}  // namespace

MessageList_t RevokedHere::Text() const {
    if (kind == Kind::Trusted) return About<LumPalMsg::CreateWarn_t>(kTrusted, *this);
    return About<LumPalMsg::CreateError_t>(kind == Kind::Shown ? kShown : kNeeded, *this);
}

std::vector<RevokedHere> FindRevoked(const NodeIdentity& identity) {
    const Finder finder(identity);
    return finder.Find();
}

void RevokedLog::Look() try {
    std::set<std::string> now;
    for (const RevokedHere& revoked : FindRevoked(NodeIdentity::Load())) {
        const MessageList_t text = revoked.Text();
        const std::string key =
            text.Format(LumPalMsg::BareText).ToUtf8() + LumSecPki::FingerprintOf(revoked.certificate).ToUtf8();
        if (now.insert(key).second && told.count(key) == 0) LumPalLog::Log(text);
    }
    told.swap(now);
} catch (const LumPalMsg::Exception_t&) {
    // What is wrong with the settings, the key store or the list, the reload itself says.
}

}  // namespace lumtools
