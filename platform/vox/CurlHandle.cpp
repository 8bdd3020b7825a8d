#include "CurlHandle.h"

#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "CallFailure.h"
#include "Crypto.h"
#include "HostNames.h"
#include "LumPalDaemon.h"
#include "TlsIdentity.h"
#include "Vouching.h"

namespace LumVoxRpc {
namespace {

constexpr int kStartsOver = 2;
constexpr long kProbeMs = 2000;

/// The library's own set-up, once for the process.
CURL* NewHandle() {
    static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    CURL* const handle = ready == CURLE_OK ? curl_easy_init() : nullptr;
    if (!handle) throw std::bad_alloc();
    return handle;
}

template <class Value>
void Set(CURL* curl, CURLoption option, Value value) {
    const CURLcode code = curl_easy_setopt(curl, option, value);
    if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (code == CURLE_OK) return;
    throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("The request cannot be set up: %1.")
                                            << curl_easy_strerror(code));
}

void SetBlob(CURL* curl, CURLoption option, const std::string& text) {
    curl_blob blob{const_cast<char*>(text.data()), text.size(), CURL_BLOB_COPY};
    Set(curl, option, &blob);
}

std::string UrlOf(const HttpTarget& target) {
    const bool literal6 = target.host.find(':') != std::string::npos;
    const std::string host = literal6 ? '[' + target.host + ']' : target.host;
    return (target.tls ? "https://" : "http://") + host + ':' + std::to_string(target.port) + target.path;
}

class List {
public:
    List() = default;
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    ~List() { curl_slist_free_all(list); }
    void Add(const std::string& line) {
        curl_slist* const longer = curl_slist_append(list, line.c_str());
        if (!longer) throw std::bad_alloc();
        list = longer;
    }
    curl_slist* Get() const noexcept { return list; }

private:
    curl_slist* list = nullptr;
};

/// No "Expect": the wait for a "100 Continue" that never comes would cost a second.
void AddHeaders(List& headers) {
    headers.Add("Content-Type: text/xml; charset=utf-8");
    headers.Add("SOAPAction: \"\"");
    headers.Add("Expect:");
}

/// Where a context keeps the handle that made it.
int HandlePlace() {
    static const int place = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
    return place;
}

CURLcode SetContext(CURL* curl, void* context, void* handle) {
    return static_cast<CURLcode>(HttpClient::Handle::PrepareContext(curl, context, handle));
}

LumSecCore::X509Certificate Shared(X509* certificate) {
    if (!certificate || X509_up_ref(certificate) != 1) return {};
    return LumSecCore::MakeCertificate(LumSecCore::CryptoPtr<X509>(certificate));
}

constexpr std::size_t kMostNamesTold = 8;

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < kMostNamesTold; ++i)
        text += (i == 0 ? "'" : ", '") + names[i] + "'";
    return names.size() > kMostNamesTold ? text + " and others" : text;
}

/// Of a peer who speaks no TLS at all.
bool IsNoTls(unsigned long failure) {
    const int reason = ERR_GET_REASON(failure);
    return ERR_GET_LIB(failure) == ERR_LIB_SSL &&
           (reason == SSL_R_WRONG_VERSION_NUMBER || reason == SSL_R_PACKET_LENGTH_TOO_LONG ||
            reason == SSL_R_BAD_RECORD_TYPE || reason == SSL_R_HTTP_REQUEST);
}

}  // namespace

HttpClient::Handle::Handle(const std::string& key) : key(key), curl(NewHandle()) {
    static_assert(kErrorBytes >= CURL_ERROR_SIZE && std::is_same_v<curl_off_t, std::int64_t>);
}

HttpClient::Handle::~Handle() {
    curl_easy_cleanup(curl);
}

