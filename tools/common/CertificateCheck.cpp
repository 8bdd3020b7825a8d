#include "common/CertificateCheck.h"

#include <cstdio>
#include <filesystem>

#include "LumPalIo.h"
#include "LumPalWhole.h"
#include "LumSecPki.h"
#include "common/RevokedHere.h"

namespace lumtools {

using LumPalStr::String_t;
using LumSecCore::NodeIdentity;

namespace {

namespace fs = std::filesystem;

constexpr unsigned kOthers = 077;

/// The first line of a message; empty for a certificate whose time it is.
std::string WhyNotNow(const LumPalArray::CharArray_t& pem) try {
    LumSecPki::ReadCertificate(pem).CheckValidity();
    return "";
} catch (const LumSecCore::SecCoreException& e) {
    return e.GetMessageList().GetMessage(0).Format(LumPalMsg::BareText).ToUtf8();
}

std::string WhyNotNow(const String_t& path) {
    return WhyNotNow(LumPalIo::ReadAtMost(LumPalIo::FileInputStream_t(path), LumSecPki::kLargestPemFile));
}

/// All that the file holds: who hangs on a weak one is refused. What cannot be read is told elsewhere.
void CheckStrength(const String_t& path, CertificateFindings& found) try {
    const auto pem = LumPalIo::ReadAtMost(LumPalIo::FileInputStream_t(path), LumSecPki::kLargestPemFile);
    for (const LumSecCore::X509Certificate& certificate : LumSecPki::ReadCertificates(pem)) {
        const std::string why = LumSecPki::WhyTooWeak(certificate).ToUtf8();
        if (why.empty()) continue;
        found.warnings.push_back(
            "The trusted certificate '" + path.ToUtf8() + "': " + why +
            ". Nobody is let in for whom it vouches: a new one is needed, and what it issued too.");
    }
} catch (const LumPalMsg::Exception_t&) {
}

void CheckTrusted(const NodeIdentity& node, CertificateFindings& found) {
    for (const String_t& path : node.trustedPaths) {
        const std::string why = WhyNotNow(path);
        if (!why.empty()) found.warnings.push_back("The trusted certificate '" + path.ToUtf8() + "': " + why);
        CheckStrength(path, found);
    }
    if (!node.certificateInstalled || !node.trustedPaths.empty()) return;
    found.hindrances.emplace_back(
        "No certificate is trusted: nobody can call this node, nor its own tools: 'lumtrust trust FILE'.");
}

void CheckOwn(const NodeIdentity& node, CertificateFindings& found) {
    if (!node.certificateInstalled) return;
    const std::string why = WhyNotNow(node.certificatePath);
    if (why.empty()) return;
    found.problems.push_back(
        "The node's own certificate '" + node.certificatePath.ToUtf8() + "': " + why +
        " 'lumtrust request' and 'lumtrust install' bring a new one; in an operator's folder 'lumtrust "
        "operator' does.");
}

LumSecCore::X509Certificate ReadFirst(const String_t& path) {
    return LumSecPki::ReadCertificate(
        LumPalIo::ReadAtMost(LumPalIo::FileInputStream_t(path), LumSecPki::kLargestPemFile));
}

/// What cannot be read is told elsewhere.
void CheckNames(const NodeIdentity& node, CertificateFindings& found) try {
    const std::string why = node.certificateInstalled ? WhyNotForOwnTools(ReadFirst(node.certificatePath)) : "";
    if (!why.empty()) found.hindrances.push_back(why);
} catch (const LumSecCore::SecCoreException&) {
}

void CheckRevoked(const NodeIdentity& node, CertificateFindings& found) try {
    for (const RevokedHere& revoked : FindRevoked(node)) {
        const bool isWarning = revoked.kind == RevokedHere::Kind::Trusted;
        (isWarning ? found.warnings : found.problems).push_back(revoked.Text().Format(LumPalMsg::BareText).ToUtf8());
    }
} catch (const LumSecCore::KeyStoreException&) {
    // A list that is broken is told as what a server would not take.
}

void CheckMode(const fs::path& file, CertificateFindings& found) {
    std::error_code error;
    const unsigned mode = static_cast<unsigned>(fs::status(file, error).permissions()) & 0777u;
    if (error || (mode & kOthers) == 0) return;
    char octal[8] = "";
    std::snprintf(octal, sizeof octal, "%04o", mode);
    found.problems.push_back("The key file '" + file.string() + "' is open to others (mode " + octal +
                             "): 'chmod 600 " + file.string() + "'.");
}

void CheckModes(const char* part, CertificateFindings& found) {
    std::error_code error;
    for (const fs::directory_entry& entry :
         fs::directory_iterator((LumSecCore::KeyStoreDirectory() + part).ToUtf8(), error)) {
        if (entry.path().extension() == ".key") CheckMode(entry.path(), found);
    }
}

}  // namespace

std::string WhyNotForOwnTools(const LumSecCore::X509Certificate& certificate) {
    if (LumSecPki::NamesHost(certificate, "localhost")) return "";
    return "The node's own certificate is not for 'localhost', as the tools of this node call it: they reach it by "
           "'--host NAME' with a name that it bears. One that is for both: 'lumtrust request --host NAME', then "
           "'lumtrust install'.";
}

CertificateFindings FindInCertificates(Whose whose) {
    CertificateFindings found;
    for (const char* part : {"own", "requested"}) CheckModes(part, found);
    const NodeIdentity node = NodeIdentity::Load();
    CheckOwn(node, found);
    if (whose == Whose::Node) CheckNames(node, found);
    CheckTrusted(node, found);
    CheckRevoked(node, found);
    return found;
}

}  // namespace lumtools
