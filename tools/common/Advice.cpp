#include "common/Advice.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumPalRuntime.h"
#include "LumSecRights.h"
#include "LumVoxRpc.h"
#include "MessageNumbers.h"
#include "ReturnValue.h"

namespace lumtools {

namespace {

using LumPalConfig::ConfigNamespace_t;

constexpr unsigned kByCommand = 0;  ///< the command knows which right it asked for

/// What was refused, and the right that it takes.
struct Refusal {
    unsigned message, right;
};

const Refusal kRefusals[] = {
    {LumConf::kInstallNotAllowed, LumConf::RightInstall},
    {LumConf::kListNotAllowed, LumConf::RightList},
    {LumConf::kOperationNotAllowed, kByCommand},
    {LumConf::kSettingsNotAllowed, kByCommand},
};

struct Row {
    unsigned message;
    const char* advice;
};

const Row kAdvice[] = {
    {LumConf::kCoreIdEmpty,
     "Give the node an id: 'lumtrust request --core-id ID' and 'lumtrust install', which sets it; or sign with another "
     "own entry of the key store by --alias."},
    {LumConf::kSignKeyStoreErrors,
     "'lumtrust request' makes a key, and 'lumtrust install' takes in the certificate that is issued for it. Keys that "
     "sign are RSA (2048 to 16384 bits), EC (P-256, P-384) and Ed25519."},
    {LumConf::kDataKeyStoreNotAccessible,
     "This node trusts nobody yet: 'lumtrust trust FILE' takes in the certificate of an authority."},
};

/// @param byCommand  the right that the command asked for
/// @return none for what was refused for another reason than a right
std::optional<unsigned> RightOf(const Outcome& outcome, unsigned byCommand) {
    const auto found = std::find_if(std::begin(kRefusals), std::end(kRefusals),
                                    [&](const Refusal& row) { return row.message == outcome.message; });
    if (found == std::end(kRefusals)) return std::nullopt;
    return found->right == kByCommand ? byCommand : found->right;
}

/// Settings that cannot be read say nothing: then the node has a certificate as far as is known.
bool HasCertificate() {
    bool has = true;
    Attempt([&] { has = ConfigNamespace_t(LumPalKeys::NsSecCmCert).Open().GetBool(LumPalKeys::CertInstalledKey); });
    return has;
}

std::string OwnId() {
    std::string id;
    Attempt([&] { id = ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey).ToUtf8(); });
    return id.empty() ? "ID" : id;
}

/// The node cannot say why it knows no sender: the caller alone sees that he has no proof to show.
std::string WithoutSecret() {
    const std::string root = LumPalRuntime::Dir_t::Path(LumPalRuntime::Root).ToUtf8();
    return "This call proved nothing, since '" + LumVoxRpc::LocalSecretPath().ToUtf8() +
           "' cannot be read: run it as the user to whom the node's root '" + root +
           "' belongs, or as root, and with LUM_ROOT naming the root that the daemon serves.";
}

std::string Lacking(const std::string& host, unsigned right) {
    const bool isLocal = host == "localhost", hasCertificate = HasCertificate();
    if (isLocal && !hasCertificate) return LumVoxRpc::HasLocalSecret() ? "" : WithoutSecret();
    if (!hasCertificate) {
        return "This caller is nobody there, and nobody is granted rights: a certificate of its own gives it an id "
               "('lumtrust request', then 'lumtrust install').";
    }
    if (right == kByCommand) return "";
    const std::string name = LumSecAuth::RightNames(right).ToUtf8();
    return "The right '" + name + "' (" + std::to_string(right) + ") lacks. On that node 'lumtrust grant " + OwnId() +
           " " + name + "' gives it.";
}

}  // namespace

std::string AdviceOn(unsigned message) {
    const auto found = std::find_if(std::begin(kAdvice), std::end(kAdvice),
                                    [message](const Row& row) { return row.message == message; });
    return found == std::end(kAdvice) ? "" : found->advice;
}

void AddRight(const std::string& host, unsigned right, Outcome& outcome) {
    const std::string text = Lacking(host, right);
    if (!text.empty()) outcome.messages.push_back({1, text});
}

void AddLackingRight(const std::string& host, unsigned right, Outcome& outcome) {
    const std::optional<unsigned> wanted = RightOf(outcome, right);
    if (outcome.code == kRefused && wanted) AddRight(host, *wanted, outcome);
}

}  // namespace lumtools
