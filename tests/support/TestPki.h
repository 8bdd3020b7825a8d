/// @file
/// Certificates for tests: an authority, what it issues, and a node's key store filled with it.
#pragma once

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalRuntime.h"

/// PEM texts.
struct TestIdentity {
    std::string certificate, key;
};

/// Extensions of a certificate by the names and in the forms of openssl: {"keyUsage", "critical,keyCertSign"}.
using TestExtensions = std::vector<std::pair<std::string, std::string>>;

/// A certificate of one's own, self-signed, as some make it who want an authority.
struct TestAuthorityKind {
    const char* what;
    long version;
    TestExtensions extensions;
};
inline void PrintTo(const TestAuthorityKind& kind, std::ostream* out) {
    *out << kind.what;
}

/// Those that do not say that they are authorities, or say that they sign no certificates.
inline const std::vector<TestAuthorityKind> kNoAuthorities = {
    {"version 1", X509_VERSION_1, {}},
    {"version 3 without extensions", X509_VERSION_3, {}},
    {"keyCertSign alone", X509_VERSION_3, {{"keyUsage", "critical,keyCertSign"}}},
    {"nsCertType alone", X509_VERSION_3, {{"nsCertType", "sslCA"}}},
    {"not an authority", X509_VERSION_3, {{"basicConstraints", "critical,CA:FALSE"}, {"keyUsage", "keyCertSign"}}},
    {"an authority that signs no certificates",
     X509_VERSION_3,
     {{"basicConstraints", "critical,CA:TRUE"}, {"keyUsage", "digitalSignature"}}},
};

/// Issues certificates, for P-256 keys unless asked for another kind.
class TestAuthority {
public:
    /// @param kind  of the authority's own key
    /// @param days  until its certificate ends
    explicit TestAuthority(const std::string& name, const std::string& kind = "EC:P-256", int days = 1)
        : key(NewKey(kind)), certificate(Make(Named(name), "", *key, "critical,CA:TRUE", days)) {}
    /// @param from  days from now
    explicit TestAuthority(const std::string& name, const TestAuthorityKind& kind, int days = 1, int from = -10)
        : key(NewKey("EC:P-256")), certificate(Make(Named(name), "", *key, "", days, from)) {
        X509_set_version(certificate.get(), kind.version);
        Extend(certificate.get(), kind.extensions);
        if (!X509_sign(certificate.get(), key.get(), EVP_sha256())) throw std::runtime_error("cannot sign");
    }
    /// Acts as an authority with what was issued to it, whether that allows it or not.
    explicit TestAuthority(const TestIdentity& identity)
        : key(PEM_read_bio_PrivateKey(Input(identity.key).get(), nullptr, nullptr, nullptr)),
          certificate(PEM_read_bio_X509(Input(identity.certificate).get(), nullptr, nullptr, nullptr)) {}
    std::string Certificate() const {
        return Text([this](BIO* out) { PEM_write_bio_X509(out, certificate.get()); });
    }
    /// @param commonName  of the subject
    /// @param names       as "DNS:localhost,IP:127.0.0.1"; may be empty
    /// @param days        until it ends; below 0 it has ended
    TestIdentity Issue(const std::string& commonName, const std::string& names, int days = 1) const {
        return Issue(commonName, names, days, NewKey());
    }
    /// With extensions beside the usual ones.
    TestIdentity IssueWith(const TestExtensions& extensions, const std::string& commonName,
                           const std::string& names = "") const {
        const Key own = NewKey();
        const Certificate_ made = Make(Named(commonName), names, *own, "critical,CA:FALSE", 1);
        Extend(made.get(), extensions);
        if (!X509_sign(made.get(), key.get(), EVP_sha256())) throw std::runtime_error("cannot sign a certificate");
        return Texts(made, own);
    }
    /// The authority itself as somebody who has its key.
    TestIdentity Self() const { return Texts(certificate, key); }
    /// For a key of another kind. @param kind  "RSA:2048", "EC:P-256" or "ED25519"
    TestIdentity IssueFor(const std::string& kind, const std::string& commonName, int days = 1) const {
        return Issue(commonName, "", days, NewKey(kind));
    }
    /// One whose time has not come. @param from  days from now
    TestIdentity IssueLater(const std::string& commonName, int from) const {
        return Issue(commonName, "", from + 1, NewKey(), from);
    }

