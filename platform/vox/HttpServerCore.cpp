#include "HttpServerCore_beast.h"

#include <boost/asio/ip/v6_only.hpp>

#include "LumPalNet.h"
#include "Session_beast.h"
#include "TlsIdentity.h"

namespace LumVoxMsg {

using LumPal::Descriptor;
using LumPalStr::String_t;

namespace {

constexpr std::chrono::milliseconds kRoomTime{200};  ///< longer than any loop is busy with one step
/// A stranger who has not sent his request by then, or not taken its answer, may lose his place.
constexpr std::chrono::milliseconds kSlow{1000};
constexpr char kBusy[] =
    "HTTP/1.1 503 Service Unavailable\r\nServer: lumconfd\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

LumPalNet::ConnectException_t CannotListen(const tcp::endpoint& endpoint, const error_code& error) {
    return LumPalNet::ConnectException_t(LumPalMsg::CreateError_t("Cannot listen on address '%1', port %2: %3.")
                                         << String_t::FromUtf8(endpoint.address().to_string())
                                         << static_cast<unsigned>(endpoint.port())
                                         << String_t::FromUtf8(error.message()));
}

LumPalMetrics::Counter_t& FailedHandshakes() {
    static LumPalMetrics::Counter_t failed("lumconf_tls_handshakes_failed_total",
                                           "Connections that ended before their TLS handshake was done.");
    failed.BeginAtZero();
    return failed;
}

}  // namespace

HttpServer::Core::Core(const HttpLimits& limits, HttpHandler& handler)
    : limits(limits),
      handler(handler),
      handshakesFailed(FailedHandshakes()),
      admission(limits.connections, limits.addressConnections),
      // Callers that proved nothing have a share of their own, so that they cannot keep others out.
      namedBudget(std::make_shared<MemoryBudget>(limits.allBodiesBytes / 4 * 3)),
      namelessBudget(std::make_shared<MemoryBudget>(limits.allBodiesBytes / 4)) {
    for (unsigned i = 0; i < limits.ioThreads; ++i) threads.push_back(std::make_unique<IoThread>());
}

void HttpServer::Core::SetIdentity(const LumSecCore::NodeIdentity& identity) {
    auto next = std::make_shared<net::ssl::context>(net::ssl::context::tls_server);
    LumSecCore::ConfigureServer(next->native_handle(), identity);
    const LumPalThread::PlainLock_t lock(mutex);
    if (tls) {
        LumSecCore::LetFormerKeysPass(next->native_handle(), tls->native_handle(),
                                      std::chrono::steady_clock::now() + LumSecCore::kFormerKeyPasses);
    }
    tls = std::move(next);
}

std::shared_ptr<net::ssl::context> HttpServer::Core::GetTls() {
    const LumPalThread::PlainLock_t lock(mutex);
    return tls;
}

void HttpServer::Core::Listen(const tcp::endpoint& endpoint) {
    error_code error;
    acceptor->open(endpoint.protocol(), error);
    if (!error) acceptor->set_option(tcp::acceptor::reuse_address(true), error);
    if (!error && endpoint.protocol() == tcp::v6()) acceptor->set_option(net::ip::v6_only(false), error);
    if (!error) acceptor->bind(endpoint, error);
    if (!error) acceptor->listen(net::socket_base::max_listen_connections, error);
    if (error) throw CannotListen(endpoint, error);
    port = acceptor->local_endpoint().port();
    protocol = endpoint.protocol();
    acceptor->non_blocking(true);
    acceptLoop = std::make_unique<AcceptLoop>(acceptor->native_handle(), static_cast<AcceptLoop::Taker&>(*this));
}

/// IPv6, which takes IPv4 along, unless this host has none.
tcp HttpServer::Core::AnyAddress() {
    error_code error;
    tcp::acceptor trial(threads.front()->context);
    trial.open(tcp::v6(), error);
    if (!error) trial.bind(tcp::endpoint(net::ip::address_v6::loopback(), 0), error);
    return error ? tcp::v4() : tcp::v6();
}

void HttpServer::Core::Bind(const std::string& address, unsigned wanted) {
    const auto number = static_cast<unsigned short>(wanted);
    acceptor = std::make_unique<tcp::acceptor>(threads.front()->context);
    Listen(address.empty() ? tcp::endpoint(AnyAddress(), number)
                           : tcp::endpoint(net::ip::make_address(address), number));
}

void HttpServer::Core::Start() {
    running = true;
    for (const auto& thread : threads) thread->Start();
    acceptLoop->Start();
}

/// A connection that was taken, until its loop has the time to begin with it: others may need its place before.
class HttpServer::Core::Arrival final : public AnySession {
public:
    Arrival(Descriptor socket, Place taken, IoThread& thread)
        : place(std::move(taken)), socket(std::move(socket)), thread(thread) {
        thread.BeginWaiting(*this, IoThread::Kind::Newcomer);
    }
    ~Arrival() override { thread.Forget(*this); }
    void BeginClosing() override {}
    void Abort() override {
        socket = Descriptor();
        place.GiveBack();
    }
    void Forfeit() noexcept override { place.Forfeit(); }
    /// False when its place is another's.
    bool MayBegin() noexcept { return thread.EndWaiting(*this); }

