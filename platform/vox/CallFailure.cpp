#include "CallFailure.h"

#include <curl/curl.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string_view>

#include "../pal/SystemError.h"
#include "LumPalRuntime.h"

namespace LumVoxRpc {

const char* const kTrustAdvice =
    "Install that of the authority which has issued the host's certificate: 'lumtrust trust FILE'.";

const char* const kNoAnswerAdvice =
    "A node that waits for a consumer answers 'lumpolicy status' meanwhile; one that leaves that unanswered too hangs.";

namespace {

constexpr const char* kNewCertificateThere =
    "The host needs a new one ('lumtrust request' and 'lumtrust install' there), unless the clock here is wrong.";
constexpr const char* kNewCertificateHere =
    "Get a new one: for an operator's folder by 'lumtrust operator', for a node by 'lumtrust request', then 'lumtrust "
    "install'.";
constexpr const char* kStronger =
    "The host needs one with a stronger key and digest, as 'lumtrust request' makes them.";

/// What stands in braces is filled in.
struct Row {
    int number;
    const char* cause;
    const char* advice;
};

constexpr const char* kUnknownIssuer = "its issuer{issuer} is not trusted here";
constexpr const char* kIssuerOfNobody = "its issuer{issuer} is trusted, but only for itself: it is no authority";
constexpr const char* kOtherIssuer = "its issuer{issuer} is another authority than the trusted one of the same name";
constexpr const char* kUnlessOther =
    "If it is known to be the right one, trust it beside the other: 'lumtrust trust FILE --alias ALIAS'; else the host "
    "needs a certificate of the authority that is trusted here.";
constexpr const char* kUnlessTrusted =
    "If it is known to be the right one, trust the authority that has issued it: 'lumtrust trust FILE'.";

/// On the certificate of the host.
const Row kVerdicts[] = {
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, kUnknownIssuer, kUnlessTrusted},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, kUnknownIssuer, kUnlessTrusted},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, kUnknownIssuer, kUnlessTrusted},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, kUnknownIssuer, kUnlessTrusted},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, "it is issued by itself, and not trusted here",
     "If it is known to be the right one, trust it: 'lumtrust trust FILE'."},
    {X509_V_ERR_INVALID_CA, kIssuerOfNobody,
     "Trust the authority above it, or the host's own certificate: 'lumtrust trust FILE'."},
    {X509_V_ERR_CERT_HAS_EXPIRED, "its time is over{end}", kNewCertificateThere},
    {X509_V_ERR_CERT_NOT_YET_VALID, "its time has not come yet", "Look at the clocks of both machines."},
    {X509_V_ERR_CERT_REVOKED, "it was revoked", "The host needs a new one: 'lumtrust request' and 'lumtrust install'."},
    {X509_V_ERR_INVALID_PURPOSE, "it is not meant for a server", "The host needs one that is (extendedKeyUsage)."},
    {X509_V_ERR_EE_KEY_TOO_SMALL, "its key is too short", kStronger},
    {X509_V_ERR_CA_KEY_TOO_SMALL, "the key of its issuer is too short", kStronger},
    {X509_V_ERR_CA_MD_TOO_WEAK, "it is signed with a digest that is too weak", kStronger},
};

