#include "MessengerServer.h"

#include <algorithm>

#include "HttpHead.h"
#include "LumPalColumns.h"
#include "LumPalLog.h"
#include "LumSecAuth.h"
#include "MsgHandlerAccess.h"
#include "SoapFault.h"

namespace LumVoxMsg {

using Access = MsgHandler::Access;
using LumPalStr::String_t;
using LumSecCore::NodeIdentity;

namespace {

std::string_view WithoutSlashes(std::string_view text) {
    return LumPalStr::Trimmed(text, "/");
}

/// SOAP 1.1 demands text/xml. Insisting on it also keeps web pages of others from posting in a user's name:
/// a browser asks first before it sends this type.
bool IsXml(std::string_view contentType) {
    const std::string_view type = contentType.substr(0, contentType.find(';'));
    return SameWord(LumPalStr::TrimmedEnd(type, " \t"), "text/xml");
}

void LogFailure(const std::string& path, const char* reason) noexcept {
    LumPalLog::LogGuarded([&] {
        return LumPalMsg::CreateError_t("A request to '%1' failed: %2")
               << String_t::FromUtf8(path) << String_t::FromUtf8(reason);
    });
}

/// A fault, or when there is no memory for it the bare status.
Access::Response Failure() noexcept {
    Access::Response response;
    response.status = 500;
    try {
        SetFault(response, "Server", "The request failed; the node's log says why.");
    } catch (...) {
        response.contentType.clear();
        response.body = nullptr;
    }
    return response;
}

bool AsksForDescription(const HttpRequest& head) {
    return head.method == "GET" && SameWord(head.query, "wsdl");
}

bool ReadsPage(const HttpRequest& head) {
    return head.method == "GET" || head.method == "HEAD";
}

PageReader ReaderOf(const HttpRequest& request) {
    return {request.sender, request.peer.isNode ? LumSecAuth::LocalAdministrator() : request.sender,
            request.peer.onLoopback};
}

/// The address that the request was sent to, for the next ones.
String_t AddressOf(const HttpRequest& request) {
    return String_t::FromUtf8((request.peer.tls ? "https://" : "http://") + request.host + request.path);
}

/// Nothing that a handler does may end the thread that serves it.
template <class Work>
Access::Response Handled(const std::string& path, Work work) {
    Access::Response response;
    try {
        work(response);
        return response;
    } catch (const std::exception& e) {
        LogFailure(path, e.what());
    } catch (...) {
        LogFailure(path, "an exception of an unknown kind");
    }
    return Failure();
}

}  // namespace

void SetFault(Access::Response& response, const char* code, const String_t& text) {
    response.status = 500;
    response.contentType = kSoapContentType;
    response.body = std::make_shared<Blocks>();
    LumPalIo::OutputStream_t stream = WriteBlocks(response.body);
    LumVoxSoap::WriteFault(stream, code, text);
}

std::string JoinPaths(const String_t& base, const String_t& path) {
    std::string joined;
    const std::string parts[] = {base.ToUtf8(), path.ToUtf8()};
    for (const std::string& part : parts) {
        const std::string_view bare = WithoutSlashes(part);
        if (!bare.empty()) joined.append("/").append(bare);
    }
    return joined.empty() ? "/" : joined;
}

// Whoever waits for a worker keeps his connection: so many wait for each of those that strangers have.
constexpr std::size_t kWaitingStrangers = 8;

MessengerServer::Route::Route(MsgHandler* handler, unsigned threads)
    : handler(handler),
      held(dynamic_cast<const LumPalRef::RefCounted_t*>(handler)),
      named(threads),
      strangers(std::max(1u, threads / 4), WorkerPool::Share::Small, kWaitingStrangers * std::max(1u, threads / 4)) {}

// Pages cost no more than a look: few threads read them, so that no crowd of readers takes the processor.
MessengerServer::Route::Route(Page page)
    : handler(nullptr), page(std::move(page)), named(1), strangers(1, WorkerPool::Share::Small, kWaitingStrangers) {}

void MessengerServer::Route::Refuse() {
    named.Refuse();
    strangers.Refuse();
}

void MessengerServer::Route::Stop() {
    named.Stop();
    strangers.Stop();
}

MessengerServer::MessengerServer(const HttpLimits& limits, const String_t& basePath)
    : limits(limits), basePath(basePath), callers(limits.secretHeader), http(limits, *this) {}

void MessengerServer::AddRoute(MsgHandler* handler) {
    Add(JoinPaths(basePath, Access::BasePath(*handler)), std::make_shared<Route>(handler, limits.workerThreads));
}

void MessengerServer::AddPage(Page page) {
    const std::string path = page.path;
    Add(path, std::make_shared<Route>(std::move(page)));
}

void MessengerServer::Add(const std::string& path, std::shared_ptr<Route> route) {
    const LumPalThread::PlainLock_t lock(mutex);
    if (!routes.try_emplace(path, std::move(route)).second)
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("The path '%1' has a handler already.")
                                                << String_t::FromUtf8(path));
}

