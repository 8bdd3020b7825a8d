// LumSecCore.h: its exceptions, and the node's identity.
#include <algorithm>

#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalKeys.h"
#include "LumPalRuntime.h"
#include "LumSecCore.h"

namespace LumSecCore {

LUMPAL_DEFINE_EXCEPTION(SecCoreException);
LUMPAL_DEFINE_EXCEPTION(KeyStoreException);
LUMPAL_DEFINE_EXCEPTION(EntryNotFoundException);
LUMPAL_DEFINE_EXCEPTION(InvalidKeyException);
LUMPAL_DEFINE_EXCEPTION(SignatureException);

using LumPalIo::DirLister_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kLongestAlias = 200;

bool IsControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

bool MayStandInName(char16_t unit) {
    return !IsControl(unit) && unit != u'/' && unit != u'\\';
}

String_t ExistingFile(const String_t& folder, const String_t& name) {
    const File_t file(KeyStoreDirectory() + folder, name);
    if (!file.Exists())
        throw KeyStoreException(LumPalMsg::CreateError_t("A certificate is said to be installed, but '%1' is missing.")
                                << file.GetAbsolutePath());
    return file.ToString();
}

/// Where an installation puts it, or where it still waits for the end of one.
String_t KeyFile(const String_t& coreId) {
    const String_t name = coreId + ".key";
    const bool waits =
        !File_t(KeyStoreDirectory() + "own", name).Exists() && File_t(KeyStoreDirectory() + "requested", name).Exists();
    return ExistingFile(waits ? "requested" : "own", name);
}

void RequireAlias(const String_t& coreId) {
    if (coreId.IsEmpty()) {
        throw KeyStoreException(
            LumPalMsg::CreateError_t("A certificate is said to be installed, but the node has no id: CORE_ID in "
                                     "'sec.core' is empty.")
                .AddDetails(LumPalMsg::CreateInfo_t("'lumtrust install' installs a certificate and sets the id.")));
    }
    if (!IsAlias(coreId))
        throw KeyStoreException(
            LumPalMsg::CreateError_t(
                "A certificate is said to be installed, but CORE_ID '%1' in 'sec.core' names no key store entry.")
            << coreId);
}

}  // namespace

bool IsAlias(const String_t& name) {
    const std::u16string_view units = name.View();
    if (units.empty() || units == u"." || units == u"..") return false;
    return std::all_of(units.begin(), units.end(), MayStandInName) && name.ToUtf8().size() <= kLongestAlias;
}

String_t KeyStoreDirectory() {
    return LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc, "keystore");
}

std::vector<String_t> NodeIdentity::FindTrusted() {
    std::vector<String_t> paths;
    const File_t folder(KeyStoreDirectory() + "trusted");
    if (!folder.IsDirectory()) return paths;
    DirLister_t lister(folder, DirLister_t::Filter_t::Suffix(".pem"));
    while (lister.Next()) paths.push_back(lister.GetCurrentFile().ToString());
    std::sort(paths.begin(), paths.end());
    return paths;
}

NodeIdentity NodeIdentity::Load() {
    NodeIdentity identity;
    identity.coreId = LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey);
    identity.certificateInstalled =
        LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCmCert).Open().GetBool(LumPalKeys::CertInstalledKey);
    identity.trustedPaths = FindTrusted();
    if (!identity.certificateInstalled) return identity;
    RequireAlias(identity.coreId);
    identity.certificatePath = ExistingFile("own", identity.coreId + ".pem");
    identity.keyPath = KeyFile(identity.coreId);
    return identity;
}

}  // namespace LumSecCore
