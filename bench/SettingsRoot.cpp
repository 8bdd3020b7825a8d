#include "SettingsRoot.h"

#include "Authorization.h"
#include "Documents.h"
#include "PolicyHeader.h"
#include "SettingsPolicies.h"
#include "Store.h"
#include "TestPki.h"

namespace bench {
namespace {

using LumPalStr::String_t;

constexpr int kAttributes = 20;

std::string Digits(int number) {
    const std::string digits = std::to_string(number);
    return std::string(8 - digits.size(), '0') + digits;
}

}  // namespace

std::string SettingsText(int number, Settings kind, int round) {
    std::string text = "[app.module" + (kind == Settings::Apart ? "." + Digits(number) : std::string()) + "]\n";
    for (int i = 0; i < kAttributes; ++i) {
        text += "setting-" + Digits(i) + "=value " + Digits(round) + " of policy " + Digits(number) + "\n";
    }
    return text;
}

std::string WriteSettingsPolicy(const std::string& root, int number, const std::string& text) {
    const TestPolicy policy = SettingsPolicy(PolicyId(number), "settings of module " + Digits(number), text);
    // A signed one stands there protected.
    std::filesystem::remove(root + "/policies/" + policy.type + "/" + policy.HeaderName());
    return policy.WriteFiles(root + "/policies/" + policy.type).GetAbsolutePath().ToUtf8();
}

SettingsRoot::SettingsRoot(int policies, Settings kind) : root(PlaceInMemory()), count(policies), kind(kind) {
    for (int i = 0; i < count; ++i) WriteSettingsPolicy(root.Native(), i, Text(i));
}

void SettingsRoot::Use() const {
    LumPalRuntime::Dir_t::SetRoot(root.Path());
    LumConf::Authorization::GetInstance().Update();
}

void SettingsRoot::Sign() {
    const TestAuthority authority("authority");
    const TestIdentity signer = authority.Issue("signer", "");
    Use();
    InstallTrust("authority", authority.Certificate());
    WriteKeyStore("own/signer.pem", signer.certificate);
    WriteKeyStore("own/signer.key", signer.key);
    WriteFile(root.Native() + "/etc/authorization.ini", "[conf]\nsigner=sign\n");
    Use();
    isSigned = true;
    for (int i = 0; i < count; ++i) SignOne(i);
}

void SettingsRoot::SignOne(int number) const {
    const std::string header = root.Native() + "/policies/configsettings/" + PolicyId(number) + "_header.xml";
    LumConf::PolicyHeader::SignData(LumPalIo::File_t(String_t::FromUtf8(header)), LumPalArray::CharArray_t("signer"));
}

void SettingsRoot::Change(int number, int round) const {
    WriteSettingsPolicy(root.Native(), number, SettingsText(number, kind, round));
    if (isSigned) SignOne(number);
}

String_t SettingsRoot::Ids() const {
    std::string ids;
    for (int i = 0; i < count; ++i) ids += (i ? " " : "") + PolicyId(i);
    return String_t::FromUtf8(ids);
}

}  // namespace bench
