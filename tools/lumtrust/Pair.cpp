// Key and certificate are two files, and only together are they worth anything: how they change as one.
#include "LumPalDurable.h"
#include "LumSecPki.h"
#include "lumtrust/Command.h"

namespace lumtrust {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;
using LumSecCore::Key;

namespace {

bool Holds(const File_t& file, const CharArray_t& bytes) {
    return file.Exists() && ReadFile(file.ToString().ToUtf8()).View() == bytes.View();
}

/// The key that waits takes its place; afterwards there is none that waits.
void TakeWaitingKey(const String_t& coreId) {
    const File_t waiting = StoreFile("requested", coreId, ".key"), key = StoreFile("own", coreId, ".key");
    if (!waiting.SetMode(kSecretMode)) {
        throw LumPalIo::IOException_t(CreateError_t("The key '%1' cannot be replaced.") << key.GetAbsolutePath());
    }
    LumPalIo::MoveFile(waiting, key);
}

/// Puts the key where it waits for its certificate, unless it is there. A power cut must not leave the certificate
/// without it.
void KeepWaiting(const File_t& waiting, const CharArray_t& keyText) {
    if (!Holds(waiting, keyText)) return ReplaceFile(waiting, keyText, kSecretMode);
    FlushWithFolder(waiting);
}

bool IsWaitingForItsPlace(const String_t& coreId) try {
    const File_t waiting = StoreFile("requested", coreId, ".key"), certificate = StoreFile("own", coreId, ".pem");
    if (!waiting.Exists() || !certificate.Exists()) return false;
    return LumSecPki::Match(LumSecPki::ReadCertificate(ReadFile(certificate.ToString().ToUtf8())),
                            LumSecPki::ReadPrivateKey(ReadFile(waiting.ToString().ToUtf8())));
} catch (const LumSecCore::SecCoreException&) {
    return false;
}

}  // namespace

void FinishInstallation(const String_t& coreId) {
    if (IsWaitingForItsPlace(coreId)) TakeWaitingKey(coreId);
}

void InstallPair(const String_t& coreId, const CharArray_t& certificate, const Key& key) {
    const CharArray_t keyText = LumSecPki::ToPem(key);
    const File_t inUse = StoreFile("own", coreId, ".key");
    const bool isInUse = Holds(inUse, keyText);
    isInUse ? FlushWithFolder(inUse) : KeepWaiting(StoreFile("requested", coreId, ".key"), keyText);
    ReplaceFile(StoreFile("own", coreId, ".pem"), certificate, kPublicMode);
    if (!isInUse) TakeWaitingKey(coreId);
}

}  // namespace lumtrust
