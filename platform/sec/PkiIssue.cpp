// New keys, requests and certificates.
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <string>

#include "Crypto.h"
#include "LumSecPki.h"
#include "PkiFailure.h"
#include "TlsIdentity.h"

namespace LumSecPki {

using LumPalArray::CharArray_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;
using LumSecCore::CryptoPtr;
using LumSecCore::Key;
using LumSecCore::X509Certificate;

namespace {

constexpr std::size_t kLongestCommonName = 64;
/// Clocks of other nodes may be behind.
constexpr long kHeadStartSeconds = 3600;

struct FreePki {
    void operator()(X509_REQ* object) const { X509_REQ_free(object); }
    void operator()(X509_NAME* object) const { X509_NAME_free(object); }
    void operator()(X509_EXTENSION* object) const { X509_EXTENSION_free(object); }
    void operator()(STACK_OF(X509_EXTENSION) * object) const {
        sk_X509_EXTENSION_pop_free(object, X509_EXTENSION_free);
    }
    void operator()(GENERAL_NAMES* object) const { GENERAL_NAMES_free(object); }
};
template <class Object>
using PkiPtr = std::unique_ptr<Object, FreePki>;
using Extensions = PkiPtr<STACK_OF(X509_EXTENSION)>;

void Require(bool done, const char* text) {
    if (!done) Fail(text);
}

[[noreturn]] void Refuse(const char* text, const String_t& what) {
    throw LumPalMsg::IllegalArgumentError_t(CreateError_t(String_t(text)) << what);
}

std::string CheckedName(const String_t& name) {
    const std::string utf8 = name.ToUtf8();
    if (utf8.empty() || name.View().size() > kLongestCommonName || LumSecCore::HoldsControl(utf8))
        Refuse("'%1' cannot be a common name: 1 to 64 characters, none of them a control character.", name);
    return utf8;
}

PkiPtr<X509_NAME> NameOf(const String_t& commonName) {
    const std::string utf8 = CheckedName(commonName);
    PkiPtr<X509_NAME> name(X509_NAME_new());
    Require(name && X509_NAME_add_entry_by_NID(name.get(), NID_commonName, MBSTRING_UTF8,
                                               reinterpret_cast<const unsigned char*>(utf8.data()),
                                               static_cast<int>(utf8.size()), -1, 0) == 1,
            "The name cannot be made.");
    return name;
}

bool MayStandInLabel(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
}

bool IsLabel(std::string_view label) {
    return !label.empty() && label.size() <= 63 && label.front() != '-' && label.back() != '-' &&
           std::all_of(label.begin(), label.end(), MayStandInLabel);
}

bool IsHostName(std::string_view host) {
    if (host.size() > 253) return false;
    for (std::size_t dot = host.find('.'); dot != host.npos; dot = host.find('.')) {
        if (!IsLabel(host.substr(0, dot))) return false;
        host.remove_prefix(dot + 1);
    }
    return IsLabel(host);
}

/// Only what is an address or a host's name: the text would be read as a list with meanings of its own.
GENERAL_NAME* AlternativeName(const String_t& text) {
    const std::string host = text.ToUtf8();
    ASN1_OCTET_STRING* address = host.find('\0') == host.npos ? a2i_IPADDRESS(host.c_str()) : nullptr;
    ERR_clear_error();
    if (!address && !IsHostName(host)) Refuse("'%1' is neither a host name nor an address.", text);
    GENERAL_NAME* name = GENERAL_NAME_new();
    if (address) {
        GENERAL_NAME_set0_value(name, GEN_IPADD, address);
        return name;
    }
    ASN1_IA5STRING* dns = ASN1_IA5STRING_new();
    ASN1_STRING_set(dns, host.data(), static_cast<int>(host.size()));
    GENERAL_NAME_set0_value(name, GEN_DNS, dns);
    return name;
}

PkiPtr<X509_EXTENSION> HostExtension(const GENERAL_NAMES* names) {
    PkiPtr<X509_EXTENSION> extension(X509V3_EXT_i2d(NID_subject_alt_name, 0, const_cast<GENERAL_NAMES*>(names)));
    Require(extension != nullptr, "The host names cannot be encoded.");
    return extension;
}

Extensions HostExtensions(const std::vector<String_t>& hosts) {
    const PkiPtr<GENERAL_NAMES> names(GENERAL_NAMES_new());
    for (const String_t& host : hosts) sk_GENERAL_NAME_push(names.get(), AlternativeName(host));
    Extensions extensions(sk_X509_EXTENSION_new_null());
    Require(extensions && sk_X509_EXTENSION_push(extensions.get(), HostExtension(names.get()).release()) == 1,
            "The host names cannot be encoded.");
    return extensions;
}

bool IsHost(const GENERAL_NAME* name) {
    int kind = 0;
    const void* value = GENERAL_NAME_get0_value(name, &kind);
    if (kind != GEN_DNS && kind != GEN_IPADD) return false;
    const auto* text = static_cast<const ASN1_STRING*>(value);
    const std::string_view bytes(reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
                                 static_cast<std::size_t>(ASN1_STRING_length(text)));
    return kind == GEN_DNS ? IsHostName(bytes) : bytes.size() == 4 || bytes.size() == 16;
}

void Extend(X509* target, X509* issuer, int kind, const char* text) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, target, nullptr, nullptr, 0);
    const PkiPtr<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, &context, kind, text));
    Require(extension && X509_add_ext(target, extension.get(), -1) == 1, "An extension cannot be made.");
}

