/// @file
/// One POST after the other over kept connections.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "LumPalArray.h"
#include "LumPalConfig.h"
#include "LumPalPlainMutex.h"
#include "LumSecCore.h"
#include "LumSecRevoked.h"

namespace LumVoxRpc {

/// From the namespace "vox.http.ext.conf". A value that is not above 0 gives the default.
struct ClientLimits {
    unsigned targetPort = 7443;                  ///< TARGET_PORT
    unsigned connectSeconds = 10;                ///< CONNECT_TIMEOUT, handshake included
    unsigned idleSeconds = 300;                  ///< REQUEST_TIMEOUT: longest time in which no byte moves
    unsigned callSeconds = 0;                    ///< CALL_TIMEOUT: longest time for a call in all; 0: no limit
    std::chrono::milliseconds callTime{0};       ///< what is left of that for this call
    std::uint64_t responseBytes = 1024u << 20u;  ///< RESPONSE_LIMIT, most bytes of an answer's body
    static ClientLimits Load(const LumPalConfig::Configuration_t& configuration);
};

/// Who the client is on a TLS connection, and whom it trusts.
struct ClientIdentity {
    std::string trusted;                                        ///< PEM texts, one behind the other
    LumSecCore::OwnPair own;                                    ///< empty: the client shows no certificate
    std::shared_ptr<const LumSecCore::RevocationList> revoked;  ///< servers that are refused
    /// The node's own. @param known  the own pair of an identity that was loaded before
    /// @throws LumSecCore::KeyStoreException, LumPalIo::IOException_t
    static ClientIdentity Load(const LumSecCore::OwnPair& known);
};

/// Where a request goes.
struct HttpTarget {
    bool tls = true;
    std::string host;  ///< as the user gave it, without brackets
    unsigned port = 0;
    std::string path;
    std::string targetId;  ///< over TLS the common name that the peer must bear; empty: any
    std::string secret;    ///< without TLS the node's local secret, which is proven (LocalDigest); empty: none
};

struct HttpAnswer {
    int status = 0;
    LumPalArray::CharArray_t body;
};

/// Makes requests and keeps their connections for the next one to the same place by the same identity.
/// Any thread; each request has a connection for itself.
class HttpClient {
public:
    HttpClient();
    ~HttpClient();
    /// Blocks until the answer is there. With a secret nothing but the request's header is sent to a peer that has not
    /// shown that it knows the secret too.
    /// @throws LumPalNet::ConnectException_t naming host, port and reason;
    ///         LumVoxSoap::SOAPFormatException for an answer beyond the limit
    HttpAnswer Post(const HttpTarget& target, const LumPalArray::CharArray_t& body, const ClientLimits& limits);

    struct Handle;

private:
    ClientIdentity Identify();
    std::unique_ptr<Handle> Take(const std::string& key);
    void Give(std::unique_ptr<Handle> handle);

    LumPalThread::PlainMutex_t mutex;
    std::vector<std::unique_ptr<Handle>> idle LUMPAL_GUARDED_BY(mutex);  ///< used last stands last
    LumSecCore::OwnPair own LUMPAL_GUARDED_BY(mutex);                    ///< what was shown last
};

}  // namespace LumVoxRpc
