/// @file
/// HTTP/1.1 over TCP or TLS, event-driven: a slow, idle or hostile connection costs a socket, never a thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Blocks.h"
#include "HttpLimits.h"
#include "LumSecCore.h"

namespace LumVoxMsg {

/// Who is at the other end of a connection.
struct HttpPeer {
    bool tls = false;
    /// Of the verified client certificate, as UTF-8; empty without one, or when its name is refused.
    std::string commonName;
    /// It is this node itself, by its key.
    bool isNode = false;
    /// It comes from this host.
    bool onLoopback = false;
    /// Address and port, for logs.
    std::string address;
};

/// One request. Names of headers are compared without regard to case; a header that stands twice counts as absent.
struct HttpRequest {
    std::string method;         ///< as sent: methods are case-sensitive
    std::string path;           ///< without query and without scheme and host
    std::string query;          ///< behind the "?"; empty when there is none
    std::string contentType;    ///< as sent
    std::string authorization;  ///< as sent
    std::string host;           ///< as sent, in the target or else in Host; without one where the connection came to
    bool hasBody = true;        ///< false when it is known to be empty
    HttpPeer peer;
    /// Who the handler takes the sender for; set by HttpHandler::Screen.
    std::string sender;
    std::shared_ptr<Blocks> body;
};

struct HttpResponse {
    unsigned status = 500;
    std::string contentType;
    std::string allow;  ///< for 405
    std::shared_ptr<Blocks> body;
    std::string authenticate{};  ///< for 401
};

/// Sends the answer to a request; any thread, once. When the last copy goes without a call, 503 is sent.
using HttpReply = std::function<void(HttpResponse)>;

/// Takes requests. Called on I/O threads, several at once; must not block.
class HttpHandler {
public:
    virtual ~HttpHandler() = default;
    /// Sees a request's header before its body is read, and names its sender.
    /// @return an answer that refuses it, else nothing
    virtual std::optional<HttpResponse> Screen(HttpRequest& head) = 0;
    /// Takes the whole request.
    virtual void Serve(HttpRequest request, HttpReply reply) = 0;
    /// Hears of a caller on an open connection whose certificate is trusted no longer, and who is answered with 403.
    virtual void Distrusted(const HttpRequest&) {}
    /// The body of an answer that the server gives by itself.
    virtual std::string ErrorBody(unsigned status, std::string_view reason, std::string& contentType) = 0;
};

/// Bind, Start, StopAccepting, Finish: each once, in this order, by one thread at a time.
/// SetIdentity by any thread at any time. A connection for which there is no room (HttpLimits::connections, and the
/// descriptors that are kept for files) takes the place of one that waits for a request; where memory runs out, the
/// connection that needs it is lost, and nothing else.
class HttpServer {
public:
    /// @param handler  not owned; lives until Finish has returned
    HttpServer(const HttpLimits& limits, HttpHandler& handler);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    /// Ends as StopAccepting and Finish do.
    ~HttpServer();
    /// Makes new connections TLS connections with this identity; those that are open go on, unless the client's
    /// certificate is trusted no longer: its next request is answered with 403 then, as it is when the certificate has
    /// ended, and the connection is closed.
    /// @throws LumSecCore::KeyStoreException; the identity of before stays then
    void SetIdentity(const LumSecCore::NodeIdentity& identity);
    /// Opens the port; connections wait until Start. An empty address means every address of the host.
    /// @throws LumPalNet::ConnectException_t naming address and port
    void Bind(const std::string& address, unsigned port);
    void Start();
    /// The bound port.
    unsigned GetPort() const noexcept;
    /// The certificate that new connections are shown, with the chain behind it; none when they are plain.
    std::vector<LumSecCore::X509Certificate> GetCertificates() const;
    /// Takes no memory. Closes the port and every connection that waits for or receives a request; a request that has
    /// arrived whole is still answered. No request reaches the handler after it returns.
    void StopAccepting();
    /// Takes no memory. Waits for answers that are being sent, for at most HttpLimits::closeTime, closes everything and
    /// joins its threads. No thread may still hold a reply.
    void Finish();
    /// Connections that are open.
    unsigned GetConnectionCount() const noexcept;

    class Core;

private:
    std::unique_ptr<Core> core;
};

}  // namespace LumVoxMsg
