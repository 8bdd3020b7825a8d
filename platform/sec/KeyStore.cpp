// KeyStore of LumSecCore.h.
#include <openssl/err.h>
#include <openssl/pem.h>

#include "Crypto.h"
#include "LumPalIo.h"
#include "LumPalWhole.h"
#include "LumSecPki.h"

namespace LumSecCore {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

namespace {

constexpr char kOwn[] = "own", kTrusted[] = "trusted", kRequested[] = "requested";

template <class E>
[[noreturn]] void Fail(const char* text, const String_t& name, const LumPalMsg::MessageList_t& details = {}) {
    CreateError_t message{String_t(text)};
    message << name;
    message.AddDetails(details);
    throw E(message);
}

CharArray_t ReadFile(const File_t& file) {
    try {
        return LumPalIo::ReadAtMost(LumPalIo::FileInputStream_t(file), LumSecPki::kLargestPemFile);
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        Fail<EntryNotFoundException>("The key store has no '%1'.", file.GetAbsolutePath(), e.GetMessageList());
    } catch (const LumPalIo::IOException_t& e) {
        Fail<KeyStoreException>("The key store's file '%1' cannot be read.", file.GetAbsolutePath(),
                                e.GetMessageList());
    }
}

/// Nobody is asked for a passphrase.
int NoPassphrase(char*, int, int, void*) {
    return -1;
}

bool IsAbsence(unsigned long code) {
    return ERR_GET_LIB(code) == ERR_LIB_PEM && ERR_GET_REASON(code) == PEM_R_NO_START_LINE;
}

/// The first object of its kind in a PEM file. @throws EntryNotFoundException for a file that holds none
template <class Object, class Read>
CryptoPtr<Object> ReadPem(const File_t& file, Read read) {
    if (!file.Exists() || file.IsDirectory()) {
        Fail<EntryNotFoundException>("The key store has no '%1'.", file.GetAbsolutePath());
    }
    const CharArray_t bytes = ReadFile(file);
    ERR_clear_error();
    const CryptoPtr<BIO> input(BIO_new_mem_buf(bytes.GetData(), static_cast<int>(bytes.GetLength())));
    CryptoPtr<Object> object(read(input.get(), nullptr, NoPassphrase, nullptr));
    if (object) return object;
    const bool absent = IsAbsence(ERR_peek_last_error()) || bytes.GetLength() == 0;
    const LumPalMsg::MessageList_t failure = LastFailure();
    if (absent) Fail<EntryNotFoundException>("The key store's file '%1' holds no entry.", file.GetAbsolutePath());
    Fail<KeyStoreException>("The key store's file '%1' is broken.", file.GetAbsolutePath(), failure);
}

File_t FileOf(const String_t& folder, const char* part, const String_t& alias, const char* suffix) {
    if (!IsAlias(alias)) Fail<EntryNotFoundException>("'%1' names no entry of the key store.", alias);
    return File_t(folder + part + File_t::Separator() + alias + suffix);
}

}  // namespace

KeyStore::KeyStore() : folder(KeyStoreDirectory()) {
    if (!File_t(folder).IsDirectory()) Fail<KeyStoreException>("The key store '%1' is not there.", folder);
    try {
        LumPalIo::DirLister_t lister{File_t(folder)};
    } catch (const LumPalIo::IOException_t& e) {
        Fail<KeyStoreException>("The key store '%1' cannot be read.", folder, e.GetMessageList());
    }
}

bool KeyStore::IsTrustedCertEntry(const String_t& alias) const {
    return IsAlias(alias) && FileOf(folder, kTrusted, alias, ".pem").Exists();
}

/// The key of a certificate whose installation was interrupted still lies where it waited for it.
bool KeyStore::FindWaitingKey(const String_t& alias, Key& key) const try {
    const File_t file = FileOf(folder, kRequested, alias, ".key");
    if (!file.Exists()) return false;
    X509Certificate certificate;
    GetOwnCertificate(alias, certificate);
    Key waiting = MakeKey(ReadPem<EVP_PKEY>(file, PEM_read_bio_PrivateKey));
    if (!LumSecPki::Match(certificate, waiting)) return false;
    key = std::move(waiting);
    return true;
} catch (const SecCoreException&) {
    return false;
}

void KeyStore::GetCertificate(const String_t& alias, X509Certificate& certificate) const {
    if (!IsTrustedCertEntry(alias)) return GetOwnCertificate(alias, certificate);
    GetTrustedCertificate(alias, certificate);
}

void KeyStore::GetTrustedCertificate(const String_t& alias, X509Certificate& certificate) const {
    certificate = MakeCertificate(ReadPem<X509>(FileOf(folder, kTrusted, alias, ".pem"), PEM_read_bio_X509));
}

void KeyStore::GetOwnCertificate(const String_t& alias, X509Certificate& certificate) const {
    certificate = MakeCertificate(ReadPem<X509>(FileOf(folder, kOwn, alias, ".pem"), PEM_read_bio_X509));
}

void KeyStore::GetPrivateKey(const String_t& alias, Key& key) const {
    if (FindWaitingKey(alias, key)) return;
    key = MakeKey(ReadPem<EVP_PKEY>(FileOf(folder, kOwn, alias, ".key"), PEM_read_bio_PrivateKey));
}

}  // namespace LumSecCore
