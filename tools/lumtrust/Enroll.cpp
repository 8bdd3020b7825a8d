// The commands enroll and operator: all that it takes to be called, or to call.
#include <algorithm>
#include <iostream>
#include <memory>

#include "LumPalConfig.h"
#include "LumPalDaemon.h"
#include "LumPalKeys.h"
#include "LumPalRuntime.h"
#include "LumSecPki.h"
#include "common/Arguments.h"
#include "common/ExitCode.h"
#include "common/Table.h"
#include "lumtrust/RightsFile.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumPalIo::File_t;
using LumPalRuntime::Dir_t;
using LumSecCore::Key;
using LumSecCore::X509Certificate;
using lumtools::Printable;
using lumtools::Text;

namespace {

struct Choices {
    std::string authority, coreId, root, trusted, certificate, key;
    std::vector<std::string> hosts;
    bool force = false;
};

/// A certificate of somebody else's authority is worth more than one for demonstrations.
void RequireNoOtherIdentity(const LumPalStr::String_t& authority) {
    const LumSecCore::NodeIdentity identity = LumSecCore::NodeIdentity::Load();
    if (!identity.certificateInstalled) return;
    const X509Certificate own = ReadCertificates(identity.certificatePath.ToUtf8()).front();
    if (own.GetIssuerCN() == authority) return;
    Refuse("This node has a certificate of '%1' already; --force takes its place.", own.GetIssuerCN().ToUtf8());
}

/// Before an authority is made for nothing.
void RequireNoOther(const std::string& folder) {
    const X509Certificate authority = HasAuthority(folder) ? ReadAuthority(folder) : X509Certificate();
    const LumPalStr::String_t name =
        authority.IsNull() ? LumPalStr::String_t(kAuthorityName) : authority.GetSubjectCN();
    RequireNoOtherTrusted(name, authority, "--force");
    RequireNoOtherIdentity(name);
}

/// Trusts the authority for demonstrations, which is made if need be, and is known by a certificate of it.
void EnrollBy(const Choices& choices) {
    const LumPalStr::String_t coreId = CoreIdFor(choices.coreId);
    const Key key = LumSecPki::NewKey();
    const auto request = RequestFor(key, coreId, choices.hosts);
    if (!choices.force) RequireNoOther(choices.authority);
    if (!HasAuthority(choices.authority)) MakeAuthority(choices.authority);
    const X509Certificate authority = ReadAuthority(choices.authority);
    const X509Certificate issued = IssueBy(choices.authority, request);
    TrustCertificate(authority, {choices.authority, "", choices.force, "--force"});
    InstallIdentity({issued}, key, choices.authority);
}

int Enroll(Choices choices) {
    choices.hosts = choices.hosts.empty() ? std::vector<std::string>{"localhost", "127.0.0.1", "::1"}
                                          : WithLocalhost(choices.hosts);
    EnrollBy(choices);
    TellDaemonOfKeys();
    return lumtools::kDone;
}

/// The operator's tools must not find a node there, nor become one. A node that was only enrolled is known by its id.
void RequireNoNode(const std::string& root, const std::string& operatorId) {
    if (HasWhatNodesHave()) Refuse("'%1' is the root of a node; an operator has a folder of his own.", root);
    const std::string owner =
        LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey).ToUtf8();
    if (owner.empty() || owner == operatorId) return;
    throw LumPalMsg::RuntimeException_t(
        LumPalMsg::CreateError_t("'%1' is the folder of '%2' (CORE_ID); an operator has a folder of his own.")
        << Text(root) << Text(owner));
}

std::string OperatorIdOf(const Choices& choices) {
    if (!choices.coreId.empty()) return choices.coreId;
    return ReadCertificates(choices.certificate).front().GetSubjectCN().ToUtf8();
}

/// Makes what is missing, for its owner alone.
void MakeRoot(const File_t& root) {
    if (root.IsDirectory()) return;
    if (!root.Mkdirs() || !root.SetMode(kSecretFolderMode))
        Refuse("The folder '%1' cannot be made.", root.ToString().ToUtf8());
}