HttpAnswer HttpClient::Handle::Post(const HttpTarget& target, const ClientIdentity& identity,
                                    const LumPalArray::CharArray_t& body, const ClientLimits& limits) {
    wasSent = false;
    int code = Perform(target, identity, body, limits);
    // A kept connection was closed meanwhile: the peer of the new one must show first who it is.
    for (int again = 0; proof.MustStartOver() && again < kStartsOver; ++again) {
        proof.Forget();
        code = Perform(target, identity, body, limits);
    }
    if (code != CURLE_OK) {
        proof.Forget();
        Fail(code, target, identity, limits);
    }
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    answer.status = static_cast<int>(status);
    if (!target.secret.empty() && !proof.IsProven()) answer.body = LumPalArray::CharArray_t();
    return std::move(answer);
}

int HttpClient::Handle::Perform(const HttpTarget& target, const ClientIdentity& identity,
                                const LumPalArray::CharArray_t& body, const ClientLimits& limits) {
    // Keeps connections, but no challenge: with one that is still good the next call needs no second round trip.
    if (!proof.IsUsable()) curl_easy_reset(curl);
    SetUp(target, limits);
    if (target.tls) SetUpTls(target, identity);
    if (!target.secret.empty()) SetUpProof(target);
    SetBody(body);
    List headers, addresses;
    AddHeaders(headers);
    Set(curl, CURLOPT_HTTPHEADER, headers.Get());
    addresses.Add("localhost:" + std::to_string(target.port) + ":127.0.0.1,[::1]");
    if (target.host == "localhost") Set(curl, CURLOPT_RESOLVE, addresses.Get());
    return curl_easy_perform(curl);
}

/// The library sends the first request without its body and waits for the challenge.
void HttpClient::Handle::SetUpProof(const HttpTarget& target) {
    proof.Begin(target.secret, target.port);
    Set(curl, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_DIGEST));
    Set(curl, CURLOPT_USERNAME, proof.GetUser().c_str());
    Set(curl, CURLOPT_PASSWORD, target.secret.c_str());
    Set(curl, CURLOPT_HEADERFUNCTION, &SeeHeader);
    Set(curl, CURLOPT_HEADERDATA, static_cast<void*>(this));
    Set(curl, CURLOPT_SOCKOPTFUNCTION, &SeeSocket);
    Set(curl, CURLOPT_SOCKOPTDATA, static_cast<void*>(this));
}

