// The commands init and issue: an authority to try things with.
#include <iostream>
#include <memory>

#include "LumSecPki.h"
#include "common/Arguments.h"
#include "common/ExitCode.h"
#include "common/Table.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumPalIo::File_t;
using LumSecCore::Key;
using LumSecCore::X509Certificate;
using lumtools::Printable;
using lumtools::Text;

namespace {

constexpr int kAuthorityDays = 30, kIssuedDays = 7;

struct Choices {
    std::string folder, request, output;
};

File_t Part(const std::string& folder, const char* suffix) {
    return File_t(File_t(Text(folder)), LumPalStr::String_t(kAuthorityName) + suffix);
}

std::string PathOf(const std::string& folder, const char* suffix) {
    return Part(folder, suffix).ToString().ToUtf8();
}

int Issue(const Choices& choices) {
    const X509Certificate issued = IssueBy(choices.folder, ReadFile(choices.request));
    const auto pem = LumSecPki::ToPem(issued);
    if (choices.output.empty()) {
        std::cout << pem.View() << std::flush;
    } else {
        ReplaceFile(File_t(Text(choices.output)), pem, kPublicMode);
        std::cout << "issued: " << Printable(issued.GetSubjectCN().ToUtf8()) << ", valid until "
                  << issued.GetNotAfter().ToUtf8() << std::endl;
    }
    return lumtools::kDone;
}

}  // namespace

const char* const kAuthorityName = "demonstration-authority";

X509Certificate ReadAuthority(const std::string& folder) {
    return ReadCertificates(PathOf(folder, ".pem")).front();
}

bool HasAuthority(const std::string& folder) {
    return Part(folder, ".pem").Exists() || Part(folder, ".key").Exists();
}

void MakeAuthority(const std::string& folder) {
    const Key key = LumSecPki::NewKey();
    const X509Certificate certificate = LumSecPki::NewAuthority(key, kAuthorityName, kAuthorityDays);
    CreateFile(Part(folder, ".key"), LumSecPki::ToPem(key), kSecretMode);
    CreateFile(Part(folder, ".pem"), LumSecPki::ToPem(certificate), kPublicMode);
    std::cout << "made '" << kAuthorityName << "' in " << Printable(folder) << ", valid until "
              << certificate.GetNotAfter().ToUtf8()
              << "\nFor demonstrations only: its key lies unprotected beside its certificate." << std::endl;
}

X509Certificate IssueBy(const std::string& folder, const LumPalArray::CharArray_t& request) {
    const Key key = LumSecPki::ReadPrivateKey(ReadFile(PathOf(folder, ".key")));
    return LumSecPki::Issue(ReadAuthority(folder), key, request, kIssuedDays);
}

void AddAuthority(CLI::App& app, Actions& actions) {
    auto choices = std::make_shared<Choices>();
    CLI::App* init = app.add_subcommand("init", "Make an authority for demonstrations, never for real nodes");
    init->add_option("DIR", choices->folder, "The folder for its certificate and key")->required();
    actions.emplace_back(init, [choices] {
        MakeAuthority(choices->folder);
        return lumtools::kDone;
    });
    CLI::App* issue = app.add_subcommand("issue", "Let the authority for demonstrations issue a certificate");
    issue->add_option("DIR", choices->folder, "The authority's folder")->required();
    issue->add_option("REQUEST", choices->request, "The request")->required();
    issue->add_option("-o,--output", choices->output, "The file for the certificate (standard output)")
        ->type_name("FILE");
    actions.emplace_back(issue, [choices] { return Issue(*choices); });
}

}  // namespace lumtrust
