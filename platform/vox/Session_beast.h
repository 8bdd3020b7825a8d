/// @file
/// One connection from its handshake to its end.
#pragma once

#include <boost/beast/core/flat_buffer.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Connection_beast.h"
#include "HeaderScan.h"
#include "HttpHead.h"
#include "HttpServerCore_beast.h"

namespace LumVoxMsg {

/// Lives in one event loop, whose thread makes all calls; every operation that is under way holds it. Its steps stand
/// in Session.cpp (handshake and end), SessionRequest.cpp (header and body) and SessionAnswer.cpp.
class Session final : public AnySession, public std::enable_shared_from_this<Session> {
public:
    Session(HttpServer::Core& core, Place taken, std::shared_ptr<Standing> standing,
            std::unique_ptr<Connection> connection);
    ~Session() override;

    void Start();
    void BeginClosing() override {
        if (phase != Phase::Serving && phase != Phase::Sending) Drop();
    }
    /// Its place is free at once: what it still has to do may come late.
    void Abort() override {
        Drop();
        place.GiveBack();
    }
    void Forfeit() noexcept override { place.Forfeit(); }

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase {
        Opening,    ///< waits for the end of the handshake
        Idle,       ///< waits for the first byte of a request
        Receiving,  ///< reads header or body
        Serving,    ///< waits for the handler's answer
        Sending,    ///< writes the answer
        Lingering   ///< waits for the peer to close, so that it can read the answer first
    };
    static constexpr const char* kTooMuch = "Too many large requests at once.";
    static constexpr std::size_t kFirstRead = 4096;  ///< an idle connection holds no more than this
    static constexpr std::size_t kBodyRead = 65536;
    static constexpr std::size_t kTlsBytes = 65536;  ///< about what the TLS library keeps for a connection

    class ReplyOnce;

    NextStep Then(NextStep::Function next) { return NextStep(shared_from_this(), next); }
    beast::tcp_stream& Tcp() { return connection->Tcp(); }
    void Drop() { Tcp().close(); }

    void OnOpened(error_code error, std::size_t);
    void NamePeer();
    /// The peer is no stranger any more.
    void Prove() noexcept;
    /// May be closed for others from now on; a newcomer may be since he has come.
    void BeginWaiting() noexcept;
    /// Is at a request: of a stranger that, too, ends when it takes long and others need his place.
    /// @return false when the place is another's already
    bool BeginMoving() noexcept;
    /// A request of one who has proven nothing is to be taken. @return false when too many others' are
    bool Speak() noexcept;
    bool IsPeerStillLetIn();

    void AwaitRequest();
    void OnFirstBytes(error_code error, std::size_t count);
    void ReadHeader();
    void OnHeaderBytes(error_code error, std::size_t count);
    void ScanHeader();
    /// Takes of the budget what a header of such a size costs until the request has been answered: its bytes, the
    /// fields made of them and what the request keeps of those. @return false when there is not enough
    bool ChargeHeader(std::size_t bytes);
    void SkipEmptyLine();
    void ParseHead(std::size_t length);
    void TakeHead(const HttpHead& head);
    std::string HostOf(const HttpHead& head);
    std::string OwnAddress();
    void BeginBody(bool sendContinue);
    void OnContinueSent(error_code error, std::size_t);
    void ReadBody();
    void OnBodyBytes(error_code error, std::size_t count);
    void ParseBody();

    void Serve();
    void Refuse(unsigned status, std::string_view reason);
    void RefuseFor(error_code error);
    std::string TooLarge() const;
    /// Answers a request that no handler has begun with.
    void GiveUp() { Refuse(503, core.closing ? "The node is stopping." : "The node cannot serve this now."); }
    void Respond(HttpResponse answer, bool keep);
    void WriteSome();
    void OnWritten(error_code error, std::size_t count);

    void Linger();
    void Drain(error_code, std::size_t);
    void OnDrained(error_code error, std::size_t);

    Place place;
    HttpServer::Core& core;
    const std::shared_ptr<Standing> standing;
    IoThread& thread;
    const std::unique_ptr<Connection> connection;
    HttpPeer peer;
    Phase phase = Phase::Opening;
    beast::flat_buffer buffer;  ///< bounded, since a chunk's extension is kept whole until its end
    BudgetShare headerShare;
    HeaderScan scan;
    std::size_t scanned = 0;
    bool mayBeginEmpty = true;
    std::optional<Parser> parser;
    HttpRequest request;
    bool isHead = false;  ///< its answer has a header alone
    bool keepAlive = false;
    std::optional<Response> response;
    std::optional<Serializer> serializer;
    Clock::time_point phaseStart;
    std::uint64_t moved = 0;  ///< bytes of the body received, or of the answer sent
    PostRoom replyRoom;
};

}  // namespace LumVoxMsg
