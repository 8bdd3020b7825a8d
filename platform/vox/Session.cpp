// A session's beginning, and its end, which waits a little so that the last answer arrives.
#include "Session_beast.h"

#include <algorithm>
#include <sstream>

#include "FreedMemory.h"
#include "LumPalStr.h"

namespace LumVoxMsg {

using LumPalStr::String_t;

namespace {

constexpr std::chrono::seconds kLingerTime{2};

bool IsLoopback(const net::ip::address& address) {
    if (!address.is_v6() || !address.to_v6().is_v4_mapped()) return address.is_loopback();
    return net::ip::make_address_v4(net::ip::v4_mapped, address.to_v6()).is_loopback();
}

}  // namespace

Session::Session(HttpServer::Core& core, Place taken, std::shared_ptr<Standing> standing,
                 std::unique_ptr<Connection> connection)
    : place(std::move(taken)),
      core(core),
      standing(std::move(standing)),
      thread(this->standing->thread),
      connection(std::move(connection)),
      buffer(std::max<std::size_t>(core.limits.headerBytes, kBodyRead) + kFirstRead) {
    thread.Enter(*this);
}

Session::~Session() {
    thread.Forget(*this);
    // Nobody else says it of a connection that goes without a request, and thousands may go at once.
    LumVoxRpc::NoteFreed(kFirstRead + (connection->IsTls() ? kTlsBytes : 0));
}

void Session::Start() {
    error_code error;
    const tcp::endpoint remote = Tcp().socket().remote_endpoint(error);
    if (error || core.closing) return;
    peer.address = (std::ostringstream() << remote).str();
    peer.onLoopback = IsLoopback(remote.address());
    Tcp().socket().set_option(tcp::no_delay(true), error);
    thread.BeginWaiting(*this, IoThread::Kind::Newcomer);
    Tcp().expires_after(core.limits.handshakeTime);
    connection->Open(Then(&Session::OnOpened));
}

void Session::OnOpened(error_code error, std::size_t) {
    core.handshakeLog.LogRest();
    if (error) {
        if (connection->IsTls()) core.handshakesFailed.Add();
        if (error.category() == net::error::get_ssl_category())
            core.handshakeLog.Warn("A TLS handshake was refused: %1",
                                   String_t::FromUtf8(peer.address + ": " + connection->WhyRefused(error)));
        return;
    }
    NamePeer();
    AwaitRequest();
}

void Session::Prove() noexcept {
    standing->proven = true;
    place.Prove();
}

void Session::BeginWaiting() noexcept {
    if (standing->proven) return thread.BeginWaiting(*this, IoThread::Kind::IdleProven);
    if (place.GetRank() == PeerRank::Stranger) thread.BeginWaiting(*this, IoThread::Kind::IdleStranger);
}

bool Session::BeginMoving() noexcept {
    if (standing->proven) return thread.EndWaiting(*this);
    if (place.GetRank() == PeerRank::Stranger) thread.BeginWaiting(*this, IoThread::Kind::SlowStranger);
    return true;
}

bool Session::Speak() noexcept {
    return standing->proven || place.Speak() || (core.MakeStrangerGo() && place.Speak());
}

void Session::NamePeer() {
    peer.tls = connection->IsTls();
    std::string refusal;
    LumSecCore::Peer proved = connection->GetPeer(refusal);
    peer.commonName = std::move(proved.id);
    peer.isNode = proved.isNode;
    if (!peer.commonName.empty()) Prove();
    if (!refusal.empty())
        core.nameLog.Warn("A client certificate names no sender: %1",
                          String_t::FromUtf8(peer.address + ": " + refusal));
}

/// Trust that was taken back since the handshake, or a certificate that has ended, opens nothing any more. What was
/// received before goes on.
bool Session::IsPeerStillLetIn() {
    std::string refusal;
    bool renewed = false;
    if (connection->IsPeerStillLetIn(core.GetTls(), renewed, refusal)) {
        // The key that made it the node may be the node's no longer, and the node's id may be another.
        if (renewed || peer.isNode) NamePeer();
        return true;
    }
    core.handshakeLog.Warn("A client is let in no longer: %1",
                           String_t::FromUtf8(peer.address + ": its certificate is refused: " + refusal));
    return false;
}

void Session::Linger() {
    phase = Phase::Lingering;
    BeginMoving();
    parser.reset();
    buffer.clear();
    buffer.shrink_to_fit();
    headerShare.Clear();
    Tcp().expires_after(kLingerTime);
    connection->EndSending(Then(&Session::Drain));
}

void Session::Drain(error_code, std::size_t) {
    error_code ignored;
    Tcp().socket().shutdown(tcp::socket::shutdown_send, ignored);
    if (ignored) return Drop();
    Tcp().expires_after(kLingerTime);
    phaseStart = Clock::now();
    OnDrained({}, 0);
}

void Session::OnDrained(error_code error, std::size_t) {
    if (error || Clock::now() >= phaseStart + kLingerTime) return Drop();
    // What has come and was not read would turn the end into a reset, which takes the answer along.
    if (core.closing && Tcp().socket().available(error) == 0) return Drop();
    buffer.clear();
    Tcp().async_read_some(buffer.prepare(kFirstRead), Then(&Session::OnDrained));
}

}  // namespace LumVoxMsg