void MessengerServer::Open() {
    const NodeIdentity identity = NodeIdentity::Load();
    coreId = identity.coreId.ToUtf8();
    if (identity.certificateInstalled)
        OpenTls(identity);
    else
        OpenPlain();
    http.Start();
}

void MessengerServer::OpenTls(const NodeIdentity& identity) {
    http.SetIdentity(identity);
    http.Bind(limits.bindAddress.ToUtf8(), limits.port);
    LocalSecret::RemoveLeftAside();
}

/// The secret comes after the port: a server that cannot have the port must not spoil that of the one that has it.
void MessengerServer::OpenPlain() {
    if (limits.bindAddress.IsNotEmpty() && !HttpLimits::IsLoopback(limits.bindAddress))
        LumPalLog::Log(LumPalMsg::CreateWarn_t(
                           "No certificate is installed: the server listens on '%1' alone, not on BIND_ADDRESS '%2'.")
                       << kLoopbackAddress << limits.bindAddress);
    http.Bind(kLoopbackAddress, limits.port);
    callers.Open(http.GetPort());
    const LumPalThread::PlainLock_t lock(mutex);
    plain = openedPlain = true;
}

void MessengerServer::ReloadIdentity() {
    const NodeIdentity identity = NodeIdentity::Load();
    const LumPalThread::PlainLock_t lock(mutex);
    if (!identity.certificateInstalled) {
        awaitsRestart = !openedPlain;
        if (!plain)
            LumPalLog::Log(LumPalMsg::CreateWarn_t(String_t(
                "No certificate is installed any more; the server keeps its identity until it is restarted.")));
        return;
    }
    http.SetIdentity(identity);
    awaitsRestart = openedPlain;
    if (!plain) return;
    plain = false;
    callers.Close();
    LumPalLog::Log(LumPalMsg::CreateWarn_t(
        String_t("A certificate was installed; the server listens on loopback alone until it is restarted.")));
}

bool MessengerServer::AwaitsRestart() {
    const LumPalThread::PlainLock_t lock(mutex);
    return awaitsRestart;
}

bool MessengerServer::IsOnLoopbackAlone() {
    const LumPalThread::PlainLock_t lock(mutex);
    return openedPlain;
}

void MessengerServer::StopReceiving() {
    {
        const LumPalThread::PlainLock_t lock(mutex);
        if (refusing) return;
        refusing = true;
    }
    http.StopAccepting();
    const LumPalThread::PlainLock_t lock(mutex);
    for (const auto& [path, route] : routes) route->Refuse();
}

void MessengerServer::Close() {
    {
        const LumPalThread::PlainLock_t lock(mutex);
        if (closed) return;
        closed = true;
    }
    StopReceiving();
    std::map<std::string, std::shared_ptr<Route>> ending;
    {
        const LumPalThread::PlainLock_t lock(mutex);
        ending.swap(routes);
    }
    for (const auto& [path, route] : ending) route->Stop();
    http.Finish();
    callers.Close();
}

std::shared_ptr<MessengerServer::Route> MessengerServer::FindRoute(const std::string& path) {
    const LumPalThread::PlainLock_t lock(mutex);
    const auto found = routes.find(path);
    return found == routes.end() ? nullptr : found->second;
}

HttpResponse MessengerServer::Challenge(LocalCallers::Found::Answer kind) {
    HttpResponse answer = Error(401, "The caller must prove the node's local secret.");
    answer.authenticate = callers.Challenge(kind);
    return answer;
}

/// What is wrong with a request, whoever sends it.
std::optional<HttpResponse> MessengerServer::Misdirected(const HttpRequest& head) {
    if (!head.peer.tls && !IsLocalHost(head.host, coreId))
        return Error(421, "The host of the request is neither this node nor the loopback.");
    const std::shared_ptr<Route> route = FindRoute(head.path);
    if (!route) return Error(404, "Nothing is served at this path.");
    if (std::optional<HttpResponse> refusal = WrongMethod(*route, head)) return refusal;
    if (route->page || AsksForDescription(head)) return std::nullopt;
    if (!IsXml(head.contentType)) return Error(415, "A call's Content-Type is text/xml.");
    return std::nullopt;
}

