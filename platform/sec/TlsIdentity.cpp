#include "TlsIdentity.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <algorithm>
#include <memory>
#include <new>

#include "Crypto.h"
#include "LumPalIo.h"
#include "LumSecAuth.h"
#include "LumSecPki.h"

namespace LumSecCore {

using LumPalStr::String_t;

namespace {

constexpr std::size_t kLongestId = 255;
constexpr int kDeepestChain = 8;
/// For TLS 1.2; those of TLS 1.3 are all as strong.
constexpr const char* kCiphers = "ECDHE+AESGCM:ECDHE+CHACHA20:!aNULL";
constexpr unsigned char kSessionContext[] = "lum";

String_t LastReason() {
    char text[256] = "";
    ERR_error_string_n(ERR_peek_last_error(), text, sizeof text);
    ERR_clear_error();
    return String_t::FromUtf8(text);
}

void Require(bool success, const char* what, const String_t& path) {
    if (success) return;
    throw KeyStoreException(LumPalMsg::CreateError_t(String_t(what) + " '%1' cannot be used: %2.")
                            << path << LastReason());
}

void SetProtocol(ssl_ctx_st* context) {
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(context, kCiphers);
    SSL_CTX_set_options(
        context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION | SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_NO_TICKET);
    SSL_CTX_set_mode(context,
                     SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    // A resumed session would carry a certificate past its end, and past the trust in it.
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_num_tickets(context, 0);
    SSL_CTX_set_session_id_context(context, kSessionContext, sizeof kSessionContext - 1);
}

LumPalArray::CharArray_t Bytes(const std::string& text) {
    return LumPalArray::CharArray_t(text.data(), text.size());
}

void SetPair(ssl_ctx_st* context, const OwnPair& pair, const String_t& certificateName, const String_t& keyName) {
    const auto chain = LumSecPki::ReadCertificates(Bytes(pair.certificate));
    const Key key = LumSecPki::ReadPrivateKey(Bytes(pair.key));
    const auto own = [](const X509Certificate& certificate) { return certificate.GetImpl()->certificate.get(); };
    bool taken = SSL_CTX_use_certificate(context, own(chain.front())) == 1;
    for (std::size_t i = 1; taken && i < chain.size(); ++i)
        taken = SSL_CTX_add1_chain_cert(context, own(chain[i])) == 1;
    Require(taken, "The certificate", certificateName);
    Require(SSL_CTX_use_PrivateKey(context, key.GetImpl()->key.get()) == 1, "The key", keyName);
}

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

Context NewContext() {
    Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    if (!context) throw std::bad_alloc();
    return context;
}

/// What went since the folder was looked at is trusted no longer: that is no failure.
bool WasTakenAway(const String_t& path) {
    if (LumPalIo::File_t(path).Exists()) return false;
    ERR_clear_error();
    return true;
}

void SetTrusted(ssl_ctx_st* context, const NodeIdentity& identity) {
    X509_STORE* store = SSL_CTX_get_cert_store(context);
    // What lies in the folder is trusted by itself: an issuer need not be a root.
    X509_STORE_set_flags(store, X509_V_FLAG_PARTIAL_CHAIN);
    for (const String_t& path : identity.trustedPaths) {
        const std::string name = path.ToUtf8();
        const bool loaded = X509_STORE_load_file(store, name.c_str()) == 1;
        if (!loaded && WasTakenAway(path)) continue;
        Require(loaded, "The trusted certificate", path);
    }
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_verify_depth(context, kDeepestChain);
}

/// What a handshake with the context would find.
int Verdict(X509* certificate, STACK_OF(X509) * chain, ssl_ctx_st* context) {
    const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> check(X509_STORE_CTX_new(),
                                                                                X509_STORE_CTX_free);
    if (!check || X509_STORE_CTX_init(check.get(), SSL_CTX_get_cert_store(context), certificate, chain) != 1 ||
        X509_STORE_CTX_set_default(check.get(), "ssl_client") != 1)
        return X509_V_ERR_UNSPECIFIED;
    X509_VERIFY_PARAM* const rules = X509_STORE_CTX_get0_param(check.get());
    X509_VERIFY_PARAM_set_depth(rules, kDeepestChain);
    X509_VERIFY_PARAM_set_auth_level(rules, SSL_CTX_get_security_level(context));
    if (X509_verify_cert(check.get()) == 1) return X509_V_OK;
    const int verdict = X509_STORE_CTX_get_error(check.get());
    return verdict == X509_V_OK ? X509_V_ERR_UNSPECIFIED : verdict;
}

bool IsControl(unsigned char byte) {
    return byte < 0x20 || byte == 0x7F;
}

const char* WhyNoId(const std::string& name) {
    if (name.empty()) return "the subject does not hold exactly one readable common name";
    if (HoldsControl(name)) return "the common name holds a control character";
    if (name.size() > kLongestId) return "the common name is too long";
    const String_t text = String_t::FromUtf8(name);
    if (text.ToUtf8() != name) return "the common name is no valid UTF-8";
    return LumSecAuth::IsReservedId(text) ? "the common name is reserved" : nullptr;
}

}  // namespace

// C1 control characters (U+0080 to U+009F) are C2 80 to C2 9F in UTF-8.
bool HoldsControl(const std::string& utf8) {
    if (std::any_of(utf8.begin(), utf8.end(), IsControl)) return true;
    for (std::size_t at = utf8.find('\xC2'); at != std::string::npos; at = utf8.find('\xC2', at + 1))
        if (at + 1 < utf8.size() && static_cast<unsigned char>(utf8[at + 1]) < 0xA0) return true;
    return false;
}

std::string OnlyCommonName(const X509_name_st* subject) {
    const int first = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (first < 0 || X509_NAME_get_index_by_NID(subject, NID_commonName, first) >= 0) return {};
    unsigned char* bytes = nullptr;
    const int length = ASN1_STRING_to_UTF8(&bytes, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, first)));
    if (length < 0) ERR_clear_error();
    std::string name(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(std::max(length, 0)));
    OPENSSL_free(bytes);
    return name;
}

void ConfigureServer(ssl_ctx_st* context, const NodeIdentity& identity) {
    ERR_clear_error();
    SetProtocol(context);
    SetPair(context, OwnPair::Load(identity.coreId), identity.certificatePath, identity.keyPath);
    SetTrusted(context, identity);
}

void NodeIdentity::RequireUsable() const {
    const Context context = NewContext();
    ERR_clear_error();
    if (certificateInstalled) return ConfigureServer(context.get(), *this);
    SetTrusted(context.get(), *this);
}

void OwnPair::RequireUsable(const String_t& source) const {
    const Context context = NewContext();
    ERR_clear_error();
    SetPair(context.get(), *this, source, source);
}

bool IsStillLetIn(const ssl_st* connection, ssl_ctx_st* context, bool isChecked, std::string& refusal) {
    X509* const certificate = SSL_get0_peer_certificate(connection);
    if (!certificate) return true;
    if (isChecked && X509_cmp_current_time(X509_get0_notAfter(certificate)) > 0) return true;
    const int verdict = Verdict(certificate, SSL_get_peer_cert_chain(connection), context);
    ERR_clear_error();
    if (verdict != X509_V_OK) refusal = X509_verify_cert_error_string(verdict);
    return verdict == X509_V_OK;
}

std::string SenderId(const x509_st* certificate, std::string& refusal) {
    std::string name = OnlyCommonName(X509_get_subject_name(certificate));
    const char* why = WhyNoId(name);
    refusal = why ? why : "";
    return why ? std::string() : name;
}

}  // namespace LumSecCore