    Place place;  ///< first: it is given back when the connection is closed
    Descriptor socket;

private:
    IoThread& thread;
};

void HttpServer::Core::Take(Descriptor socket) {
    IoThread& target = NextThread();
    const PeerAddress from = PeerAddress::Of(socket);
    auto standing = std::make_shared<Standing>(Standing{target, from.Hash()});
    auto arrival = std::make_shared<Arrival>(std::move(socket), Place(*this, from), target);
    auto begin = [this, standing, arrival = std::move(arrival)]() mutable {
        if (arrival->MayBegin()) Begin(std::move(arrival->socket), std::move(arrival->place), std::move(standing));
    };
    net::post(target.context, [&target, place = standing->place, begin = std::move(begin)]() mutable {
        target.Later(place, std::move(begin));
    });
}

const char* HttpServer::Core::WhyFull(const Descriptor& socket) const noexcept {
    return admission.WhyFull(PeerAddress::Of(socket));
}

/// An idle connection can be made again at any time; one that finds no room cannot be made at all.
bool HttpServer::Core::MakeRoom(const Descriptor& socket) noexcept {
    const PeerAddress from = PeerAddress::Of(socket);
    if (closing || admission.IsAddressFull(from)) return false;
    // Somebody may have gone by himself meanwhile.
    return !admission.WhyFull(from) || DropOne();
}

bool HttpServer::Core::FreeDescriptor() noexcept {
    LumPalThread::PlainLock_t lock(mutex);
    const std::uint64_t before = closed;
    lock.Unlock();
    if (!DropOne()) return false;
    const auto end = std::chrono::steady_clock::now() + kRoomTime;
    lock.Lock();
    while (closed == before && !closing) {
        if (left.wait_until(lock.ForWait(), end) == std::cv_status::timeout) break;
    }
    return closed != before && !closing;
}

/// Strangers go first, and those first who are at a request for long: they do not wait for anything of ours. Of all
/// others who have proven nothing the one goes who has waited longest; when strangers have all that they may have, that
/// is no newcomer before as many have come after him as are kept for newcomers.
bool HttpServer::Core::DropOne() noexcept {
    using Kind = IoThread::Kind;
    constexpr std::chrono::milliseconds kAny{0};
    if (DropLongestWaiting({Kind::SlowStranger}, kSlow)) return true;
    // Proven callers fill the node: whoever comes must be able to say that he is one of them.
    if (admission.IsFilledByProven() && DropLongestWaiting({Kind::IdleProven}, kAny)) return true;
    if (DropLongestWaiting({Kind::Newcomer, Kind::IdleStranger}, kAny)) return true;
    // A proven caller's place is no stranger's as long as strangers have their share.
    return !admission.HaveStrangersTheirShare() && DropLongestWaiting({Kind::IdleProven}, kAny);
}

bool HttpServer::Core::MakeStrangerGo() noexcept {
    using Kind = IoThread::Kind;
    return DropLongestWaiting({Kind::SlowStranger}, kSlow) ||
           DropLongestWaiting({Kind::IdleStranger}, std::chrono::milliseconds(0));
}

bool HttpServer::Core::DropLongestWaiting(std::initializer_list<IoThread::Kind> kinds,
                                          std::chrono::milliseconds atLeast) noexcept {
    const auto latest = WaitingSessions::Clock::now() - atLeast;
    while (true) {
        IoThread* first = nullptr;
        IoThread::Kind firstKind{};
        auto since = latest;
        for (const auto& thread : threads) {
            for (const IoThread::Kind kind : kinds) {
                const auto longest = thread->GetLongestWait(kind);
                if (longest > since) continue;
                first = thread.get();
                firstKind = kind;
                since = longest;
            }
        }
        if (!first) return false;
        // It may have begun something in between; then the next one is looked for.
        if (first->DropLongestWaiting(firstKind, latest)) return true;
    }
}

std::string_view HttpServer::Core::GetFarewell() const noexcept {
    const LumPalThread::PlainLock_t lock(mutex);
    return tls ? std::string_view() : kBusy;
}

void HttpServer::Core::Begin(Descriptor descriptor, Place place, std::shared_ptr<Standing> standing) noexcept try {
    tcp::socket socket{net::any_io_executor(Lane<true>(standing))};
    socket.assign(protocol, descriptor.Get());
    static_cast<void>(descriptor.Release());
    auto settings = GetTls();
    auto connection =
        settings ? MakeTlsConnection(std::move(socket), std::move(settings)) : MakePlainConnection(std::move(socket));
    std::make_shared<Session>(*this, std::move(place), std::move(standing), std::move(connection))->Start();
} catch (const std::exception& e) {
    beginLog.WarnGuarded("A connection cannot be served: %1", e.what());
}

void HttpServer::Core::NoteClosed() noexcept {
    const LumPalThread::PlainLock_t lock(mutex);
    ++closed;
    left.notify_all();
}

void HttpServer::Core::StopAccepting() {
    closing = true;
    if (!running) return;
    acceptLoop->Stop();
    error_code ignored;
    acceptor->close(ignored);
    for (const auto& thread : threads)
        thread->Call([&] {
            for (AnySession& session : thread->sessions) session.BeginClosing();
        });
}

void HttpServer::Core::Finish() {
    if (!running) return;
    if (!closing) StopAccepting();
    {
        LumPalThread::PlainLock_t lock(mutex);
        const auto end = std::chrono::steady_clock::now() + limits.closeTime;
        while (admission.GetCount() != 0) {
            if (left.wait_until(lock.ForWait(), end) == std::cv_status::timeout) break;
        }
    }
    for (const auto& thread : threads) {
        thread->Call([&] {
            for (AnySession& session : thread->sessions) session.Abort();
        });
        thread->Finish();
    }
    running = false;
}

}  // namespace LumVoxMsg
