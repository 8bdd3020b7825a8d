// Every template of a network stream is instantiated here and nowhere else: this file takes the compiler half a minute.
// Its rooms, in this order: bodies, blocks and limits; the server's parts (IoThread, Core); a connection (Session) with
// its steps: handshake, header, body, serving, answering, lingering; the server itself (Core, then HttpServer).
#include "HttpServer.h"

#include <openssl/ssl.h>

#include <atomic>
#include <boost/asio/bind_allocator.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <boost/intrusive/list.hpp>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <sstream>
#include <thread>

#include "../pal/ThreadName.h"
#include "../pal/ThrottledLog.h"
#include "AcceptLoop.h"
#include "HeaderScan.h"
#include "HttpHead.h"
#include "LumPalLog.h"
#include "LumPalNet.h"
#include "PostRoom.h"
#include "TlsIdentity.h"

namespace LumVoxMsg {
namespace {

namespace intrusive = boost::intrusive;
namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using tcp = boost::asio::ip::tcp;
using boost::system::error_code;
using LumPal::Descriptor;
using LumPalLog::ThrottledLog;
using LumPalStr::String_t;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kFirstRead = 4096;  ///< an idle connection holds no more than this
constexpr std::size_t kBodyRead = 65536;
constexpr std::chrono::seconds kLingerTime{2};
constexpr std::chrono::milliseconds kRoomTime{200};  ///< longer than any loop is busy with one step
constexpr std::chrono::milliseconds kRoomPause{1};
constexpr int kRoomTries = 50;
constexpr char kContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";
constexpr char kBusy[] =
    "HTTP/1.1 503 Service Unavailable\r\nServer: lumconfd\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

/// A message body of blocks, as the HTTP library wants it.
struct BlocksBody {
    using value_type = std::shared_ptr<Blocks>;
    static std::uint64_t size(const value_type& blocks) { return blocks ? blocks->GetSize() : 0; }

    class reader {
    public:
        template <bool isRequest, class Fields>
        reader(http::header<isRequest, Fields>&, value_type& blocks) : blocks(blocks) {}
        void init(const boost::optional<std::uint64_t>&, error_code& error) { error = {}; }
        template <class Buffers>
        std::size_t put(const Buffers& buffers, error_code& error) {
            error = {};
            std::size_t count = 0;
            for (const net::const_buffer buffer : beast::buffers_range_ref(buffers)) {
                if (!blocks->Append(static_cast<const char*>(buffer.data()), buffer.size()))
                    error = boost::system::errc::make_error_code(boost::system::errc::not_enough_memory);
                if (error) return count;
                count += buffer.size();
            }
            return count;
        }
        void finish(error_code& error) { error = {}; }

    private:
        value_type& blocks;
    };

    class writer {
    public:
        using const_buffers_type = net::const_buffer;
        template <bool isRequest, class Fields>
        writer(const http::header<isRequest, Fields>&, const value_type& blocks) : blocks(blocks.get()) {}
        void init(error_code& error) { error = {}; }
        /// Frees the block that was sent and gives the next one.
        boost::optional<std::pair<const_buffers_type, bool>> get(error_code& error) {
            error = {};
            if (given) blocks->DropFirst();
            given = true;
            if (!blocks || blocks->GetCount() == 0) return boost::none;
            const std::string_view block = blocks->GetBlock(0);
            return {{net::const_buffer(block.data(), block.size()), blocks->GetCount() > 1}};
        }

    private:
        Blocks* blocks;
        bool given = false;
    };
};

using Parser = http::request_parser<BlocksBody>;
using Response = http::response<BlocksBody>;
using Serializer = http::response_serializer<BlocksBody>;

std::string HttpDate() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[64];
    return std::string(text, std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &parts));
}

