// OwnPair of LumSecCore.h.

#include "LumPalIo.h"
#include "LumPalWhole.h"
#include "LumSecCore.h"
#include "LumSecPki.h"

namespace LumSecCore {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

namespace {

/// One reading can meet a pair that is being replaced; two in a row cannot.
constexpr int kReadings = 3;

File_t FileOf(const char* part, const String_t& alias, const char* suffix) {
    return File_t(KeyStoreDirectory() + part + File_t::Separator() + alias + suffix);
}

/// Empty for a file that is not there or cannot be read: whoever needs it says so.
std::string Content(const File_t& file) try {
    if (!file.Exists()) return {};
    const LumPalIo::FileInputStream_t input(file);
    return std::string(LumPalIo::ReadAtMost(input, LumSecPki::kLargestPemFile).View());
} catch (const LumPalIo::IOException_t&) {
    return {};
}

CharArray_t Bytes(const std::string& text) {
    return CharArray_t(text.data(), text.size());
}

bool Belong(const OwnPair& pair) try {
    return LumSecPki::Match(LumSecPki::ReadCertificate(Bytes(pair.certificate)),
                            LumSecPki::ReadPrivateKey(Bytes(pair.key)));
} catch (const SecCoreException&) {
    return false;
}

template <class Read>
void Require(const char* what, const File_t& file, Read read) try {
    if (!file.Exists()) {
        throw KeyStoreException(CreateError_t("A certificate is said to be installed, but '%1' is missing.")
                                << file.GetAbsolutePath());
    }
    read(Bytes(Content(file)));
} catch (const KeyStoreException&) {
    throw;
} catch (const SecCoreException& e) {
    throw KeyStoreException(CreateError_t(String_t(what) + " '%1' cannot be used.").AddDetails(e.GetMessageList())
                            << file.GetAbsolutePath());
}

[[noreturn]] void SayWhatIsWrong(const File_t& certificate, const File_t& key) {
    Require("The certificate", certificate, LumSecPki::ReadCertificates);
    Require("The key", key, LumSecPki::ReadPrivateKey);
    throw KeyStoreException(CreateError_t("The key '%1' cannot be used: it does not belong to the certificate '%2'.")
                            << key.GetAbsolutePath() << certificate.GetAbsolutePath());
}

}  // namespace

OwnPair OwnPair::Load(const String_t& alias, const OwnPair& known) {
    const File_t certificate = FileOf("own", alias, ".pem"), key = FileOf("own", alias, ".key");
    for (int reading = 0; reading < kReadings; ++reading) {
        OwnPair pair{Content(certificate), Content(key)};
        if ((!pair.key.empty() && pair == known) || Belong(pair)) return pair;
        pair.key = Content(FileOf("requested", alias, ".key"));
        if (Belong(pair)) return pair;
    }
    SayWhatIsWrong(certificate, key);
}

}  // namespace LumSecCore