void HttpClient::Handle::SetUp(const HttpTarget& target, const ClientLimits& limits) {
    answer = HttpAnswer();
    mostBytes = limits.responseBytes;
    longestIdle = std::chrono::seconds(limits.idleSeconds);
    lastMoved = std::chrono::steady_clock::now();
    bytesMoved = 0;
    tooLong = false;
    error[0] = '\0';
    refused = LumSecCore::X509Certificate();
    seen = SeenFailure();
    Set(curl, CURLOPT_URL, UrlOf(target).c_str());
    Set(curl, CURLOPT_PROTOCOLS_STR, target.tls ? "https" : "http");
    Set(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    Set(curl, CURLOPT_NOSIGNAL, 1L);
    // A name server that does not answer must not hold a call that has ended.
    Set(curl, CURLOPT_QUICK_EXIT, 1L);
    Set(curl, CURLOPT_NOPROXY, "*");
    Set(curl, CURLOPT_FOLLOWLOCATION, 0L);
    Set(curl, CURLOPT_PATH_AS_IS, 1L);
    Set(curl, CURLOPT_ERRORBUFFER, error);
    Set(curl, CURLOPT_CONNECTTIMEOUT, static_cast<long>(limits.connectSeconds));
    Set(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(limits.callTime.count()));
    Set(curl, CURLOPT_NOPROGRESS, 0L);
    Set(curl, CURLOPT_XFERINFOFUNCTION, &Progress);
    Set(curl, CURLOPT_XFERINFODATA, static_cast<void*>(this));
    Set(curl, CURLOPT_BUFFERSIZE, 262144L);
    Set(curl, CURLOPT_UPLOAD_BUFFERSIZE, 262144L);
    WatchBody();
    Set(curl, CURLOPT_WRITEFUNCTION, &Collect);
    Set(curl, CURLOPT_WRITEDATA, static_cast<void*>(this));
}

/// The counters of the library forget what went over a connection that broke, when it tries another one.
void HttpClient::Handle::WatchBody() {
    const auto see = [](CURL*, curl_infotype what, char*, std::size_t, void* self) -> int {
        if (what == CURLINFO_DATA_OUT) static_cast<Handle*>(self)->wasSent = true;
        return 0;
    };
    Set(curl, CURLOPT_DEBUGFUNCTION, static_cast<curl_debug_callback>(see));
    Set(curl, CURLOPT_DEBUGDATA, static_cast<void*>(this));
    Set(curl, CURLOPT_VERBOSE, 1L);
}

void HttpClient::Handle::SetUpTls(const HttpTarget& target, const ClientIdentity& identity) {
    if (identity.trusted.find("-----BEGIN") == std::string::npos) {
        Raise(Reached::Nobody, target, {"no trusted certificate is installed on this node", kTrustAdvice});
    }
    // Nothing but the node's own trust counts, whatever the host system trusts.
    SetBlob(curl, CURLOPT_CAINFO_BLOB, identity.trusted);
    Set(curl, CURLOPT_CAINFO, static_cast<char*>(nullptr));
    Set(curl, CURLOPT_CAPATH, static_cast<char*>(nullptr));
    Set(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    Set(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    Set(curl, CURLOPT_SSL_VERIFYHOST, 2L);
    targetId = target.targetId;
    revoked = identity.revoked;
    Set(curl, CURLOPT_SSL_CTX_FUNCTION, &SetContext);
    Set(curl, CURLOPT_SSL_CTX_DATA, static_cast<void*>(this));
    if (identity.own.certificate.empty()) return;
    SetBlob(curl, CURLOPT_SSLCERT_BLOB, identity.own.certificate);
    SetBlob(curl, CURLOPT_SSLKEY_BLOB, identity.own.key);
    Set(curl, CURLOPT_KEYPASSWD, "");  // never ask a terminal
}

void HttpClient::Handle::SetBody(const LumPalArray::CharArray_t& body) {
    Set(curl, CURLOPT_POST, 1L);
    Set(curl, CURLOPT_POSTFIELDS, body.GetData());
    Set(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.GetLength()));
}

int HttpClient::Handle::PrepareContext(void*, void* context, void* self) try {
    auto* const tls = static_cast<SSL_CTX*>(context);
    LumSecCore::LetOnlyAuthoritiesVouch(SSL_CTX_get_cert_store(tls), static_cast<Handle*>(self)->revoked);
    SSL_CTX_set_cert_verify_callback(tls, &VerifyPeer, self);
    if (SSL_CTX_set_ex_data(tls, HandlePlace(), self) != 1) return CURLE_OUT_OF_MEMORY;
    SSL_CTX_set_info_callback(tls, &SeeTls);
    return CURLE_OK;
} catch (const std::bad_alloc&) {
    return CURLE_OUT_OF_MEMORY;
}

int HttpClient::Handle::VerifyPeer(x509_store_ctx_st* context, void* self) try {
    auto& handle = *static_cast<Handle*>(self);
    X509* const certificate = X509_STORE_CTX_get0_cert(context);
    if (LumSecCore::VerifyChain(context) != 1) {
        X509* const refused = X509_STORE_CTX_get_current_cert(context);
        handle.seen.verdict = X509_STORE_CTX_get_error(context);
        handle.seen.isOfNamesake = LumSecCore::IsNamesakeTrusted(context);
        handle.refused = Shared(refused ? refused : certificate);
        return 0;
    }
    const std::vector<std::string> names = LumSecCore::HostNames(certificate);
    handle.seen.hostNames = Joined(names);
    // Without any the library would take the common name for one, but that is the id of a sender.
    if (names.empty()) return handle.RefusePeer(context, "the certificate of the host was refused: it names no host");
    if (handle.targetId.empty()) return 1;
    std::string noName;
    const std::string peer = LumSecCore::SenderId(certificate, noName);
    if (peer == handle.targetId) return 1;
    return handle.RefusePeer(
        context, "the node there is not '" + handle.targetId + "' but '" + (peer.empty() ? noName : peer) + "'");
} catch (const std::bad_alloc&) {
    X509_STORE_CTX_set_error(context, X509_V_ERR_OUT_OF_MEM);
    return 0;
}

int HttpClient::Handle::RefusePeer(x509_store_ctx_st* context, const std::string& reason) {
    seen.refusal = reason;
    X509_STORE_CTX_set_error(context, X509_V_ERR_APPLICATION_VERIFICATION);
    return 0;
}

void HttpClient::Handle::SeeTls(const ssl_st* connection, int where, int value) {
    auto& handle = *static_cast<Handle*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), HandlePlace()));
    if (where == SSL_CB_READ_ALERT) handle.seen.alert = value & 0xFF;
    const bool hasFailed = (where & SSL_CB_EXIT) != 0 && value <= 0;
    if (hasFailed && IsNoTls(ERR_peek_error())) handle.seen.isOther = true;
}

