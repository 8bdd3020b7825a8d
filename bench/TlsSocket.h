/// @file
/// A client's TLS connection, by the crypto library alone.
#pragma once

#include <memory>
#include <string>

#include "RawHttp.h"

struct ssl_ctx_st;
struct ssl_st;

namespace bench {

/// Who connects, and whom it trusts; any number of connections are made with it, none of which resumes another.
class TlsClient {
public:
    /// Paths of PEM files. @throws std::runtime_error
    TlsClient(const std::string& certificate, const std::string& key, const std::string& trusted);
    ssl_ctx_st* Get() const noexcept { return context.get(); }

private:
    std::shared_ptr<ssl_ctx_st> context;
};

/// @throws std::runtime_error when the handshake fails or the server is not trusted
class TlsSocket : public RawSocket {
public:
    TlsSocket(const TlsClient& client, unsigned port);
    bool Send(std::string_view bytes) override;
    std::string ReceiveSome() override;
    /// Says that nothing more will be sent, and waits until the server has gone: it has done its whole part then.
    void Leave();

private:
    std::shared_ptr<ssl_st> tls;
};

}  // namespace bench
