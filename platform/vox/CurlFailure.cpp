// What a handle saw of a call that came to nothing.
#include <curl/curl.h>

#include <new>

#include "../pal/SystemError.h"
#include "CallFailure.h"
#include "CurlHandle.h"
#include "LumPalDaemon.h"
#include "LumPalNet.h"
#include "LumSecPki.h"
#include "LumVoxSoap.h"

namespace LumVoxRpc {

using LumPalStr::String_t;

void HttpClient::Handle::SeeTime(const ClientLimits& limits) {
    curl_off_t requestBegun = 0;
    curl_easy_getinfo(curl, CURLINFO_PRETRANSFER_TIME_T, &requestBegun);
    const bool connected = requestBegun > 0;
    seen.isStopping = LumPalRuntime::IsStopping();
    seen.wasConnected = true;
    seen.seconds = limits.idleSeconds;
    if (seen.code != CURLE_OPERATION_TIMEDOUT) return;
    seen.isStopping = false;
    seen.wasConnected = limits.callSeconds > 0 && (connected || limits.callSeconds <= limits.connectSeconds);
    seen.seconds = seen.wasConnected ? limits.callSeconds : limits.connectSeconds;
}

void HttpClient::Handle::SeeCertificates(const ClientIdentity& identity) {
    seen.issuer = refused.GetIssuerCN().ToUtf8();
    seen.end = refused.GetNotAfter().ToUtf8();
    if (identity.own.certificate.empty()) return;
    const std::string& pem = identity.own.certificate;
    const auto own = LumSecPki::ReadCertificate(LumPalArray::CharArray_t(pem.data(), pem.size()));
    seen.ownIssuer = own.GetIssuerCN().ToUtf8();
    seen.ownStart = LumSecPki::StartToCome(own).ToUtf8();
    if (LumSecPki::SecondsLeft(own) < 0) seen.ownEnd = own.GetNotAfter().ToUtf8();
}

/// Completes what was seen.
void HttpClient::Handle::See(int code, const HttpTarget& target, const ClientIdentity& identity,
                             const ClientLimits& limits) {
    long number = 0;
    curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &number);
    seen.code = code;
    seen.words = error[0] ? error : curl_easy_strerror(static_cast<CURLcode>(code));
    if (number != 0) seen.system = LumPalIo::SystemErrorText(static_cast<int>(number)).ToUtf8();
    seen.tls = target.tls;
    seen.host = target.host;
    SeeTime(limits);
    if (target.tls) return SeeCertificates(identity);
    const bool wasClosed = code == CURLE_GOT_NOTHING || code == CURLE_RECV_ERROR || code == CURLE_SEND_ERROR;
    seen.isOther = wasClosed && SpeaksTls(target);
}

void HttpClient::Handle::Raise(Reached reached, const HttpTarget& target, const Explanation& why) {
    LumPalMsg::CreateError_t message(reached != Reached::Nobody ? "The connection to host '%1' port %2 failed: %3."
                                                                : "Cannot connect to host '%1' port %2: %3.");
    message << String_t::FromUtf8(target.host) << target.port << String_t::FromUtf8(why.cause);
    if (!why.advice.empty()) message.AddDetails(LumPalMsg::CreateInfo_t(String_t::FromUtf8(why.advice)));
    if (reached == Reached::Sent) throw LumPalNet::UnansweredException_t(message);
    throw LumPalNet::ConnectException_t(message);
}

HttpClient::Handle::Reached HttpClient::Handle::HowFar() const {
    // A client of TLS 1.3 sends before it hears that its certificate is refused: then nobody has read what it sent.
    const bool wasRefused = seen.alert > 0;
    if (wasSent && !wasRefused) return Reached::Sent;
    curl_off_t ready = 0;
    curl_easy_getinfo(curl, CURLINFO_PRETRANSFER_TIME_T, &ready);
    return ready > 0 ? Reached::Connected : Reached::Nobody;
}

void HttpClient::Handle::Fail(int code, const HttpTarget& target, const ClientIdentity& identity,
                              const ClientLimits& limits) {
    const String_t host = String_t::FromUtf8(target.host);
    if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (tooLong) {
        throw LumVoxSoap::SOAPFormatException(
            LumPalMsg::CreateError_t("The answer of host '%1' port %2 is longer than %3 bytes.")
            << host << target.port << LumPalStr::NumToStr(static_cast<unsigned long long>(mostBytes)));
    }
    // Before what follows asks the peer once more.
    const Reached reached = HowFar();
    See(code, target, identity, limits);
    Raise(reached, target, Explain(seen));
}

}  // namespace LumVoxRpc
