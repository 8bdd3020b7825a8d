// The commands request, withdraw and install: the node's own key and certificate.
#include <algorithm>
#include <iostream>
#include <memory>

#include "LumPalConfig.h"
#include "LumPalDurable.h"
#include "LumPalKeys.h"
#include "LumSecAuth.h"
#include "LumSecPki.h"
#include "common/Arguments.h"
#include "common/CertificateCheck.h"
#include "common/ExitCode.h"
#include "common/Table.h"
#include "lumtrust/Revoked.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumPalArray::CharArray_t;
using LumPalConfig::Configuration_t;
using LumPalIo::File_t;
using LumPalStr::String_t;
using LumSecCore::Key;
using LumSecCore::X509Certificate;
using lumtools::Printable;
using lumtools::Text;

namespace {

struct Choices {
    std::string coreId, output, certificate, key;
    std::vector<std::string> hosts;
    bool force = false;
};

std::string PathOf(const File_t& file) {
    return file.ToString().ToUtf8();
}

/// A certificate may be under way for the key that waits: without it that would be worth nothing.
void RequireNoneWaiting(const String_t& coreId, const File_t& keyFile) {
    if (!keyFile.Exists() && !keyFile.IsSymbolicLink()) return;
    throw LumPalMsg::RuntimeException_t(
        LumPalMsg::CreateError_t(
            "A request for '%1' waits for its certificate already, since %2 (its key is '%3'): 'lumtrust install FILE' "
            "takes the certificate in. 'lumtrust withdraw --core-id %1', or --force here, gives the key up; what is "
            "issued for it is worth nothing then.")
        << coreId << Text(WaitsSince(keyFile)) << keyFile.GetAbsolutePath());
}

/// The key waits beside the one in use, which serves on until the certificate is there.
int Request(const Choices& choices) {
    const String_t coreId = CoreIdFor(choices.coreId);
    const ChangeLock lock;
    FinishInstallation(coreId);
    const File_t keyFile = StoreFile("requested", coreId, ".key");
    if (!choices.force) RequireNoneWaiting(coreId, keyFile);
    const Key key = LumSecPki::NewKey();
    const CharArray_t request = RequestFor(key, coreId, WithLocalhost(choices.hosts));
    // First, so that no key waits for what could not be written, and keeps the next request away.
    if (!choices.output.empty()) ReplaceFile(File_t(Text(choices.output)), request, kPublicMode);
    ReplaceFile(keyFile, LumSecPki::ToPem(key), kSecretMode);
    if (choices.output.empty()) {
        std::cout << request.View() << std::flush;
    } else {
        std::cout << "wrote the request to " << Printable(choices.output) << "; the key waits in "
                  << Printable(PathOf(keyFile)) << std::endl;
    }
    return lumtools::kDone;
}

int Withdraw(const Choices& choices) {
    const String_t coreId = CoreIdFor(choices.coreId);
    const ChangeLock lock;
    FinishInstallation(coreId);
    const File_t keyFile = StoreFile("requested", coreId, ".key");
    if (!keyFile.Exists() && !keyFile.IsSymbolicLink()) {
        FlushWithFolder(keyFile);
        std::cerr << "lumtrust: no request for " << Printable("'" + coreId.ToUtf8() + "'") << " waits" << std::endl;
        return lumtools::kNotFound;
    }
    LumPalIo::DeleteFile(keyFile);
    std::cout << "withdrawn: " << Printable(coreId.ToUtf8()) << std::endl;
    return lumtools::kDone;
}

/// The key that was given, else the one that waits for this certificate, else the one in use.
Key FindKey(const Key& given, const X509Certificate& certificate, const String_t& coreId, const std::string& source) {
    if (!given.IsNull() && LumSecPki::Match(certificate, given)) return given;
    bool hasKey = !given.IsNull();
    for (const char* part : {"requested", "own"}) {
        const std::string path = PathOf(StoreFile(part, coreId, ".key"));
        if (!given.IsNull() || !File_t(Text(path)).Exists()) continue;
        hasKey = true;
        Key key = LumSecPki::ReadPrivateKey(ReadFile(path));
        if (LumSecPki::Match(certificate, key)) return key;
    }
    if (!hasKey)
        Refuse(
            "This node has no key for '%1': name the certificate's own by '--key FILE', or make one by 'lumtrust "
            "request' and let a certificate be issued for that.",
            coreId.ToUtf8());
    Refuse("The certificate '%1' does not belong to the key.", source);
}

bool IsIssuedByTrusted(const X509Certificate& certificate) try {
    const LumSecCore::KeyStore store;
    const String_t issuer = certificate.GetIssuerCN();
    if (!store.IsTrustedCertEntry(issuer)) return false;
    X509Certificate trusted;
    store.GetCertificate(issuer, trusted);
    return trusted.MayIssue() && certificate.Verify(trusted.GetPublicKey());
} catch (const LumPalMsg::Exception_t&) {
    return false;  // an entry that is broken, or a key of another kind
}

void SetSettings(const String_t& coreId) {
    Configuration_t core{String_t(LumPalKeys::NsSecCore)}, certificates{String_t(LumPalKeys::NsSecCmCert)};
    core.SetAttrValue(LumPalKeys::CoreIdKey, coreId);
    certificates.SetAttrValue(LumPalKeys::CertInstalledKey, "true");
    LumPalConfig::ConfigUpdate_t update{String_t()};
    update.SetConfig(core);
    update.SetConfig(certificates);
    update.Apply();
}

/// The node's own certificate, and behind it those that lead from it to an authority.
CharArray_t TextOf(const std::vector<X509Certificate>& chain) {
    std::string text;
    for (const X509Certificate& certificate : chain) text += LumSecPki::ToPem(certificate).View();
    return CharArray_t(text.data(), text.size());
}

/// @return the core id
String_t ChangeIdentity(const std::vector<X509Certificate>& chain, const Key& given, const std::string& source) {
    const String_t coreId = CheckedCoreId(chain.front().GetSubjectCN().ToUtf8());
    const ChangeLock lock;
    FinishInstallation(coreId);
    // Both stand before the settings name them. A daemon that runs goes on with what it has until it is told.
    const Key key = FindKey(given, chain.front(), coreId, source);
    const CharArray_t text = TextOf(chain);
    LumSecCore::OwnPair{std::string(text.View()), std::string(LumSecPki::ToPem(key).View())}.RequireUsable(
        Text(source));
    InstallPair(coreId, text, key);
    SetSettings(coreId);
    return coreId;
}

int Install(const Choices& choices) {
    const std::vector<X509Certificate> chain = ReadCertificates(choices.certificate);
    const Key key = choices.key.empty() ? Key() : LumSecPki::ReadPrivateKey(ReadFile(choices.key));
    InstallIdentity(chain, key, choices.certificate);
    if (const std::string why = lumtools::WhyNotForOwnTools(chain.front()); !why.empty())
        std::cout << "Note: " << why << std::endl;
    TellDaemonOfKeys();
    return lumtools::kDone;
}

}  // namespace