HttpHead HeadOf(const http::request_header<>& header) {
    const auto view = [](beast::string_view text) { return std::string_view(text.data(), text.size()); };
    HttpHead head{view(header.method_string()), view(header.target()), header.version(), {}};
    for (const auto& field : header) head.fields.push_back({view(field.name_string()), view(field.value())});
    return head;
}

using Hook = intrusive::list_member_hook<intrusive::link_mode<intrusive::auto_unlink>>;

/// What a thread's sessions look like to the server; all calls come on that thread.
class AnySession {
public:
    virtual ~AnySession() = default;
    /// Ends at once unless a request is being served or answered.
    virtual void BeginClosing() = 0;
    virtual void Abort() = 0;

    Hook amongAll, amongWaiting;
};

template <Hook AnySession::*hook>
using Sessions =
    intrusive::list<AnySession, intrusive::member_hook<AnySession, Hook, hook>, intrusive::constant_time_size<false>>;

/// One event loop and the sessions that live in it. What stops it and what makes room takes no memory.
class IoThread {
public:
    void Start() {
        thread = std::thread([this] { Run(); });
    }
    /// Runs a function, which must not throw, on the loop and waits for its end. One at a time.
    template <class Function>
    void Call(Function function) {
        if (!thread.joinable()) return function();  // it could not be started
        {
            const std::lock_guard lock(mutex);
            called = false;
        }
        Post(callRoom, [this, &function] {
            function();
            const std::lock_guard lock(mutex);
            called = true;
            callEnded.notify_one();
        });
        std::unique_lock lock(mutex);
        callEnded.wait(lock, [this] { return called; });
    }
    /// Posts a step with memory that was kept for it.
    template <class Step>
    void Post(PostRoom& room, Step step) {
        net::post(context, net::bind_allocator(PostAllocator<void>(room), std::move(step)));
    }
    /// Closes the session that has waited longest; any thread. False when none waits.
    bool DropLongestWaiting() {
        if (waitingCount == 0) return false;
        if (!dropAsked.exchange(true)) Post(dropRoom, [this] { DropFirstOfWaiting(); });
        return true;
    }
    /// Ends when its last session has gone.
    void Finish() {
        work.reset();
        if (thread.joinable()) thread.join();
    }
    void Enter(AnySession& session) noexcept { sessions.push_back(session); }
    /// The session has no request: it may be closed when another needs its place.
    void BeginWaiting(AnySession& session) noexcept {
        EndWaiting(session);
        waiting.push_back(session);
        ++waitingCount;
    }
    void EndWaiting(AnySession& session) noexcept {
        if (!session.amongWaiting.is_linked()) return;
        session.amongWaiting.unlink();
        --waitingCount;
    }

    net::io_context context{1};
    Sessions<&AnySession::amongAll> sessions;  ///< touched by the loop alone

private:
    void Run() {
        LumPalThread::NameThisThread("LumVox:Io");
        while (true) try {
                context.run();
                return;
            } catch (const std::exception& e) {
                lostLog.WarnGuarded("A connection was given up: %1", e.what());
            } catch (...) {
                lostLog.WarnGuarded("A connection was given up: %1", "an exception of an unknown kind");
            }
    }
    void DropFirstOfWaiting() noexcept {
        dropAsked = false;
        if (waiting.empty()) return;
        AnySession& first = waiting.front();
        EndWaiting(first);
        first.Abort();
    }

    Sessions<&AnySession::amongWaiting> waiting;  ///< touched by the loop alone; who has waited longest stands first
    std::atomic<unsigned> waitingCount{0};
    std::atomic<bool> dropAsked{false};
    net::executor_work_guard<net::io_context::executor_type> work{context.get_executor()};
    ThrottledLog lostLog;
    PostRoom callRoom, dropRoom;
    std::mutex mutex;
    std::condition_variable callEnded;
    bool called = false;  ///< guarded by mutex
    std::thread thread;
};

class Place;

}  // namespace

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
    ThrottledLog handshakeLog, nameLog, beginLog;

