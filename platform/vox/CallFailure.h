/// @file
/// Why a call came to nothing: what was seen of its connection becomes words of our own, and what to do about it.
#pragma once

#include <cstddef>
#include <string>

namespace LumVoxRpc {

/// What a client saw of a connection that failed.
struct SeenFailure {
    int code = 0;               ///< of the HTTP library
    std::string words;          ///< the library's, shown behind ours
    std::string refusal;        ///< why the client itself went no further; empty where it did not
    std::string system;         ///< what the system says of a connection that was not made; may be empty
    bool tls = true;            ///< the client spoke TLS
    int alert = -1;             ///< the TLS alert that the host sent (RFC 8446, 6); -1: none
    int verdict = 0;            ///< on the certificate of the host, of the TLS library; 0: it is good, or none was seen
    bool isOfNamesake = false;  ///< it was refused for its issuer, and another authority of that name is trusted
    bool isOther =
        false;  ///< it is another kind of port: it speaks no TLS to a client who does, or TLS to one who does not
    bool isStopping = false;  ///< this program ends
    std::string host;         ///< as it was called
    std::string hostNames;    ///< those that its certificate bears, with commas
    std::string issuer, end;  ///< of the certificate that was refused; may be empty
    /// Of the own certificate, the start only where it has not come yet, the end only where it has.
    std::string ownIssuer, ownStart, ownEnd;
    unsigned seconds = 0;       ///< the limit that was reached
    bool wasConnected = false;  ///< the limit was that of the answer
};

/// Without a dot at its end; the advice is a sentence, or empty.
struct Explanation {
    std::string cause, advice;
};

/// @throws std::bad_alloc
Explanation Explain(const SeenFailure& seen);

/// What an HTTP status other than 200 means for a call that has sent so many bytes.
Explanation ExplainStatus(int status, std::size_t sentBytes);

/// The advice where no trusted certificate is installed.
extern const char* const kTrustAdvice;
/// The advice where nobody serves this node.
std::string StartAdvice();
/// The advice where a node did not answer in time.
extern const char* const kNoAnswerAdvice;

}  // namespace LumVoxRpc
