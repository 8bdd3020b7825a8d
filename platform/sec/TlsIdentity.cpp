#include "TlsIdentity.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "Crypto.h"
#include "LumPalIo.h"
#include "LumSecAuth.h"
#include "LumSecPki.h"
#include "LumSecRevoked.h"
#include "Vouching.h"

namespace LumSecCore {

using Clock = std::chrono::steady_clock;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kLongestId = 255;
/// For TLS 1.2; those of TLS 1.3 are all as strong.
constexpr const char* kCiphers = "ECDHE+AESGCM:ECDHE+CHACHA20:!aNULL";
constexpr unsigned char kSessionContext[] = "lum";

struct Reason {
    int number;
    const char* words;
};

/// Of the TLS library, when it does not take a certificate or a key.
constexpr Reason kReasons[] = {
    {SSL_R_EE_KEY_TOO_SMALL, "its key is too short"},
    {SSL_R_CA_KEY_TOO_SMALL, "the key of its issuer is too short"},
    {SSL_R_CA_MD_TOO_WEAK, "it is signed with a digest that is too weak"},
};

String_t LastReason() {
    const unsigned long failure = ERR_peek_last_error();
    char text[256] = "";
    ERR_error_string_n(failure, text, sizeof text);
    ERR_clear_error();
    const auto row = std::find_if(std::begin(kReasons), std::end(kReasons), [failure](const Reason& known) {
        return ERR_GET_LIB(failure) == ERR_LIB_SSL && ERR_GET_REASON(failure) == known.number;
    });
    const std::string words = row == std::end(kReasons) ? "the TLS library refuses it" : row->words;
    return String_t::FromUtf8(words + " (" + text + ")");
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

int VerifyShown(X509_STORE_CTX* check, void*) {
    return VerifyChain(check);
}

/// What went since the folder was looked at is trusted no longer: that is no failure.
bool WasTakenAway(const String_t& path) {
    if (LumPalIo::File_t(path).Exists()) return false;
    ERR_clear_error();
    return true;
}

/// The library would read a certificate's extensions at its first use, which is in a handshake of any thread.
void ReadExtensions(X509_STORE* store) {
    const STACK_OF(X509_OBJECT)* const all = X509_STORE_get0_objects(store);
    for (int i = 0; i < sk_X509_OBJECT_num(all); ++i) {
        X509* const certificate = X509_OBJECT_get0_X509(sk_X509_OBJECT_value(all, i));
        if (certificate) X509_check_purpose(certificate, -1, 0);
    }
    ERR_clear_error();
}

void SetTrusted(ssl_ctx_st* context, const NodeIdentity& identity) {
    X509_STORE* store = SSL_CTX_get_cert_store(context);
    LetOnlyAuthoritiesVouch(store, RevocationList::Load());
    for (const String_t& path : identity.trustedPaths) {
        const std::string name = path.ToUtf8();
        const bool loaded = X509_STORE_load_file(store, name.c_str()) == 1;
        if (!loaded && WasTakenAway(path)) continue;
        Require(loaded, "The trusted certificate", path);
    }
    ReadExtensions(store);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_cert_verify_callback(context, VerifyShown, nullptr);
    SSL_CTX_set_verify_depth(context, kDeepestChain);
}

bool IsControl(unsigned char byte) {
    return byte < 0x20 || byte == 0x7F;
}

/// How a context knows its node in a caller.
struct NodeMark {
    std::string id;
    std::vector<std::pair<CryptoPtr<EVP_PKEY>, Clock::time_point>> formerKeys;  ///< each until then
};

void FreeMark(void*, void* mark, CRYPTO_EX_DATA*, int, long, void*) {
    delete static_cast<NodeMark*>(mark);
}

/// Where a context keeps its mark.
int MarkPlace() {
    static const int place = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, FreeMark);
    return place;
}

/// Of a context that is set once.
void SetMark(ssl_ctx_st* context, const String_t& id) {
    auto mark = std::make_unique<NodeMark>(NodeMark{id.ToUtf8(), {}});
    if (SSL_CTX_set_ex_data(context, MarkPlace(), mark.get()) != 1) throw std::bad_alloc();
    static_cast<void>(mark.release());  // the context frees it
}

NodeMark* MarkOf(const ssl_ctx_st* context) {
    return static_cast<NodeMark*>(SSL_CTX_get_ex_data(context, MarkPlace()));
}

bool IsSame(const EVP_PKEY* one, const EVP_PKEY* other) {
    const bool same = one && other && EVP_PKEY_eq(one, other) == 1;
    ERR_clear_error();
    return same;
}

EVP_PKEY* OwnKey(const ssl_ctx_st* context) {
    const X509* const own = SSL_CTX_get0_certificate(context);
    return own ? X509_get0_pubkey(own) : nullptr;
}

bool IsFormerKey(const NodeMark& mark, const EVP_PKEY* key) {
    return std::any_of(mark.formerKeys.begin(), mark.formerKeys.end(), [key](const auto& former) {
        return Clock::now() < former.second && IsSame(former.first.get(), key);
    });
}

/// One that was installed a moment ago, of which this server has not been told yet.
bool IsNextKey(const NodeMark& mark, const EVP_PKEY* key) try {
    const X509Certificate next =
        LumSecPki::ReadCertificate(Bytes(OwnPair::Load(String_t::FromUtf8(mark.id)).certificate));
    return IsSame(X509_get0_pubkey(next.GetImpl()->certificate.get()), key);
} catch (const SecCoreException&) {
    return false;
}

/// The handshake has proved that the peer holds the private half.
bool HasOwnKey(const X509* certificate, const ssl_ctx_st* context, const NodeMark& mark) {
    const EVP_PKEY* const key = X509_get0_pubkey(certificate);
    return IsSame(OwnKey(context), key) || IsFormerKey(mark, key) || IsNextKey(mark, key);
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
    SetMark(context, identity.coreId);
}

std::vector<X509Certificate> ShownCertificates(ssl_ctx_st* context) {
    std::vector<X509Certificate> shown;
    const auto add = [&shown](X509* certificate) {
        if (X509_up_ref(certificate) == 1) shown.push_back(MakeCertificate(CryptoPtr<X509>(certificate)));
    };
    X509* const own = SSL_CTX_get0_certificate(context);
    if (!own) return shown;
    add(own);
    STACK_OF(X509)* chain = nullptr;
    SSL_CTX_get0_chain_certs(context, &chain);
    for (int i = 0; i < sk_X509_num(chain); ++i) add(sk_X509_value(chain, i));
    return shown;
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

bool IsStillLetIn(const ssl_st* connection, ssl_ctx_st* context, bool isChecked, ProofEnd& end, std::string& refusal) {
    X509* const certificate = SSL_get0_peer_certificate(connection);
    if (!certificate) return true;
    if (end == ProofEnd()) end = EndOfChain(SSL_get0_verified_chain(connection));
    if (isChecked && std::chrono::system_clock::now() < end) return true;
    const int verdict = VerdictOnClient(certificate, SSL_get_peer_cert_chain(connection),
                                        SSL_CTX_get_cert_store(context), SSL_CTX_get_security_level(context), &end);
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

void LetFormerKeysPass(ssl_ctx_st* context, const ssl_ctx_st* former, Clock::time_point until) {
    NodeMark& mark = *MarkOf(context);
    const NodeMark* const before = MarkOf(former);
    if (!before || before->id != mark.id) return;
    const auto add = [&mark](EVP_PKEY* key, Clock::time_point end) {
        if (EVP_PKEY_up_ref(key) == 1) mark.formerKeys.emplace_back(CryptoPtr<EVP_PKEY>(key), end);
    };
    for (const auto& [key, end] : before->formerKeys)
        if (Clock::now() < end) add(key.get(), end);
    if (OwnKey(former) && !IsSame(OwnKey(former), OwnKey(context))) add(OwnKey(former), until);
}

namespace {

constexpr const char* kNotItsKey = "the common name is this node's own id, and the key is not its key";

/// Variants in case and outer blanks too: a person who reads a log takes them for the real one.
bool LooksLike(const std::string& id, const std::string& own) {
    String_t name = String_t::FromUtf8(id), real = String_t::FromUtf8(own);
    name.Trim();
    real.Trim();
    return LumPalStr::Compare(name, real, true) == 0;
}

}  // namespace

Peer PeerOf(const ssl_st* connection, const ssl_ctx_st* context, std::string& refusal) {
    refusal.clear();
    const X509* const certificate = SSL_get0_peer_certificate(connection);
    if (!certificate || SSL_get_verify_result(connection) != X509_V_OK) return {};
    Peer peer{SenderId(certificate, refusal), false};
    const NodeMark* const mark = MarkOf(context);
    if (peer.id.empty() || !mark || !LooksLike(peer.id, mark->id)) return peer;
    peer.isNode = peer.id == mark->id && HasOwnKey(certificate, context, *mark);
    if (peer.isNode) return peer;
    refusal = kNotItsKey;
    return {};
}

std::string WhyNobody(const x509_st* certificate, const NodeIdentity& node) {
    std::string refusal;
    const std::string id = SenderId(certificate, refusal);
    const NodeMark mark{node.coreId.ToUtf8(), {}};
    if (id.empty() || !node.certificateInstalled || !LooksLike(id, mark.id)) return refusal;
    return id == mark.id && IsNextKey(mark, X509_get0_pubkey(certificate)) ? std::string() : kNotItsKey;
}

}  // namespace LumSecCore

LumPalStr::String_t LumSecPki::WhyTooWeak(const LumSecCore::X509Certificate& certificate) {
    using namespace LumSecCore;
    if (certificate.IsNull()) return {};
    const Context context = NewContext();
    ERR_clear_error();
    if (SSL_CTX_add1_chain_cert(context.get(), certificate.GetImpl()->certificate.get()) == 1) return {};
    const bool isOfKey = ERR_GET_REASON(ERR_peek_last_error()) == SSL_R_CA_KEY_TOO_SMALL;
    const LumPalStr::String_t reason = LastReason();
    return isOfKey ? LumPalStr::String_t("its key is too short") : reason;
}
