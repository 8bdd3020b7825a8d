// The commands trust and untrust.
#include <iostream>
#include <memory>

#include "LumPalDurable.h"
#include "LumSecPki.h"
#include "common/Arguments.h"
#include "common/ExitCode.h"
#include "common/Table.h"
#include "lumtrust/Command.h"
#include "lumtrust/Revoked.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumSecCore::X509Certificate;
using lumtools::Printable;

namespace {

struct Choices {
    std::string file, alias;
    bool replace = false, force = false;
};

bool IsSame(const LumPalIo::File_t& file, const LumPalArray::CharArray_t& pem) {
    return file.Exists() && ReadFile(file.ToString().ToUtf8()).View() == pem.View();
}

void Keep(const LumPalStr::String_t& alias, const X509Certificate& certificate, const Trusting& how) {
    const ChangeLock lock;
    if (!how.replace) RequireNoOtherTrusted(alias, certificate, how.option);
    ReplaceFile(StoreFile("trusted", alias, ".pem"), LumSecPki::ToPem(certificate), kPublicMode);
}

int Trust(const Choices& choices) {
    const std::vector<X509Certificate> certificates = ReadCertificates(choices.file);
    if (certificates.size() > 1) Refuse("'%1' holds more than one certificate; trust each by itself.", choices.file);
    TrustCertificate(certificates.front(), {choices.file, choices.alias, choices.replace, "--replace"});
    TellDaemonOfKeys();
    return lumtools::kDone;
}

int Untrust(const Choices& choices) {
    const ChangeLock lock;
    const LumPalIo::File_t file = StoreFile("trusted", CheckedAlias(choices.alias), ".pem");
    if (!file.Exists() && !file.IsSymbolicLink()) {
        FlushWithFolder(file);
        std::cerr << "lumtrust: nothing is trusted under the alias " << Printable("'" + choices.alias + "'")
                  << std::endl;
        return lumtools::kNotFound;
    }
    if (!choices.force && IsLeftWithout(file)) {
        Refuse(
            "'%1' alone vouches for the certificate of this node: its own tools and its peers would refuse it, and it "
            "them. Install a certificate of another authority first; --force trusts it no longer all the same.",
            choices.alias);
    }
    LumPalIo::DeleteFile(file);
    std::cout << "no longer trusted: " << Printable(choices.alias) << std::endl;
    TellDaemonOfKeys();
    return lumtools::kDone;
}

}  // namespace

void RequireInTime(const X509Certificate& certificate, const std::string& source) {
    const LumPalStr::String_t start = LumSecPki::StartToCome(certificate), end = certificate.GetNotAfter();
    const bool hasEnded = LumSecPki::SecondsLeft(certificate) < 0;
    if (hasEnded || !start.IsEmpty()) {
        throw LumPalMsg::RuntimeException_t(
            LumPalMsg::CreateError_t(hasEnded ? "The certificate '%1' is not valid any more: it has ended on %2."
                                              : "The certificate '%1' is not valid before %2.")
            << lumtools::Text(source) << (hasEnded ? end : start));
    }
    certificate.CheckValidity();
}

void RequireNoOtherTrusted(const LumPalStr::String_t& alias, const X509Certificate& certificate, const char* option) {
    const LumPalIo::File_t file = StoreFile("trusted", alias, ".pem");
    if (!file.Exists() || (!certificate.IsNull() && IsSame(file, LumSecPki::ToPem(certificate)))) return;
    throw LumPalMsg::RuntimeException_t(
        LumPalMsg::CreateError_t("Another certificate is trusted under the alias '%1'; %2 takes its place.")
        << alias << option);
}

void TrustCertificate(const X509Certificate& certificate, const Trusting& how) {
    RequireInTime(certificate, how.source);
    RequireNotRevoked(certificate);
    const std::string name = certificate.GetSubjectCN().ToUtf8();
    const LumPalStr::String_t alias = CheckedAlias(how.alias.empty() ? name : how.alias);
    Keep(alias, certificate, how);
    std::cout << "trusted: " << Printable(alias.ToUtf8() + " (" + name) << ", valid until "
              << certificate.GetNotAfter().ToUtf8() << ")" << std::endl;
    if (!certificate.MayIssue()) {
        std::cout << "Note: it is no authority: it vouches for itself alone." << std::endl;
    } else if (alias.ToUtf8() != name) {
        std::cout << "Note: signers of policies that it issues are looked up as " << Printable("'" + name + "'")
                  << ", not under this alias." << std::endl;
    }
}

void AddTrusted(CLI::App& app, Actions& actions) {
    auto choices = std::make_shared<Choices>();
    CLI::App* trust = app.add_subcommand("trust", "Trust a certificate: it vouches for callers and for signers");
    trust->add_option("FILE", choices->file, "The certificate, PEM or DER")->required();
    trust->add_option("--alias", choices->alias, "The entry's name (default: the certificate's common name)")
        ->type_name("ALIAS");
    trust->add_flag("--replace", choices->replace, "Take the place of another certificate under this alias");
    actions.emplace_back(trust, [choices] { return Trust(*choices); });
    CLI::App* untrust = app.add_subcommand("untrust", "Trust a certificate no longer");
    untrust->add_option("ALIAS", choices->alias, "The entry's name")->required();
    untrust->add_flag("--force", choices->force, "Also the one that alone vouches for this node's certificate");
    actions.emplace_back(untrust, [choices] { return Untrust(*choices); });
}

}  // namespace lumtrust
