// The plain form of Connection_beast.h.
#include <boost/asio/write.hpp>
#include <boost/beast/http/write.hpp>

#include "Connection_beast.h"

namespace LumVoxMsg {
namespace {

class PlainConnection final : public Connection {
public:
    explicit PlainConnection(tcp::socket socket) : stream(std::move(socket)) {}
    bool IsTls() const noexcept override { return false; }
    beast::tcp_stream& Tcp() noexcept override { return stream; }
    void Open(NextStep next) override { next({}); }
    void ReadSome(net::mutable_buffer bytes, NextStep next) override { stream.async_read_some(bytes, std::move(next)); }
    void Write(net::const_buffer bytes, NextStep next) override { net::async_write(stream, bytes, std::move(next)); }
    void WriteSome(Serializer& answer, NextStep next) override {
        http::async_write_some(stream, answer, std::move(next));
    }
    void EndSending(NextStep next) override { next({}); }

    std::string WhyRefused(const error_code& error) override { return error.message(); }
    LumSecCore::Peer GetPeer(std::string&) override { return {}; }
    bool IsPeerStillLetIn(std::shared_ptr<net::ssl::context>, bool&, std::string&) override { return true; }

private:
    beast::tcp_stream stream;
};

}  // namespace

std::unique_ptr<Connection> MakePlainConnection(tcp::socket socket) {
    return std::make_unique<PlainConnection>(std::move(socket));
}

}  // namespace LumVoxMsg
