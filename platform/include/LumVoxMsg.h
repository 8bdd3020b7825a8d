/// @file
/// The messenger: the road on which messages leave and arrive (HTTP/1.1, with TLS or without).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "LumSecCore.h"
#include "LumVoxCore.h"

namespace LumVoxMsg {

/// Receives the messages below one base path. Implemented inside the layer (RPC servers).
class LUMPAL_API MsgHandler {
public:
    virtual ~MsgHandler();

    struct Access;  ///< the layer's own entry to a handler

protected:
    friend struct Access;
    struct Request;
    struct Response;
    virtual LumPalStr::String_t BasePath() const = 0;
    virtual void Handle(const Request& request, Response& response) = 0;
    /// Writes the description of what is served, for callers that came to this address.
    /// @return false, and nothing written, when there is none
    virtual bool Describe(const LumPalStr::String_t& address, Response& response) const;
};

/// Who was refused, and at which path.
using RefusalListener = std::function<void(const LumPalStr::String_t& sender, const LumPalStr::String_t& path)>;

/// Who reads a page.
struct PageReader {
    /// As a call's sender; empty for one who proved nothing.
    std::string sender;
    /// Whose rights he has, as RpcServerCall::GetRightsID.
    std::string rightsId;
    /// He comes from this host.
    bool onLoopback = false;
};

/// A document that is read with GET (or HEAD) at a path of its own, beside the calls.
struct Page {
    std::string path;  ///< whole, beginning with "/"
    std::string contentType;
    /// Whether this reader gets it without any right. On threads that move bytes: it must not block, nor throw. Of
    /// those for whom it says no, one who proved nothing on the plain road is asked for a proof.
    std::function<bool(const PageReader&)> isOpenTo;
    /// Whether any other reader has the right to it; else he is answered with 403. On a worker's thread, as `read`.
    std::function<bool(const PageReader&)> mayRead;
    /// The document. On a worker's thread, several at once; what it throws is logged and answered with 500.
    std::function<std::string()> read;
    /// Whether there is a document for now; else a reader is answered with 503. None: always. As `read`.
    std::function<bool()> isReady{};
};

/// A handle; copies share one messenger. The first registered handler opens the port;
/// the last handle that goes closes it. Any thread.
class LUMPAL_API Messenger : public LumVoxCore::Object {
public:
    /// A value with chaining setters.
    class LUMPAL_API Options {
    public:
        /// Registered with the node's broker: reachable under the node's one port. Kept; nothing else reads it.
        Options& RegisterWithCb(bool value) {
            registerWithCb = value;
            return *this;
        }
        Options& SendOnly(bool value) {
            sendOnly = value;
            return *this;
        }
        /// 1: a sender is identified by the transport (client certificate, or the local secret).
        Options& SetAuthenticationMethod(int value) {
            authenticationMethod = value;
            return *this;
        }
        Options& SetApplicationInfo(const LumPalStr::String_t& name, const LumPalStr::String_t& version) {
            applicationName = name;
            applicationVersion = version;
            return *this;
        }
        Options& SetBasePath(const char* path) {
            basePath = path;
            return *this;
        }

        bool registerWithCb = true;
        bool sendOnly = false;
        int authenticationMethod = 0;
        LumPalStr::String_t applicationName, applicationVersion, basePath;
    };
    Messenger() = default;
    Messenger(const LumPalConfig::Configuration_t& configuration, const Options& options);
    /// Routes what arrives below the messenger's base path plus the handler's to the handler
    /// (not owned; it must live until Close). The first call binds the port and starts to serve.
    /// @throws LumPalNet::ConnectException_t when the port is taken;
    ///         LumPalMsg::IllegalStateError_t on a null, closed or sending messenger
    void Register(MsgHandler* handler, bool authenticated, int method);
    /// Serves a page. @throws as Register; LumPalMsg::IllegalArgumentError_t when something has the path
    void Serve(Page page);
    /// The first half of Close, which does not wait: the port is closed, requests that no handler has begun with are
    /// answered with 503, none arrives after it returns, and no handler can be registered any more. Calls in flight go
    /// on. A second call, one after Close and one on a null messenger does nothing.
    void StopReceiving();
    /// Ends reception: closes the port and waits for calls in flight; no request arrives after it returns.
    /// A second call, and a call on a null messenger, does nothing.
    void Close();
    /// Calls the listener for each caller on an open connection whose certificate is trusted no longer, and whose
    /// request is refused before it is read. On a thread that moves bytes: it must not block, nor throw. Before the
    /// first Register; on a null messenger it does nothing.
    void TellOfRefusals(RefusalListener listener);
    /// Whether the port is open.
    bool IsServing() const;
    /// The bound port; 0 when not serving. (A configured port 0 takes a free one.)
    unsigned GetPort() const;
    /// The certificate that the port shows, with the chain behind it, whatever the configuration says by now; none when
    /// it is served plain, or not at all.
    std::vector<LumSecCore::X509Certificate> GetCertificates() const;
    /// Takes a changed key, certificate and trust for new connections; those in flight go on.
    void ReloadIdentity();
    /// Whether the last ReloadIdentity found what only a new start takes up: a certificate on a port that was opened
    /// plain, and stays on loopback alone, or none any more on one that was opened for TLS, and stays so.
    bool AwaitsRestart() const;
    /// Whether the port was opened plain, so on loopback alone, and stays there.
    bool IsOnLoopbackAlone() const;

    class Impl;
    Impl* GetImpl() const;
};

/// What a messenger that serves with this configuration would not take as it stands: numbers that are none or out of
/// their bounds, an address that is none. Empty when all is in order; nothing is logged.
LUMPAL_API LumPalMsg::MessageList_t FindWrongLimits(const LumPalConfig::Configuration_t& configuration);
/// The largest body of a request that such a messenger takes, in bytes: BODY_LIMIT, or its default.
LUMPAL_API std::uint64_t LargestBody(const LumPalConfig::Configuration_t& configuration);

}  // namespace LumVoxMsg