    /// Of a common name in the subject, or of several, or of none. Each is UTF-8, and may hold what no name should.
    TestIdentity IssueNamed(const std::vector<std::string>& commonNames) const {
        const Key own = NewKey();
        return Texts(Make(commonNames, "", *own, "critical,CA:FALSE", 1), own);
    }
    /// For some uses alone. @param usage  as "serverAuth" or "clientAuth"
    TestIdentity IssueOnlyFor(const std::string& usage, const std::string& commonName, const std::string& names) const {
        const Key own = NewKey();
        return Texts(Make(Named(commonName), names, *own, "critical,CA:FALSE", 1, -10, usage), own);
    }
    /// Signed over another digest than SHA-256. @param digest  as "SHA1"
    TestIdentity IssueBy(const std::string& digest, const std::string& commonName) const {
        const Key own = NewKey();
        const Certificate_ made = Make(Named(commonName), "", *own, "critical,CA:FALSE", 1);
        if (!X509_sign(made.get(), key.get(), EVP_get_digestbyname(digest.c_str())))
            throw std::runtime_error("cannot sign over " + digest);
        return Texts(made, own);
    }
    /// One that ends soon.
    TestIdentity IssueForSeconds(long seconds, const std::string& commonName) const {
        const Key own = NewKey();
        const Certificate_ made = Make(Named(commonName), "", *own, "critical,CA:FALSE", 1);
        X509_gmtime_adj(X509_getm_notAfter(made.get()), seconds);
        if (!X509_sign(made.get(), key.get(), EVP_sha256())) throw std::runtime_error("cannot sign a certificate");
        return Texts(made, own);
    }

private:
    struct Free {
        void operator()(EVP_PKEY* object) const { EVP_PKEY_free(object); }
        void operator()(X509* object) const { X509_free(object); }
        void operator()(BIO* object) const { BIO_free(object); }
        void operator()(X509_EXTENSION* object) const { X509_EXTENSION_free(object); }
    };
    using Key = std::unique_ptr<EVP_PKEY, Free>;
    using Certificate_ = std::unique_ptr<X509, Free>;

    TestIdentity Issue(const std::string& commonName, const std::string& names, int days, const Key& own,
                       int from = -10) const {
        return Texts(Make(Named(commonName), names, *own, "critical,CA:FALSE", days, from), own);
    }
    static TestIdentity Texts(const Certificate_& issued, const Key& own) {
        return {Text([&](BIO* out) { PEM_write_bio_X509(out, issued.get()); }), Text([&](BIO* out) {
                    PEM_write_bio_PrivateKey(out, own.get(), nullptr, nullptr, 0, nullptr, nullptr);
                })};
    }

