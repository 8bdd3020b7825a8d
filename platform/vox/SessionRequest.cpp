// The steps of a session that receive a request: its header, then its body.
#include <algorithm>
#include <sstream>

#include "Session_beast.h"

namespace LumVoxMsg {
namespace {

/// A header of a few kilobytes costs no more than a connection does; what follows is taken from the budget of bodies.
constexpr std::size_t kFreeHeader = 16384;
/// Its bytes as they came and as fields, the parts that the request keeps, and the buffer that doubles.
constexpr std::size_t kTimesHeader = 4;
constexpr std::size_t kFieldBytes = 128;  ///< what the HTTP library makes of the shortest field

constexpr char kContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";

HttpHead HeadOf(const http::request_header<>& header) {
    const auto view = [](beast::string_view text) { return std::string_view(text.data(), text.size()); };
    HttpHead head{view(header.method_string()), view(header.target()), header.version(), {}};
    for (const auto& field : header) head.fields.push_back({view(field.name_string()), view(field.value())});
    return head;
}

}  // namespace

void Session::AwaitRequest() {
    if (core.closing) return Drop();
    phase = Phase::Idle;
    BeginWaiting();
    parser.emplace();
    parser->header_limit(static_cast<std::uint32_t>(core.limits.headerBytes));
    parser->body_limit(core.limits.bodyBytes);
    scan = HeaderScan();
    scanned = 0;
    mayBeginEmpty = true;
    isHead = false;
    request = HttpRequest();
    if (buffer.capacity() > kFirstRead) buffer.shrink_to_fit();
    headerShare.Clear();
    if (buffer.size() > 0) return OnFirstBytes({}, 0);
    Tcp().expires_after(core.limits.idleTime);
    connection->ReadSome(buffer.prepare(kFirstRead), Then(&Session::OnFirstBytes));
}

void Session::OnFirstBytes(error_code error, std::size_t count) {
    if (!BeginMoving()) return Drop();
    phase = Phase::Receiving;
    phaseStart = Clock::now();
    OnHeaderBytes(error, count);
}

void Session::ReadHeader() {
    if (buffer.size() >= core.limits.headerBytes) return Refuse(431, "The header is too large.");
    if (!ChargeHeader(buffer.size() + kFirstRead)) return Refuse(503, kTooMuch);
    Tcp().expires_at(phaseStart + core.limits.headerTime);
    connection->ReadSome(buffer.prepare(kFirstRead), Then(&Session::OnHeaderBytes));
}

void Session::OnHeaderBytes(error_code error, std::size_t count) {
    if (error) return Drop();
    buffer.commit(count);
    ScanHeader();
}

/// A client may send one empty line before a request (RFC 9112, section 2.2).
void Session::SkipEmptyLine() {
    const std::string_view bytes(static_cast<const char*>(buffer.data().data()), buffer.size());
    if (!mayBeginEmpty || scanned > 0 || !bytes.starts_with("\r\n")) return;
    buffer.consume(2);
    mayBeginEmpty = false;
}

void Session::ScanHeader() {
    SkipEmptyLine();
    const std::string_view bytes(static_cast<const char*>(buffer.data().data()), buffer.size());
    if (bytes.empty() || (bytes == "\r" && mayBeginEmpty)) return ReadHeader();
    // Whatever is wrong with the rest: whoever asks this way reads no body.
    isHead = bytes.starts_with("HEAD ");
    std::size_t used = 0;
    const HeaderScan::Result result = scan.Feed(bytes.substr(scanned), used);
    scanned += used;
    if (result == HeaderScan::Result::Bad) return Refuse(400, "The header is malformed.");
    if (result == HeaderScan::Result::NeedMore) return ReadHeader();
    if (scanned > core.limits.headerBytes) return Refuse(431, "The header is too large.");
    if (!ChargeHeader(scanned)) return Refuse(503, kTooMuch);
    ParseHead(scanned);
}

bool Session::ChargeHeader(std::size_t bytes) {
    const std::size_t cost = kTimesHeader * bytes + kFieldBytes * scan.GetFieldCount();
    if (cost <= kFreeHeader) return true;
    return headerShare.Raise(standing->proven ? core.namedBudget : core.namelessBudget, cost - kFreeHeader);
}

void Session::ParseHead(std::size_t length) {
    error_code error;
    parser->put(net::const_buffer(buffer.data().data(), length), error);
    buffer.consume(length);
    if (buffer.capacity() > kFirstRead) buffer.shrink_to_fit();
    if (error) return RefuseFor(error);
    if (!parser->is_header_done()) return Refuse(400, "The header is malformed.");
    const HttpHead head = HeadOf(parser->get());
    const HttpRefusal refusal = CheckHead(head);
    if (refusal.status != 0) return Refuse(refusal.status, refusal.reason);
    TakeHead(head);
}

void Session::TakeHead(const HttpHead& head) {
    std::string_view query;
    request.method = head.method;
    request.path = SplitTarget(head.target, query);
    request.query = query;
    request.contentType = head.Only("Content-Type");
    request.authorization = head.Only("Authorization");
    request.host = HostOf(head);
    request.hasBody = !parser->is_done();
    request.peer = peer;
    keepAlive = head.version == 11 && parser->keep_alive();
    if (!IsPeerStillLetIn()) {
        core.handler.Distrusted(request);
        return Refuse(403, "The client's certificate is refused.");
    }
    request.peer = peer;  // who he is may have changed
    std::optional<HttpResponse> refusal = core.handler.Screen(request);
    if (!request.sender.empty()) Prove();
    // Who is refused, or is to prove who he is first, stays a newcomer.
    if (refusal) return Respond(std::move(*refusal), keepAlive && parser->is_done());
    if (!Speak()) return Refuse(503, "Too many callers who have not said who they are are at work.");
    if (!BeginMoving()) return Drop();
    request.body = std::make_shared<Blocks>(request.sender.empty() ? core.namelessBudget : core.namedBudget);
    BeginBody(ExpectsContinue(head));
}

/// The target goes before the field, which a proxy need not have looked at (RFC 9112, section 3.2.2).
std::string Session::HostOf(const HttpHead& head) {
    const std::string_view named = TargetHost(head.target).value_or(head.Only("Host"));
    return named.empty() ? OwnAddress() : std::string(named);
}

std::string Session::OwnAddress() {
    error_code error;
    const tcp::endpoint local = Tcp().socket().local_endpoint(error);
    return error ? std::string() : (std::ostringstream() << local).str();
}

void Session::BeginBody(bool sendContinue) {
    if (parser->is_done()) return Serve();
    parser->get().body() = request.body;
    parser->eager(true);
    phaseStart = Clock::now();
    moved = 0;
    if (!sendContinue || buffer.size() > 0) return ParseBody();
    Tcp().expires_after(core.limits.writeTime);
    connection->Write(net::const_buffer(kContinue, sizeof kContinue - 1), Then(&Session::OnContinueSent));
}

void Session::OnContinueSent(error_code error, std::size_t) {
    if (error) return Drop();
    ReadBody();
}

void Session::ReadBody() {
    // Room comes with what has come: whoever sends little, slowly, is worth no large buffer.
    const std::size_t wanted = std::clamp<std::size_t>(moved, kFirstRead, kBodyRead);
    const std::size_t room = std::min(wanted, buffer.max_size() - buffer.size());
    if (room == 0) return Refuse(431, "A chunk's extension or the trailer is too large.");
    Tcp().expires_at(phaseStart + core.limits.WithBytes(core.limits.bodyTime, moved));
    connection->ReadSome(buffer.prepare(room), Then(&Session::OnBodyBytes));
}

void Session::OnBodyBytes(error_code error, std::size_t count) {
    if (error) return Drop();
    buffer.commit(count);
    moved += count;
    // Tiny chunks with long extensions: the body stays small while the wire carries without end.
    if (moved > 4 * core.limits.bodyBytes + (1u << 20)) return Refuse(413, TooLarge());
    ParseBody();
}

void Session::ParseBody() {
    error_code error;
    while (buffer.size() > 0 && !parser->is_done() && !error) buffer.consume(parser->put(buffer.data(), error));
    if (error && error != http::error::need_more) return RefuseFor(error);
    if (parser->is_done()) return Serve();
    ReadBody();
}

}  // namespace LumVoxMsg