private:
    void Listen(const tcp::endpoint& endpoint);
    tcp AnyAddress();
    bool HasRoom() const noexcept override { return connections < limits.connections; }
    bool MakeRoom() noexcept override;
    void Take(Descriptor socket) override;
    std::string_view GetFarewell() const noexcept override;
    bool DropLongestWaiting();
    IoThread& NextThread() noexcept { return *threads[nextThread++ % threads.size()]; }
    void Begin(Descriptor descriptor, Place place, IoThread& target) noexcept;

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

namespace {

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

template <class Stream>
class ReplyOnce;

/// One connection. Lives in one event loop; every operation that is under way holds it.
template <class Stream>
class Session : public AnySession, public std::enable_shared_from_this<Session<Stream>> {
public:
    template <class... StreamArguments>
    Session(HttpServer::Core& core, Place taken, IoThread& thread, std::shared_ptr<net::ssl::context> tls,
            StreamArguments&&... arguments)
        : place(std::move(taken)),
          core(core),
          thread(thread),
          tls(std::move(tls)),
          vouching(this->tls),
          stream(std::forward<StreamArguments>(arguments)...),
          buffer(std::max<std::size_t>(core.limits.headerBytes, kBodyRead) + kFirstRead) {
        thread.Enter(*this);
    }
    ~Session() override { thread.EndWaiting(*this); }

    void Start();
    void BeginClosing() override {
        if (phase != Phase::Serving && phase != Phase::Sending) Drop();
    }
    void Abort() override { Drop(); }
    void Answer(HttpResponse answer) { Respond(std::move(answer), keepAlive); }
    /// Answers a request that no handler has begun with.
    void GiveUp() { Refuse(503, core.closing ? "The node is stopping." : "The node cannot serve this now."); }

private:
    enum class Phase {
        Opening,    ///< waits for the end of the handshake
        Idle,       ///< waits for the first byte of a request
        Receiving,  ///< reads header or body
        Serving,    ///< waits for the handler's answer
        Sending,    ///< writes the answer
        Lingering   ///< waits for the peer to close, so that it can read the answer first
    };
    static constexpr bool kTls = !std::is_same_v<Stream, beast::tcp_stream>;

    auto Then(void (Session::*next)(error_code, std::size_t)) {
        return beast::bind_front_handler(next, this->shared_from_this());
    }
    beast::tcp_stream& Tcp() { return beast::get_lowest_layer(stream); }
    void Drop() { Tcp().close(); }

    void OnHandshake(error_code error, std::size_t);
    std::string WhyRefused(const error_code& error);
    void NamePeer();
    bool IsPeerStillLetIn();
    void AwaitRequest();
    void OnFirstBytes(error_code error, std::size_t count);
    void ReadHeader();
    void OnHeaderBytes(error_code error, std::size_t count);
    void ScanHeader();
    void SkipEmptyLine();
    void ParseHead(std::size_t length);
    void TakeHead(const HttpHead& head);
    std::string OwnAddress();
    void BeginBody(bool sendContinue);
    void OnContinueSent(error_code error, std::size_t);
    void ReadBody();
    void OnBodyBytes(error_code error, std::size_t count);
    void ParseBody();
    void Serve();
    void Refuse(unsigned status, std::string_view reason);
    void RefuseFor(error_code error);
    void Respond(HttpResponse answer, bool keep);
    void WriteSome();
    void OnWritten(error_code error, std::size_t count);
    void Linger();
    void Drain(error_code, std::size_t);
    void OnDrained(error_code error, std::size_t);