/// What the host says of the own certificate.
const Row kAlerts[] = {
    {SSL3_AD_CERTIFICATE_EXPIRED, "the host refused the certificate of this node: its time is over by the host's clock",
     "Look at the clocks of both machines; 'lumtrust list' tells when it ends."},
    {TLS1_AD_UNKNOWN_CA, "the host refused the certificate of this node: its issuer{ownIssuer} is not trusted there",
     "Let the host trust that authority ('lumtrust trust FILE' there), or install here a certificate of one that it "
     "trusts."},
    {SSL3_AD_CERTIFICATE_REVOKED, "the host refused the certificate of this node: it was revoked", kNewCertificateHere},
    {SSL3_AD_BAD_CERTIFICATE, "the host refused the certificate of this node",
     "Its log says why; 'lumtrust list' tells of the certificate here."},
    {SSL3_AD_UNSUPPORTED_CERTIFICATE, "the host refused the certificate of this node: it is not meant for clients",
     "Get one that is (extendedKeyUsage): 'lumtrust request', then 'lumtrust install'."},
    {SSL3_AD_CERTIFICATE_UNKNOWN, "the host refused the certificate of this node",
     "Its log says why; 'lumtrust list' tells of the certificate here."},
    {TLS13_AD_CERTIFICATE_REQUIRED, "the host demands a certificate, and this node has none",
     "Get one: 'lumtrust request', then 'lumtrust install'."},
    {TLS1_AD_PROTOCOL_VERSION, "the host speaks another version of TLS", "A node speaks TLS 1.2 and 1.3."},
    {SSL3_AD_HANDSHAKE_FAILURE, "the host found no way of encryption that both know",
     "A node wants TLS 1.2 or 1.3 with forward secrecy."},
};

/// What the HTTP library says.
const Row kCodes[] = {
    {CURLE_COULDNT_RESOLVE_HOST, "the host name cannot be resolved", ""},
    {CURLE_GOT_NOTHING, "the connection was closed without an answer", ""},
    {CURLE_SSL_CONNECT_ERROR, "the TLS handshake failed ({words})", "The log of the host may say why."},
    {CURLE_SEND_ERROR, "the connection broke while the request was sent ({words})", ""},
    {CURLE_RECV_ERROR, "the connection broke before the answer was there ({words})", ""},
};

const Row* Find(const Row* begin, const Row* end, int number) {
    const Row* const found = std::find_if(begin, end, [number](const Row& row) { return row.number == number; });
    return found == end ? nullptr : found;
}

void Fill(std::string& text, std::string_view hole, const std::string& value) {
    const std::size_t at = text.find(hole);
    if (at != std::string::npos) text.replace(at, hole.size(), value);
}

std::string Quoted(const std::string& name) {
    return name.empty() ? "" : " '" + name + "'";
}

Explanation Filled(const Row& row, const SeenFailure& seen) {
    std::string cause = row.cause;
    Fill(cause, "{issuer}", Quoted(seen.issuer));
    Fill(cause, "{ownIssuer}", Quoted(seen.ownIssuer));
    Fill(cause, "{end}", seen.end.empty() ? "" : " since " + seen.end);
    Fill(cause, "{words}", seen.words);
    return {cause, row.advice};
}

constexpr const char* kRefused = "the certificate of the host was refused: ";

Explanation ExplainVerdict(const SeenFailure& seen) {
    const std::string words = X509_verify_cert_error_string(seen.verdict);
    const Row namesake{seen.verdict, kOtherIssuer, kUnlessOther};
    const Row* const row =
        seen.isOfNamesake ? &namesake : Find(std::begin(kVerdicts), std::end(kVerdicts), seen.verdict);
    if (!row) return {kRefused + words, "'lumtrust list' tells whom this node trusts."};
    Explanation explained = Filled(*row, seen);
    explained.cause = kRefused + explained.cause + " (" + words + ")";
    return explained;
}

/// The library holds the names against the address itself.
Explanation ExplainNames(const SeenFailure& seen) {
    return {
        kRefused + ("it is not for '" + seen.host) + "' but for " + seen.hostNames,
        "Call the host by one of these names, or let a certificate be issued that bears this one ('lumtrust request "
        "--host " +
            seen.host + "' there)."};
}

Explanation ExplainOtherPort(const SeenFailure& seen) {
    if (seen.tls) {
        return {"what serves there speaks no TLS",
                "A node without a certificate serves its own machine alone, and is called 'localhost' there. A "
                "certificate ('lumtrust install') opens it to others."};
    }
    return {
        "what serves there speaks TLS, and this node has no certificate to do so",
        "If that is another node, give its name ('--host NAME:PORT'); TARGET_PORT must be the port of this node's own "
        "daemon."};
}