void SetSerial(X509* certificate) {
    unsigned char bytes[16];
    Require(RAND_bytes(bytes, sizeof bytes) == 1, "There is no randomness.");
    bytes[0] = static_cast<unsigned char>((bytes[0] & 0x7F) | 0x40);  // positive, and never shortened
    Require(ASN1_STRING_set(X509_get_serialNumber(certificate), bytes, sizeof bytes) == 1, "No serial number.");
}

CryptoPtr<X509> Begin(const X509_NAME* subject, const X509_NAME* issuer, EVP_PKEY* key, int days) {
    CryptoPtr<X509> made(X509_new());
    Require(made && X509_set_version(made.get(), X509_VERSION_3) == 1, "The certificate cannot be made.");
    SetSerial(made.get());
    X509_gmtime_adj(X509_getm_notBefore(made.get()), -kHeadStartSeconds);
    X509_time_adj_ex(X509_getm_notAfter(made.get()), days, 0, nullptr);
    Require(X509_set_subject_name(made.get(), subject) == 1 && X509_set_issuer_name(made.get(), issuer) == 1 &&
                X509_set_pubkey(made.get(), key) == 1,
            "The certificate cannot be made.");
    return made;
}

X509Certificate Sign(CryptoPtr<X509> certificate, EVP_PKEY* key) {
    Require(X509_sign(certificate.get(), key, DigestFor(key)) > 0, "The certificate cannot be signed.");
    return LumSecCore::MakeCertificate(std::move(certificate));
}

PkiPtr<X509_REQ> ReadRequest(const CharArray_t& pem) {
    ERR_clear_error();
    const CryptoPtr<BIO> input(BIO_new_mem_buf(pem.GetData(), static_cast<int>(pem.GetLength())));
    PkiPtr<X509_REQ> request(PEM_read_bio_X509_REQ(input.get(), nullptr, nullptr, nullptr));
    Require(request != nullptr, "The text holds no request for a certificate.");
    EVP_PKEY* key = X509_REQ_get0_pubkey(request.get());
    Require(key && X509_REQ_verify(request.get(), key) == 1, "The request is not signed with its own key.");
    return request;
}