    const Place place;
    HttpServer::Core& core;
    IoThread& thread;
    const std::shared_ptr<net::ssl::context> tls;
    std::shared_ptr<net::ssl::context> vouching;  ///< the last that vouched for the peer
    Stream stream;
    HttpPeer peer;
    Phase phase = Phase::Opening;
    beast::flat_buffer buffer;  ///< bounded, since a chunk's extension is kept whole until its end
    HeaderScan scan;
    std::size_t scanned = 0;
    bool mayBeginEmpty = true;
    std::optional<Parser> parser;
    HttpRequest request;
    bool keepAlive = false;
    std::optional<Response> response;
    std::optional<Serializer> serializer;
    Clock::time_point phaseStart;
    std::uint64_t moved = 0;  ///< bytes of the body received, or of the answer sent
    PostRoom replyRoom;

    friend class ReplyOnce<Stream>;
};

/// Sends one answer to a session's loop, 503 when it goes without one.
template <class Stream>
class ReplyOnce {
public:
    explicit ReplyOnce(std::shared_ptr<Session<Stream>> session) : session(std::move(session)) {}
    ~ReplyOnce() {
        if (!used.load()) Post([](Session<Stream>& target) { target.GiveUp(); });
    }
    void Send(HttpResponse answer) {
        if (used.exchange(true)) return;
        Post([answer = std::move(answer)](Session<Stream>& target) mutable { target.Answer(std::move(answer)); });
    }

private:
    template <class Step>
    void Post(Step step) {
        // The session moves along: its last holder must be its own loop. That is also why no memory is taken here.
        Session<Stream>& to = *session;
        auto move = [target = std::move(session), step = std::move(step)]() mutable { step(*target); };
        static_assert(sizeof move + 64 <= PostRoom::kBytes);
        to.thread.Post(to.replyRoom, std::move(move));
    }

