// Reading and replacing files, one change after the other.
#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <thread>

#include "LumPalDurable.h"
#include "LumPalFileMark.h"
#include "LumPalRuntime.h"
#include "LumPalWhole.h"
#include "LumSecAuth.h"
#include "LumSecPki.h"
#include "common/Arguments.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;
using lumtools::Text;

namespace {

constexpr char kAsidePrefix[] = ".lumtrust";
constexpr const char* kStoreParts[] = {"", "own", "trusted", "requested"};

[[noreturn]] void CannotWrite(const File_t& file, const LumPalMsg::MessageList_t& reason) {
    throw LumPalIo::IOException_t(CreateError_t("The file '%1' cannot be written.").AddDetails(reason)
                                  << file.GetAbsolutePath());
}

void MakeFolder(const File_t& folder) {
    if (folder.IsDirectory()) return;
    if (!folder.Mkdirs() || !folder.SetMode(kSecretFolderMode)) CannotWrite(folder, {});
}

/// What runs that were killed have left in the node's folders.
void RemoveLeftAside() {
    LumPalIo::RemoveLeftAside(File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc)), kAsidePrefix);
    for (const char* part : kStoreParts) {
        LumPalIo::RemoveLeftAside(File_t(LumSecCore::KeyStoreDirectory() + part), kAsidePrefix);
    }
}

void Take(LumPalRuntime::InstanceLock_t& lock, const String_t& path) {
    constexpr std::chrono::milliseconds pause(20);
    const auto patience = GetPatience();
    if (!patience) return lock.Lock(path);
    const auto end = std::chrono::steady_clock::now() + *patience;
    while (!lock.TryLock(path)) {
        if (std::chrono::steady_clock::now() >= end)
            Refuse("Nothing was changed: another lumtrust holds '%1' and has not ended in time.", path.ToUtf8());
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace

void Refuse(const char* text, const std::string& name) {
    throw LumPalMsg::RuntimeException_t(CreateError_t(String_t(text)) << Text(name));
}

std::vector<LumSecCore::X509Certificate> ReadCertificates(const std::string& path) {
    const CharArray_t bytes = ReadFile(path);
    try {
        return LumSecPki::ReadCertificates(bytes);
    } catch (const LumSecCore::SecCoreException& e) {
        throw LumPalMsg::RuntimeException_t(
            CreateError_t("The file '%1' cannot be read as a certificate.").AddDetails(e.GetMessageList())
            << Text(path));
    }
}

CharArray_t ReadFile(const std::string& path) {
    const File_t file(Text(path));
    std::optional<CharArray_t> bytes =
        LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(file), LumSecPki::kLargestPemFile);
    if (!bytes) Refuse("The file '%1' is too large.", path);
    return *std::move(bytes);
}

void ReplaceFile(const File_t& file, const CharArray_t& bytes, unsigned mode) {
    MakeFolder(File_t(file.GetAbsolutePath()).GetParentFile());
    try {
        LumPalIo::ReplaceFile(file, kAsidePrefix, bytes, mode);
    } catch (const LumPalIo::IOException_t& e) {
        CannotWrite(file, e.GetMessageList());
    }
}

void FlushWithFolder(const File_t& file) {
    if (file.Exists()) LumPalIo::Flush(file);
    const File_t folder = File_t(file.GetAbsolutePath()).GetParentFile();
    if (folder.Exists()) LumPalIo::Flush(folder);
}

void CreateFile(const File_t& file, const CharArray_t& bytes, unsigned mode) {
    if (file.Exists() || file.IsSymbolicLink()) {
        Refuse("'%1' is there already and is not overwritten.", file.ToString().ToUtf8());
    }
    ReplaceFile(file, bytes, mode);
}

ChangeLock::ChangeLock() {
    const File_t root(LumPalRuntime::Dir_t::Path(LumPalRuntime::Root));
    if (root.Exists() && !root.IsOwnedByThisUser()) {
        throw LumSecAuth::NotAuthorizedException(
            CreateError_t(
                "The node in '%1' belongs to another user; run lumtrust as that user (sudo -u USER lumtrust ...).")
            << root.ToString());
    }
    const File_t folder(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc));
    MakeFolder(folder);
    Take(lock, File_t(folder, "lumtrust.lock").ToString());
    RemoveLeftAside();
}

std::string UtcTime(std::int64_t seconds) {
    const std::time_t time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    return std::string(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts));
}

std::string WaitsSince(const File_t& file) {
    constexpr std::int64_t secondNs = 1'000'000'000;
    const auto mark = LumPalIo::MarkOf(file, LumPalIo::Links::NotFollowed);
    return mark ? UtcTime(mark->modified / secondNs) : "an unknown time";
}

std::vector<File_t> StoreFiles(const char* part, const char* suffix) {
    std::vector<File_t> files;
    const File_t folder(LumSecCore::KeyStoreDirectory() + part);
    if (!folder.IsDirectory()) return files;
    LumPalIo::DirLister_t lister(folder, LumPalIo::DirLister_t::Filter_t::Suffix(suffix));
    while (lister.Next()) files.push_back(lister.GetCurrentFile());
    std::sort(files.begin(), files.end(), [](const File_t& a, const File_t& b) { return a.GetName() < b.GetName(); });
    return files;
}

File_t StoreFile(const char* part, const String_t& alias, const char* suffix) {
    return File_t(LumSecCore::KeyStoreDirectory() + part + File_t::Separator() + alias + suffix);
}

String_t CheckedAlias(const std::string& alias) {
    String_t name = Text(alias);
    if (!LumSecCore::IsAlias(name)) Refuse("'%1' cannot name an entry of the key store.", alias);
    return name;
}

}  // namespace lumtrust
