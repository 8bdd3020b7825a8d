// The steps of a session that serve a request, or refuse it, and send the answer.
#include <ctime>

#include "LumPalKeys.h"
#include "LumPalMetrics.h"
#include "Session_beast.h"

namespace LumVoxMsg {
namespace {

std::string HttpDate() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[64];
    return std::string(text, std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &parts));
}

}  // namespace

std::string Session::TooLarge() const {
    return "The body is too large: this node takes " + std::to_string(core.limits.bodyBytes) + " bytes (" +
           LumPalKeys::BodyLimitKey + " in '" + LumPalKeys::NsVoxHttp + "').";
}

/// Sends one answer to a session's loop, 503 when it goes without one.
class Session::ReplyOnce {
public:
    explicit ReplyOnce(std::shared_ptr<Session> session) : session(std::move(session)) {}
    ~ReplyOnce() {
        if (!used.load()) Post([](Session& target) { target.GiveUp(); });
    }
    void Send(HttpResponse answer) {
        if (used.exchange(true)) return;
        Post([answer = std::move(answer)](Session& target) mutable {
            const bool keep = target.keepAlive && answer.status != 503;  // whoever has too much to do keeps nobody
            target.Respond(std::move(answer), keep);
        });
    }

private:
    template <class Step>
    void Post(Step step) {
        // The session moves along: its last holder must be its own loop. That is also why no memory is taken here.
        Session& to = *session;
        auto move = [target = std::move(session), step = std::move(step)]() mutable { step(*target); };
        static_assert(sizeof move + 64 <= PostRoom::kBytes);
        to.thread.Post(to.replyRoom, std::move(move));
    }

    std::shared_ptr<Session> session;
    std::atomic<bool> used{false};
};

void Session::Serve() {
    if (core.closing) return GiveUp();
    if (!thread.EndWaiting(*this)) return Drop();  // nothing is done whose answer cannot be sent
    phase = Phase::Serving;
    Tcp().expires_never();
    parser.reset();
    auto once = std::make_shared<ReplyOnce>(shared_from_this());
    core.handler.Serve(std::move(request), [once](HttpResponse answer) { once->Send(std::move(answer)); });
}

void Session::RefuseFor(error_code error) {
    if (error == http::error::body_limit) return Refuse(413, TooLarge());
    if (error == http::error::bad_version) return Refuse(505, kVersions);
    if (error == http::error::header_limit) return Refuse(431, "The header is too large.");
    if (error == boost::system::errc::not_enough_memory) return Refuse(503, kTooMuch);
    Refuse(400, "The message is malformed.");
}

void Session::Refuse(unsigned status, std::string_view reason) {
    HttpResponse answer;
    answer.status = status;
    answer.body = MakeBlocks(core.handler.ErrorBody(status, reason, answer.contentType));
    request = HttpRequest();
    Respond(std::move(answer), false);
}

void Session::Respond(HttpResponse answer, bool keep) {
    static LumPalMetrics::Counter_t answers("lumconf_http_responses_total", "Answers by HTTP status.");
    LumPalMetrics::Guarded([&] { answers.Add({{"code", std::to_string(answer.status)}}); });
    phase = Phase::Sending;
    BeginMoving();
    keepAlive = keep && !core.closing;
    response.emplace(static_cast<http::status>(answer.status), 11);
    response->set(http::field::server, "lumconfd");
    response->set(http::field::date, HttpDate());
    if (!answer.contentType.empty()) response->set(http::field::content_type, answer.contentType);
    if (!answer.allow.empty()) response->set(http::field::allow, answer.allow);
    if (!answer.authenticate.empty()) response->set(http::field::www_authenticate, answer.authenticate);
    response->keep_alive(keepAlive);
    // What answers HEAD has a header alone; what the handler answers is never that.
    if (isHead) answer.body = nullptr;
    response->body() = answer.body ? std::move(answer.body) : std::make_shared<Blocks>();
    response->content_length(response->body()->GetSize());
    serializer.emplace(*response);
    phaseStart = Clock::now();
    moved = 0;
    WriteSome();
}

void Session::WriteSome() {
    Tcp().expires_at(phaseStart + core.limits.WithBytes(core.limits.writeTime, moved));
    connection->WriteSome(*serializer, Then(&Session::OnWritten));
}

void Session::OnWritten(error_code error, std::size_t count) {
    if (error) return Drop();
    moved += count;
    if (!serializer->is_done()) return WriteSome();
    serializer.reset();
    response.reset();
    if (keepAlive) return AwaitRequest();
    Linger();
}

}  // namespace LumVoxMsg
