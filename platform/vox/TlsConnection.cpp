// The TLS form of Connection_beast.h.
#include <openssl/ssl.h>

#include <boost/asio/write.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <chrono>

#include "Connection_beast.h"
#include "TlsIdentity.h"

namespace LumVoxMsg {
namespace {

class TlsConnection final : public Connection {
public:
    TlsConnection(tcp::socket socket, std::shared_ptr<net::ssl::context> settings)
        : settings(std::move(settings)), vouching(this->settings), stream(std::move(socket), *this->settings) {}
    bool IsTls() const noexcept override { return true; }
    beast::tcp_stream& Tcp() noexcept override { return stream.next_layer(); }
    void Open(NextStep next) override { stream.async_handshake(net::ssl::stream_base::server, std::move(next)); }
    void ReadSome(net::mutable_buffer bytes, NextStep next) override { stream.async_read_some(bytes, std::move(next)); }
    void Write(net::const_buffer bytes, NextStep next) override { net::async_write(stream, bytes, std::move(next)); }
    void WriteSome(Serializer& answer, NextStep next) override {
        http::async_write_some(stream, answer, std::move(next));
    }
    void EndSending(NextStep next) override { stream.async_shutdown(std::move(next)); }

    std::string WhyRefused(const error_code& error) override;
    LumSecCore::Peer GetPeer(std::string& refusal) override;
    bool IsPeerStillLetIn(std::shared_ptr<net::ssl::context> current, bool& renewed, std::string& refusal) override;

private:
    const std::shared_ptr<net::ssl::context> settings;
    std::shared_ptr<net::ssl::context> vouching;       ///< the last that vouched for the peer
    std::chrono::system_clock::time_point endOfProof;  ///< see LumSecCore::IsStillLetIn
    beast::ssl_stream<beast::tcp_stream> stream;
};

/// What is wrong with the peer's certificate tells more than what the library says of the handshake.
std::string TlsConnection::WhyRefused(const error_code& error) {
    const long verdict = SSL_get_verify_result(stream.native_handle());
    if (verdict == X509_V_OK) return error.message();
    return std::string("the client's certificate is refused: ") + X509_verify_cert_error_string(verdict);
}

LumSecCore::Peer TlsConnection::GetPeer(std::string& refusal) {
    return LumSecCore::PeerOf(stream.native_handle(), vouching->native_handle(), refusal);
}

bool TlsConnection::IsPeerStillLetIn(std::shared_ptr<net::ssl::context> current, bool& renewed, std::string& refusal) {
    renewed = current != vouching;
    if (!LumSecCore::IsStillLetIn(stream.native_handle(), current->native_handle(), !renewed, endOfProof, refusal)) {
        return false;
    }
    vouching = std::move(current);
    return true;
}

}  // namespace

std::unique_ptr<Connection> MakeTlsConnection(tcp::socket socket, std::shared_ptr<net::ssl::context> settings) {
    return std::make_unique<TlsConnection>(std::move(socket), std::move(settings));
}

}  // namespace LumVoxMsg