    std::shared_ptr<Session<Stream>> session;
    std::atomic<bool> used{false};
};

// Session: the handshake, and who the peer is

template <class Stream>
void Session<Stream>::Start() {
    error_code error;
    const tcp::endpoint remote = Tcp().socket().remote_endpoint(error);
    if (error || core.closing) return;
    peer.address = (std::ostringstream() << remote).str();
    Tcp().socket().set_option(tcp::no_delay(true), error);
    if constexpr (kTls) {
        thread.BeginWaiting(*this);
        Tcp().expires_after(core.limits.handshakeTime);
        stream.async_handshake(net::ssl::stream_base::server,
                               [self = this->shared_from_this()](error_code e) { self->OnHandshake(e, 0); });
    } else {
        AwaitRequest();
    }
}

template <class Stream>
void Session<Stream>::OnHandshake(error_code error, std::size_t) {
    if (error) {
        if (error.category() == net::error::get_ssl_category())
            core.handshakeLog.Warn("A TLS handshake was refused: %1",
                                   String_t::FromUtf8(peer.address + ": " + WhyRefused(error)));
        return;
    }
    peer.tls = true;
    NamePeer();
    AwaitRequest();
}

/// What is wrong with the peer's certificate tells more than what the library says of the handshake.
template <class Stream>
std::string Session<Stream>::WhyRefused(const error_code& error) {
    if constexpr (kTls) {
        const long verdict = SSL_get_verify_result(stream.native_handle());
        if (verdict != X509_V_OK)
            return std::string("the client's certificate is refused: ") + X509_verify_cert_error_string(verdict);
    }
    return error.message();
}

template <class Stream>
void Session<Stream>::NamePeer() {
    if constexpr (kTls) {
        std::string refusal;
        LumSecCore::Peer proved = LumSecCore::PeerOf(stream.native_handle(), vouching->native_handle(), refusal);
        peer.commonName = std::move(proved.id);
        peer.isNode = proved.isNode;
        if (!refusal.empty())
            core.nameLog.Warn("A client certificate names no sender: %1",
                              String_t::FromUtf8(peer.address + ": " + refusal));
    }
}

/// Trust that was taken back since the handshake, or a certificate that has ended, opens nothing any more. What was
/// received before goes on.
template <class Stream>
bool Session<Stream>::IsPeerStillLetIn() {
    if constexpr (kTls) {
        auto current = core.GetTls();
        std::string refusal;
        if (!LumSecCore::IsStillLetIn(stream.native_handle(), current->native_handle(), current == vouching, refusal)) {
            core.handshakeLog.Warn("A client is let in no longer: %1",
                                   String_t::FromUtf8(peer.address + ": its certificate is refused: " + refusal));
            return false;
        }
        const bool renewed = current != vouching;
        vouching = std::move(current);
        // The key that made it the node may be the node's no longer, and the node's id may be another.
        if (renewed || peer.isNode) NamePeer();
    }
    return true;
}

// Session: the header of a request

template <class Stream>
void Session<Stream>::AwaitRequest() {
    if (core.closing) return Drop();
    phase = Phase::Idle;
    thread.BeginWaiting(*this);
    parser.emplace();
    parser->header_limit(static_cast<std::uint32_t>(core.limits.headerBytes));
    parser->body_limit(core.limits.bodyBytes);
    scan = HeaderScan();
    scanned = 0;
    mayBeginEmpty = true;
    request = HttpRequest();
    if (buffer.size() > 0) return OnFirstBytes({}, 0);
    if (buffer.capacity() > kFirstRead) buffer.shrink_to_fit();
    Tcp().expires_after(core.limits.idleTime);
    stream.async_read_some(buffer.prepare(kFirstRead), Then(&Session::OnFirstBytes));
}

template <class Stream>
void Session<Stream>::OnFirstBytes(error_code error, std::size_t count) {
    phase = Phase::Receiving;
    thread.EndWaiting(*this);
    phaseStart = Clock::now();
    OnHeaderBytes(error, count);
}

template <class Stream>
void Session<Stream>::ReadHeader() {
    if (buffer.size() >= core.limits.headerBytes) return Refuse(431, "The header is too large.");
    Tcp().expires_at(phaseStart + core.limits.headerTime);
    stream.async_read_some(buffer.prepare(kFirstRead), Then(&Session::OnHeaderBytes));
}

template <class Stream>
void Session<Stream>::OnHeaderBytes(error_code error, std::size_t count) {
    if (error) return Drop();
    buffer.commit(count);
    ScanHeader();
}

/// A client may send one empty line before a request (RFC 9112, section 2.2).
template <class Stream>
void Session<Stream>::SkipEmptyLine() {
    const std::string_view bytes(static_cast<const char*>(buffer.data().data()), buffer.size());
    if (!mayBeginEmpty || scanned > 0 || !bytes.starts_with("\r\n")) return;
    buffer.consume(2);
    mayBeginEmpty = false;
}

template <class Stream>
void Session<Stream>::ScanHeader() {
    SkipEmptyLine();
    const std::string_view bytes(static_cast<const char*>(buffer.data().data()), buffer.size());
    if (bytes.empty() || (bytes == "\r" && mayBeginEmpty)) return ReadHeader();
    std::size_t used = 0;
    const HeaderScan::Result result = scan.Feed(bytes.substr(scanned), used);
    scanned += used;
    if (result == HeaderScan::Result::Bad) return Refuse(400, "The header is malformed.");
    if (result == HeaderScan::Result::NeedMore) return ReadHeader();
    if (scanned > core.limits.headerBytes) return Refuse(431, "The header is too large.");
    ParseHead(scanned);
}

template <class Stream>
void Session<Stream>::ParseHead(std::size_t length) {
    error_code error;
    parser->put(net::const_buffer(buffer.data().data(), length), error);
    buffer.consume(length);
    if (error) return RefuseFor(error);
    if (!parser->is_header_done()) return Refuse(400, "The header is malformed.");
    const HttpHead head = HeadOf(parser->get());
    const HttpRefusal refusal = CheckHead(head);
    if (refusal.status != 0) return Refuse(refusal.status, refusal.reason);
    TakeHead(head);
}

template <class Stream>
void Session<Stream>::TakeHead(const HttpHead& head) {
    std::string_view query;
    request.method = head.method;
    request.path = SplitTarget(head.target, query);
    request.query = query;
    request.contentType = head.Only("Content-Type");
    request.authorization = head.Only("Authorization");
    request.host = head.Count("Host") == 0 ? OwnAddress() : std::string(head.Only("Host"));
    keepAlive = head.version == 11 && parser->keep_alive();
    if (!IsPeerStillLetIn()) return Refuse(403, "The client's certificate is refused.");
    request.peer = peer;
    if (std::optional<HttpResponse> refusal = core.handler.Screen(request))
        return Respond(std::move(*refusal), keepAlive && parser->is_done());
    request.body = std::make_shared<Blocks>(request.sender.empty() ? core.namelessBudget : core.namedBudget);
    BeginBody(ExpectsContinue(head));
}

template <class Stream>
std::string Session<Stream>::OwnAddress() {
    error_code error;
    const tcp::endpoint local = Tcp().socket().local_endpoint(error);
    return error ? std::string() : (std::ostringstream() << local).str();
}

// Session: the body

template <class Stream>
void Session<Stream>::BeginBody(bool sendContinue) {
    if (parser->is_done()) return Serve();
    parser->get().body() = request.body;
    parser->eager(true);
    phaseStart = Clock::now();
    moved = 0;
    if (!sendContinue || buffer.size() > 0) return ParseBody();
    Tcp().expires_after(core.limits.writeTime);
    net::async_write(stream, net::const_buffer(kContinue, sizeof kContinue - 1), Then(&Session::OnContinueSent));
}

template <class Stream>
void Session<Stream>::OnContinueSent(error_code error, std::size_t) {
    if (error) return Drop();
    ReadBody();
}

template <class Stream>
void Session<Stream>::ReadBody() {
    const std::size_t room = std::min(kBodyRead, buffer.max_size() - buffer.size());
    if (room == 0) return Refuse(431, "A chunk's extension or the trailer is too large.");
    Tcp().expires_at(phaseStart + core.limits.WithBytes(core.limits.bodyTime, moved));
    stream.async_read_some(buffer.prepare(room), Then(&Session::OnBodyBytes));
}

template <class Stream>
void Session<Stream>::OnBodyBytes(error_code error, std::size_t count) {
    if (error) return Drop();
    buffer.commit(count);
    moved += count;
    // Tiny chunks with long extensions: the body stays small while the wire carries without end.
    if (moved > 4 * core.limits.bodyBytes + (1u << 20)) return Refuse(413, "The body is too large.");
    ParseBody();
}

template <class Stream>
void Session<Stream>::ParseBody() {
    error_code error;
    while (buffer.size() > 0 && !parser->is_done() && !error) buffer.consume(parser->put(buffer.data(), error));
    if (error && error != http::error::need_more) return RefuseFor(error);
    if (parser->is_done()) return Serve();
    ReadBody();
}

// Session: serving, refusing, answering

template <class Stream>
void Session<Stream>::Serve() {
    if (core.closing) return GiveUp();
    phase = Phase::Serving;
    Tcp().expires_never();
    parser.reset();
    auto once = std::make_shared<ReplyOnce<Stream>>(this->shared_from_this());
    core.handler.Serve(std::move(request), [once](HttpResponse answer) { once->Send(std::move(answer)); });
}

template <class Stream>
void Session<Stream>::RefuseFor(error_code error) {
    if (error == http::error::body_limit) return Refuse(413, "The body is too large.");
    if (error == http::error::header_limit) return Refuse(431, "The header is too large.");
    if (error == boost::system::errc::not_enough_memory) return Refuse(503, "Too many large requests at once.");
    Refuse(400, "The message is malformed.");
}

template <class Stream>
void Session<Stream>::Refuse(unsigned status, std::string_view reason) {
    HttpResponse answer;
    answer.status = status;
    answer.body = MakeBlocks(core.handler.ErrorBody(status, reason, answer.contentType));
    request = HttpRequest();
    Respond(std::move(answer), false);
}

template <class Stream>
void Session<Stream>::Respond(HttpResponse answer, bool keep) {
    phase = Phase::Sending;
    keepAlive = keep && !core.closing;
    response.emplace(static_cast<http::status>(answer.status), 11);
    response->set(http::field::server, "lumconfd");
    response->set(http::field::date, HttpDate());
    if (!answer.contentType.empty()) response->set(http::field::content_type, answer.contentType);
    if (!answer.allow.empty()) response->set(http::field::allow, answer.allow);
    response->keep_alive(keepAlive);
    response->body() = answer.body ? std::move(answer.body) : std::make_shared<Blocks>();
    response->content_length(response->body()->GetSize());
    serializer.emplace(*response);
    phaseStart = Clock::now();
    moved = 0;
    WriteSome();
}

template <class Stream>
void Session<Stream>::WriteSome() {
    Tcp().expires_at(phaseStart + core.limits.WithBytes(core.limits.writeTime, moved));
    http::async_write_some(stream, *serializer, Then(&Session::OnWritten));
}

template <class Stream>
void Session<Stream>::OnWritten(error_code error, std::size_t count) {
    if (error) return Drop();
    moved += count;
    if (!serializer->is_done()) return WriteSome();
    serializer.reset();
    response.reset();
    if (keepAlive) return AwaitRequest();
    Linger();
}

// Session: the end, which waits a little so that the last answer arrives

template <class Stream>
void Session<Stream>::Linger() {
    phase = Phase::Lingering;
    parser.reset();
    Tcp().expires_after(kLingerTime);
    if constexpr (kTls)
        stream.async_shutdown([self = this->shared_from_this()](error_code e) { self->Drain(e, 0); });
    else
        Drain({}, 0);
}

template <class Stream>
void Session<Stream>::Drain(error_code, std::size_t) {
    error_code ignored;
    Tcp().socket().shutdown(tcp::socket::shutdown_send, ignored);
    if (ignored) return Drop();
    Tcp().expires_after(kLingerTime);
    phaseStart = Clock::now();
    OnDrained({}, 0);
}

template <class Stream>
void Session<Stream>::OnDrained(error_code error, std::size_t) {
    if (error || Clock::now() >= phaseStart + kLingerTime) return Drop();
    // What has come and was not read would turn the end into a reset, which takes the answer along.
    if (core.closing && Tcp().socket().available(error) == 0) return Drop();
    buffer.clear();
    Tcp().async_read_some(buffer.prepare(kFirstRead), Then(&Session::OnDrained));
}

using PlainSession = Session<beast::tcp_stream>;
using TlsSession = Session<beast::ssl_stream<beast::tcp_stream>>;

LumPalNet::ConnectException_t CannotListen(const tcp::endpoint& endpoint, const error_code& error) {
    return LumPalNet::ConnectException_t(LumPalMsg::CreateError_t("Cannot listen on address '%1', port %2: %3.")
                                         << String_t::FromUtf8(endpoint.address().to_string())
                                         << static_cast<unsigned>(endpoint.port())
                                         << String_t::FromUtf8(error.message()));
}

}  // namespace