std::size_t HttpClient::Handle::Collect(char* bytes, std::size_t size, std::size_t count, void* self) try {
    auto& handle = *static_cast<Handle*>(self);
    LumPalArray::CharArray_t& body = handle.answer.body;
    const std::size_t length = size * count, before = body.GetLength();
    handle.tooLong = length > handle.mostBytes - before;
    if (handle.tooLong) return 0;
    body.Resize(before + length);
    std::copy(bytes, bytes + length, body.GetData() + before);
    return length;
} catch (const std::bad_alloc&) {
    return 0;
}

std::size_t HttpClient::Handle::SeeHeader(char* bytes, std::size_t size, std::size_t count, void* self) try {
    auto& handle = *static_cast<Handle*>(self);
    const std::size_t length = size * count;
    if (handle.proof.Take({bytes, length})) return length;
    handle.seen.refusal = "what answers there does not know this node's local secret; nothing was sent";
    return 0;
} catch (const std::bad_alloc&) {
    return 0;
}

int HttpClient::Handle::SeeSocket(void* self, int, int) {
    return static_cast<Handle*>(self)->proof.TakeConnection() ? CURL_SOCKOPT_OK : CURL_SOCKOPT_ERROR;
}

/// The library asks about once in a second while nothing moves.
int HttpClient::Handle::Progress(void* self, std::int64_t, std::int64_t received, std::int64_t, std::int64_t sent) {
    auto& handle = *static_cast<Handle*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (received + sent != handle.bytesMoved) {
        handle.bytesMoved = received + sent;
        handle.lastMoved = now;
    }
    return now - handle.lastMoved < handle.longestIdle && !LumPalRuntime::IsStopping() ? 0 : 1;
}

/// Another handle, so that nothing of the call's own is touched. Not a byte of a request is sent.
bool HttpClient::Handle::SpeaksTls(const HttpTarget& target) {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> probe(NewHandle(), curl_easy_cleanup);
    HttpTarget there = target;
    there.tls = true;
    Set(probe.get(), CURLOPT_URL, UrlOf(there).c_str());
    Set(probe.get(), CURLOPT_PROTOCOLS_STR, "https");
    Set(probe.get(), CURLOPT_NOSIGNAL, 1L);
    Set(probe.get(), CURLOPT_NOPROXY, "*");
    Set(probe.get(), CURLOPT_CONNECT_ONLY, 1L);
    Set(probe.get(), CURLOPT_SSL_VERIFYPEER, 0L);
    Set(probe.get(), CURLOPT_SSL_VERIFYHOST, 0L);
    Set(probe.get(), CURLOPT_TIMEOUT_MS, kProbeMs);
    return curl_easy_perform(probe.get()) == CURLE_OK;
}

}  // namespace LumVoxRpc