/// Whoever trusts the authority takes every name in a certificate for proven: none but those of hosts is taken over,
/// no pattern and no name of another kind.
void TakeHosts(X509_REQ* request, X509* target) {
    const Extensions wanted(X509_REQ_get_extensions(request));
    if (!wanted || X509v3_get_ext_by_NID(wanted.get(), NID_subject_alt_name, -1) < 0) return;
    int critical = 0;
    const PkiPtr<GENERAL_NAMES> names(
        static_cast<GENERAL_NAMES*>(X509V3_get_d2i(wanted.get(), NID_subject_alt_name, &critical, nullptr)));
    Require(names != nullptr, "The request's list of hosts is broken, or stands there twice.");
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        Require(IsHost(sk_GENERAL_NAME_value(names.get(), i)),
                "The request asks for a name that is neither a host name nor an address.");
    }
    Require(X509_add_ext(target, HostExtension(names.get()).get(), -1) == 1, "The host names cannot be taken over.");
}

}  // namespace

void Fail(const char* text) {
    CreateError_t message{String_t(text)};
    message.AddDetails(LumSecCore::LastFailure());
    throw LumSecCore::SecCoreException(message);
}

Key NewKey() {
    CryptoPtr<EVP_PKEY> key(EVP_EC_gen("P-256"));
    Require(key != nullptr, "No key can be made.");
    return LumSecCore::MakeKey(std::move(key));
}

CharArray_t NewRequest(const Key& privateKey, const String_t& commonName, const std::vector<String_t>& hosts) {
    Require(!privateKey.IsNull(), "There is no key.");
    EVP_PKEY* key = privateKey.GetImpl()->key.get();
    const PkiPtr<X509_NAME> subject = NameOf(commonName);
    const PkiPtr<X509_REQ> request(X509_REQ_new());
    Require(request && X509_REQ_set_subject_name(request.get(), subject.get()) == 1 &&
                X509_REQ_set_pubkey(request.get(), key) == 1,
            "The request cannot be made.");
    if (!hosts.empty()) {
        const Extensions extensions = HostExtensions(hosts);
        Require(X509_REQ_add_extensions(request.get(), extensions.get()) == 1, "The request cannot hold the hosts.");
    }
    Require(X509_REQ_sign(request.get(), key, DigestFor(key)) > 0, "The request cannot be signed.");
    return Collect([&](BIO* out) { return PEM_write_bio_X509_REQ(out, request.get()); });
}

X509Certificate NewAuthority(const Key& privateKey, const String_t& commonName, int days) {
    Require(!privateKey.IsNull(), "There is no key.");
    EVP_PKEY* key = privateKey.GetImpl()->key.get();
    const PkiPtr<X509_NAME> name = NameOf(commonName);
    CryptoPtr<X509> made = Begin(name.get(), name.get(), key, days);
    Extend(made.get(), made.get(), NID_basic_constraints, "critical,CA:TRUE");
    Extend(made.get(), made.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    Extend(made.get(), made.get(), NID_subject_key_identifier, "hash");
    return Sign(std::move(made), key);
}

X509Certificate Issue(const X509Certificate& authority, const Key& authorityKey, const CharArray_t& request, int days) {
    if (!Match(authority, authorityKey)) Fail("The key is not that of the authority's certificate.");
    const PkiPtr<X509_REQ> asked = ReadRequest(request);
    const std::string name = LumSecCore::OnlyCommonName(X509_REQ_get_subject_name(asked.get()));
    const PkiPtr<X509_NAME> subject = NameOf(String_t::FromUtf8(name));
    X509* issuer = authority.GetImpl()->certificate.get();
    CryptoPtr<X509> made = Begin(subject.get(), X509_get_subject_name(issuer), X509_REQ_get0_pubkey(asked.get()), days);
    Extend(made.get(), issuer, NID_basic_constraints, "critical,CA:FALSE");
    Extend(made.get(), issuer, NID_key_usage, "critical,digitalSignature");
    Extend(made.get(), issuer, NID_ext_key_usage, "serverAuth,clientAuth");
    Extend(made.get(), issuer, NID_subject_key_identifier, "hash");
    // Of two authorities that bear one name it tells which one issued (RFC 5280, 4.2.1.1).
    if (X509_get0_subject_key_id(issuer)) Extend(made.get(), issuer, NID_authority_key_identifier, "keyid");
    TakeHosts(asked.get(), made.get());
    return Sign(std::move(made), authorityKey.GetImpl()->key.get());
}

}  // namespace LumSecPki