HttpServer::Core::Core(const HttpLimits& limits, HttpHandler& handler)
    : limits(limits),
      handler(handler),
      // Callers that proved nothing have a share of their own, so that they cannot keep others out.
      namedBudget(std::make_shared<MemoryBudget>(limits.allBodiesBytes / 4 * 3)),
      namelessBudget(std::make_shared<MemoryBudget>(limits.allBodiesBytes / 4)) {
    for (unsigned i = 0; i < limits.ioThreads; ++i) threads.push_back(std::make_unique<IoThread>());
}

// The server: listening, taking connections, ending

void HttpServer::Core::SetIdentity(const LumSecCore::NodeIdentity& identity) {
    auto next = std::make_shared<net::ssl::context>(net::ssl::context::tls_server);
    LumSecCore::ConfigureServer(next->native_handle(), identity);
    const std::lock_guard lock(mutex);
    if (tls) {
        LumSecCore::LetFormerKeysPass(next->native_handle(), tls->native_handle(),
                                      std::chrono::steady_clock::now() + LumSecCore::kFormerKeyPasses);
    }
    tls = std::move(next);
}

std::shared_ptr<net::ssl::context> HttpServer::Core::GetTls() {
    const std::lock_guard lock(mutex);
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

void HttpServer::Core::Take(Descriptor socket) {
    IoThread& target = NextThread();
    net::post(target.context, [this, &target, accepted = std::move(socket), place = Place(*this)]() mutable {
        Begin(std::move(accepted), std::move(place), target);
    });
}

/// An idle connection can be made again at any time; one that finds no room cannot be made at all.
bool HttpServer::Core::MakeRoom() noexcept {
    std::unique_lock lock(mutex);
    const auto hasLeft = [this, before = leaves] { return leaves != before || closing; };
    // One that was only just taken, or answered, waits in a moment.
    for (int tries = 0; tries < kRoomTries; ++tries) {
        if (DropLongestWaiting()) return left.wait_for(lock, kRoomTime, hasLeft) && !closing;
        if (left.wait_for(lock, kRoomPause, hasLeft)) return !closing;
    }
    return false;
}

bool HttpServer::Core::DropLongestWaiting() {
    for (std::size_t i = 0; i < threads.size(); ++i)
        if (NextThread().DropLongestWaiting()) return true;
    return false;
}

std::string_view HttpServer::Core::GetFarewell() const noexcept {
    const std::lock_guard lock(mutex);
    return tls ? std::string_view() : kBusy;
}

void HttpServer::Core::Begin(Descriptor descriptor, Place place, IoThread& target) noexcept try {
    tcp::socket socket(target.context);
    socket.assign(protocol, descriptor.Get());
    static_cast<void>(descriptor.Release());
    if (auto context = GetTls()) {
        net::ssl::context& settings = *context;
        std::make_shared<TlsSession>(*this, std::move(place), target, std::move(context),
                                     beast::tcp_stream(std::move(socket)), settings)
            ->Start();
    } else {
        std::make_shared<PlainSession>(*this, std::move(place), target, nullptr, std::move(socket))->Start();
    }
} catch (const std::exception& e) {
    beginLog.WarnGuarded("A connection cannot be served: %1", e.what());
}

void HttpServer::Core::Leave() noexcept {
    const std::lock_guard lock(mutex);
    --connections;
    ++leaves;
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
        std::unique_lock lock(mutex);
        left.wait_for(lock, limits.closeTime, [this] { return connections == 0; });
    }
    for (const auto& thread : threads) {
        thread->Call([&] {
            for (AnySession& session : thread->sessions) session.Abort();
        });
        thread->Finish();
    }
    running = false;
}

HttpServer::HttpServer(const HttpLimits& limits, HttpHandler& handler)
    : core(std::make_unique<Core>(limits, handler)) {}
HttpServer::~HttpServer() = default;
// The class that others see

void HttpServer::SetIdentity(const LumSecCore::NodeIdentity& identity) {
    core->SetIdentity(identity);
}
void HttpServer::Start() {
    core->Start();
}
void HttpServer::Bind(const std::string& address, unsigned port) {
    core->Bind(address, port);
}
unsigned HttpServer::GetPort() const noexcept {
    return core->port;
}
void HttpServer::StopAccepting() {
    core->StopAccepting();
}
void HttpServer::Finish() {
    core->Finish();
}
unsigned HttpServer::GetConnectionCount() const noexcept {
    return core->connections;
}

}  // namespace LumVoxMsg
