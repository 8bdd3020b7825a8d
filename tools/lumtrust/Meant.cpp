#include "lumtrust/Meant.h"

#include <algorithm>
#include <optional>

#include "LumSecPki.h"
#include "common/Arguments.h"
#include "lumtrust/Command.h"

namespace lumtrust {

using LumPalIo::File_t;
using LumSecCore::CertificateId;
using LumSecCore::X509Certificate;
using lumtools::Text;

namespace {

constexpr std::size_t kFingerprintDigits = 64;
constexpr const char* kParts[] = {"own", "trusted"};
constexpr const char* kEndings[] = {".pem", ".crt", ".cer", ".der"};

/// As openssl prints it, or without colons; empty for what is none.
std::string FingerprintFrom(const std::string& text) {
    std::string digits;
    for (const char c : text) {
        if (c != ':') digits += c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    const bool isOne =
        digits.size() == kFingerprintDigits && digits.find_first_not_of("0123456789abcdef") == digits.npos;
    return isOne ? digits : "";
}

/// Of a file that cannot be read none: others may hold what is looked for.
std::vector<X509Certificate> CertificatesIn(const File_t& file) try {
    return ReadCertificates(file.ToString().ToUtf8());
} catch (const LumPalMsg::Exception_t&) {
    return {};
}

X509Certificate FindByFingerprint(const std::string& fingerprint) {
    for (const char* part : kParts) {
        for (const File_t& file : StoreFiles(part, ".pem")) {
            for (const X509Certificate& certificate : CertificatesIn(file))
                if (LumSecPki::FingerprintOf(certificate).ToUtf8() == fingerprint) return certificate;
        }
    }
    Refuse("No certificate of this node's key store has the fingerprint '%1'; name its file, or --serial and --issuer.",
           fingerprint);
}

X509Certificate OnlyOneIn(const std::string& path) {
    const std::vector<X509Certificate> certificates = ReadCertificates(path);
    if (certificates.size() > 1)
        Refuse("'%1' holds more than one certificate; name the one by --serial and --issuer.", path);
    return certificates.front();
}

MeantCertificate Of(const X509Certificate& certificate) {
    return {CertificateId::Of(certificate), certificate.GetSubjectCN().ToUtf8()};
}

/// An authority by its alias or its file, or its name as it was told.
std::string IssuerNamed(const std::string& issuer) {
    const bool isAlias = LumSecCore::IsAlias(Text(issuer)) && StoreFile("trusted", Text(issuer), ".pem").Exists();
    const std::string path = isAlias ? StoreFile("trusted", Text(issuer), ".pem").ToString().ToUtf8() : issuer;
    if (isAlias || File_t(Text(path)).Exists()) return CertificateId::NameOf(ReadCertificates(path).front());
    if (issuer.starts_with('#') || issuer.find('=') != issuer.npos) return issuer;
    Refuse("'%1' is no alias of a trusted certificate, no file, and no name such as 'CN=authority'.", issuer);
}

/// Those that the node shows: its own and the chain behind it.
std::vector<X509Certificate> Shown() try {
    const LumSecCore::NodeIdentity identity = LumSecCore::NodeIdentity::Load();
    return identity.certificateInstalled ? CertificatesIn(File_t(identity.certificatePath))
                                         : std::vector<X509Certificate>();
} catch (const LumSecCore::KeyStoreException&) {
    return {};
}

bool HasIssued(const X509Certificate& authority, const X509Certificate& certificate) try {
    return certificate.Verify(authority.GetPublicKey());
} catch (const LumPalMsg::Exception_t&) {
    return false;  // a key of another kind
}

bool HasIssuedOneOf(const X509Certificate& authority, const std::vector<X509Certificate>& shown) {
    return std::any_of(shown.begin(), shown.end(), [&](const auto& one) { return HasIssued(authority, one); });
}

/// Also one that is shown itself: trusted, it vouches for itself.
bool VouchesForOneOf(const X509Certificate& trusted, const std::vector<X509Certificate>& shown) {
    const std::string fingerprint = LumSecPki::FingerprintOf(trusted).ToUtf8();
    const auto isItself = [&](const X509Certificate& one) {
        return LumSecPki::FingerprintOf(one).ToUtf8() == fingerprint;
    };
    return HasIssuedOneOf(trusted, shown) || std::any_of(shown.begin(), shown.end(), isItself);
}

}  // namespace

void AddSerialAndIssuer(CLI::App& command, CertificateChoice& choice) {
    command.add_option("--serial", choice.serial, "The certificate's serial number, hexadecimal; with --issuer")
        ->type_name("NUMBER");
    command.add_option("--issuer", choice.issuer, "Its issuer: a trusted alias, a certificate's file, or \"CN=name\"")
        ->type_name("ISSUER");
}

bool LooksLikeCertificate(const std::string& text) {
    const auto ends = [&text](const char* ending) { return text.ends_with(ending); };
    return !FingerprintFrom(text).empty() || text.find('/') != text.npos ||
           std::any_of(std::begin(kEndings), std::end(kEndings), ends);
}

MeantCertificate FindMeant(const CertificateChoice& choice) {
    if (choice.what.empty() == choice.serial.empty() || choice.serial.empty() != choice.issuer.empty())
        throw CLI::ValidationError("a certificate is named by its file or fingerprint, or by --serial and --issuer");
    if (choice.what.empty()) {
        const std::string serial = CertificateId::SerialFrom(choice.serial);
        if (serial.empty()) throw CLI::ValidationError("--serial: '" + choice.serial + "' is no hexadecimal number");
        return {{serial, IssuerNamed(choice.issuer)}, ""};
    }
    const std::string fingerprint = FingerprintFrom(choice.what);
    const bool isFile = fingerprint.empty() || File_t(Text(choice.what)).Exists();
    return Of(isFile ? OnlyOneIn(choice.what) : FindByFingerprint(fingerprint));
}

bool ServesThisNode(const CertificateId& id) {
    const std::vector<X509Certificate> shown = Shown();
    LumSecCore::RevocationList one;
    one.Add({id, UtcTime(0), ""});
    const auto isMeant = [&one](const X509Certificate& certificate) {
        return one.Holds(CertificateId::Of(certificate));
    };
    if (std::any_of(shown.begin(), shown.end(), isMeant)) return true;
    for (const File_t& file : StoreFiles("trusted", ".pem")) {
        for (const X509Certificate& authority : CertificatesIn(file))
            if (isMeant(authority) && HasIssuedOneOf(authority, shown)) return true;
    }
    return false;
}

bool IsLeftWithout(const File_t& trusted) {
    const std::vector<X509Certificate> shown = Shown();
    const auto vouches = [&shown](const File_t& file) {
        const std::vector<X509Certificate> held = CertificatesIn(file);
        return std::any_of(held.begin(), held.end(),
                           [&shown](const X509Certificate& one) { return VouchesForOneOf(one, shown); });
    };
    if (shown.empty() || !vouches(trusted)) return false;
    const std::vector<File_t> files = StoreFiles("trusted", ".pem");
    return std::none_of(files.begin(), files.end(),
                        [&](const File_t& file) { return file.GetName() != trusted.GetName() && vouches(file); });
}

}  // namespace lumtrust