String_t CheckedCoreId(const std::string& id) {
    const String_t checked = CheckedAlias(id);
    if (LumSecAuth::IsReservedId(checked)) Refuse("The id '%1' has a meaning of its own and can be no node's.", id);
    return checked;
}

String_t CoreIdFor(const std::string& given) {
    if (!given.empty()) return CheckedCoreId(given);
    const std::string configured =
        LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey).ToUtf8();
    if (configured.empty()) {
        throw LumPalMsg::IllegalArgumentError_t(
            LumPalMsg::CreateError_t("This node has no id yet (CORE_ID): give it one with '--core-id ID'."));
    }
    return CheckedCoreId(configured);
}

std::vector<std::string> WithLocalhost(std::vector<std::string> hosts) {
    constexpr char local[] = "localhost";
    if (std::find(hosts.begin(), hosts.end(), local) == hosts.end()) hosts.emplace_back(local);
    return hosts;
}

CharArray_t RequestFor(const Key& key, const String_t& coreId, const std::vector<std::string>& hosts) {
    std::vector<String_t> names;
    for (const std::string& host : hosts) names.push_back(Text(host));
    return LumSecPki::NewRequest(key, coreId, names);
}

void InstallIdentity(const std::vector<X509Certificate>& chain, const Key& key, const std::string& source) {
    const X509Certificate& certificate = chain.front();
    RequireInTime(certificate, source);
    RequireNotRevoked(certificate);
    const String_t coreId = ChangeIdentity(chain, key, source);
    std::cout << "installed: " << Printable(coreId.ToUtf8()) << ", valid until " << certificate.GetNotAfter().ToUtf8()
              << std::endl;
    if (IsIssuedByTrusted(certificate)) return;
    std::cout << "Note: its issuer is not trusted here; local tools will refuse the node's own certificate until "
                 "'lumtrust trust' says otherwise."
              << std::endl;
}

void AddIdentity(CLI::App& app, Actions& actions) {
    auto choices = std::make_shared<Choices>();
    CLI::App* request = app.add_subcommand("request", "Make a key for this node and a request for its certificate");
    request->add_option("--core-id", choices->coreId, "The node's id, the certificate's common name (CORE_ID)")
        ->type_name("ID");
    request->add_option("--host", choices->hosts, "A name or address of the node; may be given often")
        ->type_name("HOST")
        ->allow_extra_args(false);
    request->add_option("-o,--output", choices->output, "The file for the request (standard output)")
        ->type_name("FILE");
    request->add_flag("--force", choices->force, "Take the place of a key that waits for its certificate");
    actions.emplace_back(request, [choices] { return Request(*choices); });
    CLI::App* withdraw = app.add_subcommand("withdraw", "Give up a request whose key waits for its certificate");
    withdraw->add_option("--core-id", choices->coreId, "The id that was requested (CORE_ID)")->type_name("ID");
    actions.emplace_back(withdraw, [choices] { return Withdraw(*choices); });
    CLI::App* install = app.add_subcommand("install", "Install the node's certificate with its key");
    install->add_option("FILE", choices->certificate, "The certificate, PEM or DER")->required();
    install->add_option("--key", choices->key, "Its private key (default: the one that 'request' made)")
        ->type_name("FILE");
    actions.emplace_back(install, [choices] { return Install(*choices); });
}

}  // namespace lumtrust
