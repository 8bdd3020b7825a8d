/// @file
/// What the server's connections share, and how they come and go.
#pragma once

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "AcceptLoop.h"
#include "HttpServer.h"
#include "IoThread_beast.h"

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
    void Enter() noexcept { ++connections; }
    void Leave() noexcept;

    const HttpLimits limits;
    HttpHandler& handler;
    const std::shared_ptr<MemoryBudget> namedBudget, namelessBudget;
    std::atomic<bool> closing{false};
    std::atomic<unsigned> connections{0};
    std::atomic<unsigned> port{0};
    LumPalLog::ThrottledLog handshakeLog, nameLog, beginLog;

private:
    void Listen(const tcp::endpoint& endpoint);
    tcp AnyAddress();
    bool HasRoom() const noexcept override { return connections < limits.connections; }
    bool MakeRoom() noexcept override;
    void Take(LumPal::Descriptor socket) override;
    std::string_view GetFarewell() const noexcept override;
    bool DropLongestWaiting();
    IoThread& NextThread() noexcept { return *threads[nextThread++ % threads.size()]; }
    void Begin(LumPal::Descriptor descriptor, Place place, IoThread& target) noexcept;

    mutable std::mutex mutex;  ///< guards tls and leaves
    std::shared_ptr<net::ssl::context> tls;
    std::uint64_t leaves = 0;  ///< connections that have gone
    std::condition_variable left;
    std::vector<std::unique_ptr<IoThread>> threads;
    std::unique_ptr<tcp::acceptor> acceptor;
    tcp protocol = tcp::v4();
    std::unique_ptr<AcceptLoop> acceptLoop;
    std::size_t nextThread = 0;  ///< the accept loop's own
    bool running = false;
};

/// A connection's place among those that are counted; given back wherever the connection is lost.
class Place {
public:
    explicit Place(HttpServer::Core& owner) noexcept : core(&owner) { core->Enter(); }
    Place(Place&& other) noexcept : core(std::exchange(other.core, nullptr)) {}
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() {
        if (core) core->Leave();
    }

private:
    HttpServer::Core* core;
};

}  // namespace LumVoxMsg
