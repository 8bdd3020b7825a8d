/// @file
/// A bare HTTP server that sends each body back.
#pragma once

#include <atomic>
#include <functional>

#include "HttpServer.h"

/// Serves "/echo" on loopback until the end of a test; everything else is refused with 404 before its body is read.
class EchoServer : public LumVoxMsg::HttpHandler {
public:
    explicit EchoServer(const LumVoxMsg::HttpLimits& limits = LumVoxMsg::HttpLimits(),
                        const LumSecCore::NodeIdentity* identity = nullptr)
        : server(limits, *this) {
        if (identity) server.SetIdentity(*identity);
        server.Bind("127.0.0.1", 0);
        server.Start();
    }
    ~EchoServer() override { Close(); }
    void Close() {
        server.StopAccepting();
        server.Finish();
    }
    unsigned GetPort() const { return server.GetPort(); }

    std::optional<LumVoxMsg::HttpResponse> Screen(LumVoxMsg::HttpRequest& head) override {
        head.sender = head.peer.commonName.empty() ? head.authorization : head.peer.commonName;
        if (head.path == "/echo") return std::nullopt;
        LumVoxMsg::HttpResponse refusal;
        refusal.status = 404;
        refusal.body = LumVoxMsg::MakeBlocks(ErrorBody(404, "nothing here", refusal.contentType));
        return refusal;
    }
    void Serve(LumVoxMsg::HttpRequest request, LumVoxMsg::HttpReply reply) override {
        ++served;
        if (onServe) return onServe(request, reply);
        reply(LumVoxMsg::HttpResponse{200, "text/plain", {}, request.body});
    }
    std::string ErrorBody(unsigned, std::string_view reason, std::string& contentType) override {
        contentType = "text/plain";
        return std::string(reason);
    }

    std::atomic<int> served{0};
    /// Replaces the echo when set before a request comes.
    std::function<void(LumVoxMsg::HttpRequest&, LumVoxMsg::HttpReply)> onServe;
    LumVoxMsg::HttpServer server;
};