/// Only what happens while TLS is spoken can be of the own certificate.
bool IsOfTheConnection(int code) {
    return code == CURLE_SSL_CONNECT_ERROR || code == CURLE_SEND_ERROR || code == CURLE_RECV_ERROR ||
           code == CURLE_GOT_NOTHING;
}

/// Empty where the own certificate is in time, or was never shown.
Explanation ExplainOwnTime(const SeenFailure& seen) {
    if (!seen.tls || !IsOfTheConnection(seen.code)) return {};
    if (!seen.ownEnd.empty()) return {"the certificate of this node has ended on " + seen.ownEnd, kNewCertificateHere};
    if (seen.ownStart.empty()) return {};
    return {"the certificate of this node is not valid before " + seen.ownStart,
            "Look at the clock of this machine, unless the certificate is meant for later."};
}

Explanation ExplainTime(const SeenFailure& seen) {
    if (seen.isStopping) return {"this program ends", ""};
    return {
        (seen.wasConnected ? "no answer within " : "no connection within ") + std::to_string(seen.seconds) + " seconds",
        seen.wasConnected ? kNoAnswerAdvice : ""};
}

/// Whether nobody listens at a port of this node. The plain road leads to no other.
bool IsUnserved(const SeenFailure& seen) {
    const bool isHere = !seen.tls || seen.host == "localhost";
    return isHere && seen.system == LumPalIo::SystemErrorText(ECONNREFUSED).ToUtf8();
}

Explanation ExplainCode(const SeenFailure& seen) {
    if (seen.code == CURLE_COULDNT_CONNECT && !seen.system.empty())
        return {seen.system, IsUnserved(seen) ? StartAdvice() : ""};
    const Row* const row = Find(std::begin(kCodes), std::end(kCodes), seen.code);
    return row ? Filled(*row, seen) : Explanation{"the request failed (" + seen.words + ")", ""};
}

}  // namespace

/// The root may be a folder from which somebody only calls nodes, and the port another one's.
std::string StartAdvice() {
    return "If the node in '" + LumPalRuntime::Dir_t::Path(LumPalRuntime::Root).ToUtf8() +
           "' is meant, no daemon serves it: start it ('lumconfd', or 'systemctl start lumconfd').";
}

Explanation Explain(const SeenFailure& seen) {
    if (!seen.refusal.empty()) return {seen.refusal, ""};
    if (seen.verdict != X509_V_OK) return ExplainVerdict(seen);
    if (seen.code == CURLE_OPERATION_TIMEDOUT || seen.code == CURLE_ABORTED_BY_CALLBACK) return ExplainTime(seen);
    if (seen.code == CURLE_PEER_FAILED_VERIFICATION && !seen.hostNames.empty()) return ExplainNames(seen);
    if (seen.isOther) return ExplainOtherPort(seen);
    if (const auto own = ExplainOwnTime(seen); !own.cause.empty()) return own;
    if (const Row* const row = Find(std::begin(kAlerts), std::end(kAlerts), seen.alert)) return Filled(*row, seen);
    return ExplainCode(seen);
}

Explanation ExplainStatus(int status, std::size_t sentBytes) {
    switch (status) {
        case 401:
        case 403:
            return {"the request is not allowed", ""};
        case 404:
            return {"nothing is served at this address", ""};
        case 413:
            return {
                "its body of " + std::to_string(sentBytes) + " bytes is too large",
                "Send less at once, or raise the limit there ('lumsettings set vox.http.ext.conf BODY_LIMIT=BYTES') "
                "and start its daemon again."};
        case 431:
            return {"the request's headers are too long", ""};
        case 503:
            return {"the host has too much to do", ""};
        default:
            return {"this is no answer to a call", ""};
    }
}

}  // namespace LumVoxRpc