std::optional<HttpResponse> MessengerServer::WrongMethod(const Route& route, const HttpRequest& head) {
    if (route.page ? ReadsPage(head) : head.method == "POST" || AsksForDescription(head)) return std::nullopt;
    HttpResponse refusal =
        route.page ? Error(405, "This page is read with GET.") : Error(405, "Calls are made with POST.");
    refusal.allow = route.page ? "GET, HEAD" : "POST";
    return refusal;
}

std::optional<HttpResponse> MessengerServer::Screen(HttpRequest& head) {
    const LocalCallers::Found found =
        head.peer.tls ? LocalCallers::Found{head.peer.commonName} : callers.Identify(head);
    head.sender = found.sender;
    if (std::optional<HttpResponse> refusal = Misdirected(head)) return refusal;
    const std::shared_ptr<Route> route = FindRoute(head.path);
    if (route && route->page) {
        if (head.peer.tls || !head.sender.empty() || route->page->isOpenTo(ReaderOf(head))) return std::nullopt;
        return Challenge(found.answer);
    }
    if (found.answer == LocalCallers::Found::Answer::Serve || AsksForDescription(head)) return std::nullopt;
    return Challenge(found.answer);
}

void MessengerServer::TellOfRefusals(RefusalListener listener) {
    const LumPalThread::PlainLock_t lock(mutex);
    refusals = std::move(listener);
}

void MessengerServer::Distrusted(const HttpRequest& head) {
    RefusalListener listener;
    {
        const LumPalThread::PlainLock_t lock(mutex);
        listener = refusals;
    }
    // What is not served is whatever the caller likes, as long as he likes.
    const char* const path = FindRoute(head.path) ? head.path.c_str() : "a path that is not served";
    if (listener) listener(String_t::FromUtf8(head.peer.commonName), String_t::FromUtf8(path));
}

void MessengerServer::Serve(HttpRequest request, HttpReply reply) {
    const std::shared_ptr<Route> route = FindRoute(request.path);
    if (!route) return;
    if (!route->PoolFor(request.sender).HasRoom()) {
        return reply(Error(503, "Too many callers who have not said who they are wait already."));
    }
    if (route->page) return Show(route, request, reply);
    if (AsksForDescription(request)) return Describe(*route, request, reply);
    auto message = std::make_shared<Access::Request>(
        Access::Request{request.sender, std::move(request.body), request.peer.isNode});
    MsgHandler* const handler = route->handler;
    route->PoolFor(request.sender).Submit([handler, message, reply, path = std::move(request.path)] {
        Access::Response response =
            Handled(path, [&](Access::Response& unfinished) { Access::Handle(*handler, *message, unfinished); });
        message->body.reset();
        reply(HttpResponse{response.status, std::move(response.contentType), {}, std::move(response.body)});
    });
}

void MessengerServer::Describe(Route& route, const HttpRequest& request, const HttpReply& reply) {
    const MsgHandler* const handler = route.handler;
    route.PoolFor(request.sender).Submit([this, handler, reply, path = request.path, address = AddressOf(request)] {
        bool described = true;
        Access::Response response = Handled(
            path, [&](Access::Response& unfinished) { described = Access::Describe(*handler, address, unfinished); });
        reply(described ? HttpResponse{response.status, std::move(response.contentType), {}, std::move(response.body)}
                        : Error(404, "What is served here has no description."));
    });
}

void MessengerServer::Show(const std::shared_ptr<Route>& route, const HttpRequest& request, const HttpReply& reply) {
    route->PoolFor(request.sender).Submit([this, &page = *route->page, reader = ReaderOf(request), reply] {
        if (page.isReady && !page.isReady()) return reply(Error(503, "The node is not ready."));
        bool allowed = true;
        Access::Response response = Handled(page.path, [&](Access::Response& unfinished) {
            allowed = page.isOpenTo(reader) || page.mayRead(reader);
            if (!allowed) return;
            unfinished.contentType = page.contentType;
            unfinished.body = MakeBlocks(page.read());
        });
        reply(allowed ? HttpResponse{response.status, std::move(response.contentType), {}, std::move(response.body)}
                      : Error(403, "The caller has no right to this page."));
    });
}

HttpResponse MessengerServer::Error(unsigned status, const char* reason) {
    HttpResponse response;
    response.status = status;
    response.body = MakeBlocks(ErrorBody(status, reason, response.contentType));
    return response;
}

std::string MessengerServer::ErrorBody(unsigned status, std::string_view reason, std::string& contentType) {
    contentType = kSoapContentType;
    auto blocks = std::make_shared<Blocks>();
    LumPalIo::OutputStream_t stream = WriteBlocks(blocks);
    LumVoxSoap::WriteFault(stream, status < 500 ? "Client" : "Server", String_t::FromUtf8(reason));
    return JoinBlocks(*blocks);
}

}  // namespace LumVoxMsg