    static std::unique_ptr<BIO, Free> Input(const std::string& text) {
        return std::unique_ptr<BIO, Free>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    }
    static Key NewKey() { return Key(EVP_EC_gen("P-256")); }
    static Key NewKey(const std::string& kind) {
        const std::size_t colon = kind.find(':');
        const std::string name = kind.substr(0, colon), detail = colon == kind.npos ? "" : kind.substr(colon + 1);
        Key key;
        if (name == "RSA") key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t(std::stoul(detail))));
        if (name == "EC") key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", detail.c_str()));
        if (name == "ED25519" || name == "ED448") key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, name.c_str()));
        if (!key) throw std::runtime_error("no such key: " + kind);
        return key;
    }
    template <class Write>
    static std::string Text(Write write) {
        const std::unique_ptr<BIO, Free> out(BIO_new(BIO_s_mem()));
        write(out.get());
        char* bytes = nullptr;
        const long length = BIO_get_mem_data(out.get(), &bytes);
        return std::string(bytes, static_cast<std::size_t>(length));
    }
    static void Extend(X509* target, int kind, const std::string& text) {
        const std::unique_ptr<X509_EXTENSION, Free> extension(
            X509V3_EXT_conf_nid(nullptr, nullptr, kind, text.c_str()));
        if (!extension) throw std::runtime_error("no such extension: " + text);
        X509_add_ext(target, extension.get(), -1);
    }
    static void Extend(X509* target, const TestExtensions& extensions) {
        for (const auto& [name, text] : extensions) {
            const std::unique_ptr<X509_EXTENSION, Free> extension(
                X509V3_EXT_nconf(nullptr, nullptr, name.c_str(), text.c_str()));
            if (!extension) throw std::runtime_error("no such extension: " + name + "=" + text);
            X509_add_ext(target, extension.get(), -1);
        }
    }
    static std::vector<std::string> Named(const std::string& commonName) { return {commonName}; }
    Certificate_ Make(const std::vector<std::string>& commonNames, const std::string& names, EVP_PKEY& subjectKey,
                      const std::string& constraints, int days, int from = -10, const std::string& usage = "") const {
        static int serial = 0;
        Certificate_ made(X509_new());
        X509_set_version(made.get(), X509_VERSION_3);
        ASN1_INTEGER_set(X509_get_serialNumber(made.get()), ++serial);
        X509_gmtime_adj(X509_getm_notBefore(made.get()), from * 86400L);
        X509_gmtime_adj(X509_getm_notAfter(made.get()), days * 86400L);
        for (const std::string& name : commonNames)
            X509_NAME_add_entry_by_txt(X509_get_subject_name(made.get()), "CN", V_ASN1_UTF8STRING,
                                       reinterpret_cast<const unsigned char*>(name.data()),
                                       static_cast<int>(name.size()), -1, 0);
        X509_set_issuer_name(made.get(), X509_get_subject_name(certificate ? certificate.get() : made.get()));
        X509_set_pubkey(made.get(), &subjectKey);
        if (!constraints.empty()) Extend(made.get(), NID_basic_constraints, constraints);
        if (!names.empty()) Extend(made.get(), NID_subject_alt_name, names);
        if (!usage.empty()) Extend(made.get(), NID_ext_key_usage, usage);
        const EVP_MD* const digest = EVP_PKEY_is_a(key.get(), "ED25519") ? nullptr : EVP_sha256();
        if (!X509_sign(made.get(), key.get(), digest)) throw std::runtime_error("cannot sign a certificate");
        return made;
    }

    Key key;
    Certificate_ certificate;
};

/// Writes attributes of one namespace into the configuration of the current root.
inline void Configure(const char* nameSpace, const char* name, const std::string& value) {
    LumPalConfig::Configuration_t configuration{LumPalStr::String_t(nameSpace)};
    configuration.SetAttrValue(name, LumPalStr::String_t::FromUtf8(value));
    LumPalConfig::ConfigUpdate_t update{LumPalStr::String_t()};
    update.SetConfig(configuration);
    update.Apply();
}

/// A file below the key store of the current root.
inline void WriteKeyStore(const std::string& name, const std::string& text) {
    const std::string folder = LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc, "keystore").ToUtf8();
    const std::filesystem::path path = std::filesystem::path(folder) / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

/// Trusts the PEM text at the current root.
inline void InstallTrust(const std::string& alias, const std::string& certificate) {
    WriteKeyStore("trusted/" + alias + ".pem", certificate);
}

/// Gives the node at the current root its core id and an installed certificate.
inline void InstallIdentity(const std::string& coreId, const TestIdentity& identity) {
    WriteKeyStore("own/" + coreId + ".pem", identity.certificate);
    WriteKeyStore("own/" + coreId + ".key", identity.key);
    Configure("sec.core", "CORE_ID", coreId);
    Configure("sec.cm.certificates", "CERT_INSTALLED", "true");
}