/// With certificates of an authority that is not ours.
void TakeIn(const Choices& choices) {
    const std::vector<X509Certificate> trusted = ReadCertificates(choices.trusted);
    if (trusted.size() > 1) Refuse("'%1' holds more than one certificate; trust each by itself.", choices.trusted);
    const std::vector<X509Certificate> chain = ReadCertificates(choices.certificate);
    const Key key = choices.key.empty() ? Key() : LumSecPki::ReadPrivateKey(ReadFile(choices.key));
    RequireInTime(chain.front(), choices.certificate);
    TrustCertificate(trusted.front(), {choices.trusted, "", choices.force, "--force"});
    InstallIdentity(chain, key, choices.certificate);
}

int Operator(Choices choices) {
    const bool isOurs = !choices.authority.empty(), isTheirs = !choices.trusted.empty() && !choices.certificate.empty();
    if (isOurs == isTheirs || isOurs != !choices.coreId.empty())
        throw CLI::ValidationError("operator needs either --authority and --core-id, or --trust and --certificate");
    for (std::string* path : {&choices.authority, &choices.trusted, &choices.certificate, &choices.key})
        if (!path->empty()) *path = File_t(Text(*path)).GetAbsolutePath().ToUtf8();
    const std::string operatorId = OperatorIdOf(choices);
    const File_t root(File_t(Text(choices.root)).GetAbsolutePath());
    Dir_t::SetRoot(root.ToString());
    RequireNoNode(choices.root, operatorId);
    MakeRoot(root);
    isOurs ? EnrollBy(choices) : TakeIn(choices);
    RequireUsableKeys();
    std::cout << "Tools with this in their environment call with that certificate:\n  LUM_ROOT="
              << Printable(root.ToString().ToUtf8()) << std::endl;
    return lumtools::kDone;
}

}  // namespace

bool HasWhatNodesHave() {
    const File_t files[] = {File_t(LumPalRuntime::RootLock_t::GetPath()), RightsFile::Path(),
                            File_t(Dir_t::Path(LumPalRuntime::Policies))};
    return std::any_of(std::begin(files), std::end(files), [](const File_t& file) { return file.Exists(); });
}

void AddEnroll(CLI::App& app, Actions& actions) {
    auto choices = std::make_shared<Choices>();
    CLI::App* enroll = app.add_subcommand(
        "enroll", "Trust an authority for demonstrations and give this node a certificate of it, all at once");
    enroll->add_option("DIR", choices->authority, "The authority's folder; it is made if need be")->required();
    enroll->add_option("--core-id", choices->coreId, "The node's id (CORE_ID)")->type_name("ID");
    enroll->add_option("--host", choices->hosts, "A name or address of the node besides localhost; may be given often")
        ->type_name("HOST")
        ->allow_extra_args(false);
    enroll->add_flag("--force", choices->force, "Also in the place of a certificate of another authority");
    actions.emplace_back(enroll, [choices] { return Enroll(*choices); });
    CLI::App* person = app.add_subcommand(
        "operator", "Make a folder from which an operator calls nodes, apart from the node of this machine");
    person->add_option("DIR", choices->root, "The folder, to be named as LUM_ROOT afterwards")->required();
    person->add_option("--authority", choices->authority, "The folder of an authority for demonstrations")
        ->type_name("DIR");
    person->add_option("--core-id", choices->coreId, "With --authority: the id by which nodes know the operator")
        ->type_name("ID");
    person->add_option("--trust", choices->trusted, "The certificate of the nodes' authority")->type_name("FILE");
    person->add_option("--certificate", choices->certificate, "With --trust: the operator's certificate")
        ->type_name("FILE");
    person->add_option("--key", choices->key, "Its private key (default: the one that 'request' made there)")
        ->type_name("FILE");
    person->add_flag("--force", choices->force, "Also in the place of what lies there already");
    actions.emplace_back(person, [choices] { return Operator(*choices); });
}

}  // namespace lumtrust
