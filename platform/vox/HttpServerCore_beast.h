/// @file
/// What the server's connections share, and how they come and go.
#pragma once

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <condition_variable>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "AcceptLoop.h"
#include "Admission.h"
#include "HttpServer.h"
#include "Lane_beast.h"
#include "LumPalMetrics.h"
#include "LumPalPlainMutex.h"

namespace LumVoxMsg {

using boost::system::error_code;
using tcp = boost::asio::ip::tcp;

class Place;

class HttpServer::Core : private AcceptLoop::Taker {
public:
    Core(const HttpLimits& limits, HttpHandler& handler);
    ~Core() override { Finish(); }

    void SetIdentity(const LumSecCore::NodeIdentity& identity);
    std::shared_ptr<net::ssl::context> GetTls();
    void Bind(const std::string& address, unsigned port);
    void Start();
    void StopAccepting();
    void Finish();
    /// The place of a connection, which may still be open, is another's.
    void Leave(const PeerAddress& from, PeerRank rank) noexcept { admission.Leave(from, rank); }
    /// A connection is closed.
    void NoteClosed() noexcept;
    /// Lets a stranger who is at no request, or at one for long, make room for another's request. Any thread.
    bool MakeStrangerGo() noexcept;

    const HttpLimits limits;
    HttpHandler& handler;
    LumPalMetrics::Counter_t& handshakesFailed;  ///< of the process
    Admission admission;
    const std::shared_ptr<MemoryBudget> namedBudget, namelessBudget;
    std::atomic<bool> closing{false};
    std::atomic<unsigned> port{0};
    LumPalLog::ThrottledLog handshakeLog, nameLog, beginLog;

private:
    void Listen(const tcp::endpoint& endpoint);
    tcp AnyAddress();
    const char* WhyFull(const LumPal::Descriptor& socket) const noexcept override;
    bool MakeRoom(const LumPal::Descriptor& socket) noexcept override;
    void Take(LumPal::Descriptor socket) override;
    std::string_view GetFarewell() const noexcept override;
    bool FreeDescriptor() noexcept override;
    bool DropOne() noexcept;
    bool DropLongestWaiting(std::initializer_list<IoThread::Kind> kinds, std::chrono::milliseconds atLeast) noexcept;
    IoThread& NextThread() noexcept { return *threads[nextThread++ % threads.size()]; }
    void Begin(LumPal::Descriptor descriptor, Place place, std::shared_ptr<Standing> standing) noexcept;

    class Arrival;

    mutable LumPalThread::PlainMutex_t mutex;
    std::shared_ptr<net::ssl::context> tls LUMPAL_GUARDED_BY(mutex);
    std::uint64_t closed LUMPAL_GUARDED_BY(mutex) = 0;  ///< connections that have gone
    std::condition_variable left;
    std::vector<std::unique_ptr<IoThread>> threads;
    std::unique_ptr<tcp::acceptor> acceptor;
    tcp protocol = tcp::v4();
    std::unique_ptr<AcceptLoop> acceptLoop;
    std::size_t nextThread = 0;  ///< the accept loop's own
    bool running = false;
};

/// A connection's place among those that are counted; given back wherever the connection is lost. Any thread.
class Place {
public:
    /// @throws std::bad_alloc
    Place(HttpServer::Core& owner, const PeerAddress& from) : core(&owner), from(from) { core->admission.Enter(from); }
    /// Of one that no other thread knows yet.
    Place(Place&& other) noexcept
        : core(std::exchange(other.core, nullptr)), from(other.from), rank(other.rank.exchange(PeerRank::None)) {}
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() { GiveBack(); }

    PeerRank GetRank() const noexcept { return rank; }
    /// It is a stranger's from now on, unless it is somebody's already. @return false when there are too many
    bool Speak() noexcept;
    /// It is a stranger's no longer. A second call does nothing.
    void Prove() noexcept;
    /// It is another's from now on, while the connection is still to be closed. A second call does nothing.
    void Forfeit() noexcept;
    /// The connection is closed.
    void GiveBack() noexcept {
        Forfeit();
        if (core) core->NoteClosed();
    }

private:
    HttpServer::Core* core;
    PeerAddress from;
    std::atomic<PeerRank> rank{PeerRank::Newcomer};
};

}  // namespace LumVoxMsg
