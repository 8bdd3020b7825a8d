/// @file
/// The bytes of one connection, plain or over TLS, so that a session need not know which.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <memory>
#include <string>

#include "HttpMessage_beast.h"
#include "TlsIdentity.h"

namespace LumVoxMsg {

using tcp = boost::asio::ip::tcp;

class Session;

/// The step of a session that follows an operation; holds the session until then, and takes no memory.
class NextStep {
public:
    using Function = void (Session::*)(error_code, std::size_t);
    NextStep(std::shared_ptr<Session> session, Function function) noexcept
        : session(std::move(session)), function(function) {}
    /// @param count  bytes that were moved
    void operator()(error_code error, std::size_t count = 0) const { ((*session).*function)(error, count); }

private:
    std::shared_ptr<Session> session;
    Function function;
};

/// One at a time of each kind of operation, all on the connection's event loop. What an operation reads or writes
/// lives until its step is called. Time limits are those of the TCP stream.
class Connection {
public:
    virtual ~Connection() = default;
    virtual bool IsTls() const noexcept = 0;
    virtual beast::tcp_stream& Tcp() noexcept = 0;
    /// Comes to terms with the peer; the step may be called before it returns.
    virtual void Open(NextStep next) = 0;
    virtual void ReadSome(net::mutable_buffer bytes, NextStep next) = 0;
    virtual void Write(net::const_buffer bytes, NextStep next) = 0;
    virtual void WriteSome(Serializer& answer, NextStep next) = 0;
    /// Says that no more will be sent; the step may be called before it returns.
    virtual void EndSending(NextStep next) = 0;

    /// Why the peer could not be come to terms with.
    virtual std::string WhyRefused(const error_code& error) = 0;
    /// Who the peer has proven to be by the settings that vouched for him last, as LumSecCore::PeerOf tells it; nobody
    /// without a certificate.
    virtual LumSecCore::Peer GetPeer(std::string& refusal) = 0;
    /// Whether a peer that was let in still would be, where the settings of now are these; see
    /// LumSecCore::IsStillLetIn.
    /// @param renewed  set when they are others than those that vouched last: then the peer may be somebody else
    virtual bool IsPeerStillLetIn(std::shared_ptr<net::ssl::context> current, bool& renewed, std::string& refusal) = 0;
};

std::unique_ptr<Connection> MakePlainConnection(tcp::socket socket);
std::unique_ptr<Connection> MakeTlsConnection(tcp::socket socket, std::shared_ptr<net::ssl::context> settings);

}  // namespace LumVoxMsg
