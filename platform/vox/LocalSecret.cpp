#include "LocalSecret.h"

#include <openssl/crypto.h>

#include <algorithm>

#include "DigestText.h"
#include "LumPalDurable.h"
#include "LumPalRuntime.h"
#include "LumPalWhole.h"

namespace LumVoxMsg {
namespace {

constexpr char kAsidePrefix[] = "local.secret.";
constexpr std::size_t kBytes = 32;
constexpr std::size_t kDigits = 2 * kBytes;

bool IsDigits(std::string_view text) {
    return text.size() == kDigits && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

std::string HeaderValue(std::string_view digits) {
    return std::string(kLocalSecretScheme) + " " + std::string(digits);
}

[[noreturn]] void Fail(const LumPalIo::File_t& file, const LumPalMsg::MessageList_t& reason) {
    throw LumPalIo::IOException_t(
        LumPalMsg::CreateError_t("Cannot write the node's local secret to '%1'.").AddDetails(reason)
        << file.GetAbsolutePath());
}

/// A reader sees the old file or the whole new one, and nobody else ever may read either.
void Replace(const LumPalIo::File_t& file, const std::string& text) try {
    LumPalIo::ReplaceFile(file, kAsidePrefix, {text.data(), text.size()}, 0600);
} catch (const LumPalIo::IOException_t& e) {
    Fail(file, e.GetMessageList());
}

}  // namespace

LumPalIo::File_t LocalSecretFile() {
    return LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc) + "local.secret");
}

std::string LocalSecretDigits() try {
    const LumPalIo::File_t file = LocalSecretFile();
    if (file.IsSymbolicLink()) return {};
    const auto bytes = LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(file), kDigits);
    return bytes && IsDigits(bytes->View()) ? std::string(bytes->View()) : std::string();
} catch (const LumPalMsg::Exception_t&) {
    return {};
}

std::string LocalAuthorization() {
    const std::string digits = LocalSecretDigits();
    return digits.empty() ? std::string() : HeaderValue(digits);
}

void LocalSecret::Create() {
    const LumPalIo::File_t file = LocalSecretFile();
    if (!file.GetParentFile().Mkdirs()) Fail(file, {});
    const std::string digits = RandomDigits(kBytes);
    Replace(file, digits);
    expected = HeaderValue(digits);
}

void LocalSecret::RemoveLeftAside() noexcept {
    LumPalIo::RemoveLeftAside(LocalSecretFile().GetParentFile(), kAsidePrefix);
}

std::string_view LocalSecret::GetDigits() const noexcept {
    return std::string_view(expected).substr(expected.size() - std::min(expected.size(), kDigits));
}

bool LocalSecret::Matches(std::string_view authorization) const {
    return !expected.empty() && AreEqualSecrets(authorization, expected);
}

void LocalSecret::Remove() {
    if (expected.empty()) return;
    if (Matches(LocalAuthorization())) LocalSecretFile().Delete();
    OPENSSL_cleanse(expected.data(), expected.size());
    expected.clear();
}

}  // namespace LumVoxMsg
