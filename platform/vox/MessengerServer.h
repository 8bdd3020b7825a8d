/// @file
/// The receiving side of a messenger: one port, the handlers below it, and who is calling.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "HttpServer.h"
#include "LocalCallers.h"
#include "LumPalPlainMutex.h"
#include "LumVoxMsg.h"
#include "WorkerPool.h"

namespace LumVoxMsg {

/// Joins two paths with exactly one "/", beginning with one and not ending in one.
std::string JoinPaths(const LumPalStr::String_t& base, const LumPalStr::String_t& path);

/// Each handler is served by threads of its own, so that none can occupy another's. Any thread.
class MessengerServer : private HttpHandler {
public:
    MessengerServer(const HttpLimits& limits, const LumPalStr::String_t& basePath);
    ~MessengerServer() override { Close(); }
    /// @param handler  not owned, unless it counts references (then one is held until Close)
    /// @throws LumPalMsg::IllegalArgumentError_t when another handler has the path
    void AddRoute(MsgHandler* handler);
    /// @throws LumPalMsg::IllegalArgumentError_t when something has the path
    void AddPage(Page page);
    /// Opens the port: with an installed certificate for TLS, else plain on loopback alone, with a new secret.
    /// @throws LumPalNet::ConnectException_t, LumSecCore::KeyStoreException, LumPalIo::IOException_t
    void Open();
    unsigned GetPort() const noexcept { return http.GetPort(); }
    /// As Messenger::GetCertificates.
    std::vector<LumSecCore::X509Certificate> GetCertificates() const { return http.GetCertificates(); }
    /// As Messenger::ReloadIdentity.
    void ReloadIdentity();
    /// As Messenger::AwaitsRestart.
    bool AwaitsRestart();
    /// As Messenger::IsOnLoopbackAlone.
    bool IsOnLoopbackAlone();
    /// As Messenger::TellOfRefusals.
    void TellOfRefusals(RefusalListener listener);
    /// As Messenger::StopReceiving.
    void StopReceiving();
    /// As Messenger::Close. Not from a handler.
    void Close();

private:
    struct Route {
        Route(MsgHandler* handler, unsigned threads);
        explicit Route(Page page);
        MsgHandler* const handler;  ///< null for a page
        const std::optional<Page> page;
        const LumPalPtr::RefPtr_t<const LumPalRef::RefCounted_t> held;
        /// Whose calls come from this sender: strangers have threads of their own, so that they occupy no others.
        WorkerPool& PoolFor(const std::string& sender) { return sender.empty() ? strangers : named; }
        void Refuse();
        void Stop();

    private:
        WorkerPool named, strangers;
    };

    std::optional<HttpResponse> Screen(HttpRequest& head) override;
    void Serve(HttpRequest request, HttpReply reply) override;
    void Distrusted(const HttpRequest& head) override;
    std::string ErrorBody(unsigned status, std::string_view reason, std::string& contentType) override;

    void Add(const std::string& path, std::shared_ptr<Route> route);
    void Describe(Route& route, const HttpRequest& request, const HttpReply& reply);
    void Show(const std::shared_ptr<Route>& route, const HttpRequest& request, const HttpReply& reply);
    std::optional<HttpResponse> WrongMethod(const Route& route, const HttpRequest& head);
    HttpResponse Error(unsigned status, const char* reason);
    std::shared_ptr<Route> FindRoute(const std::string& path);
    std::optional<HttpResponse> Misdirected(const HttpRequest& head);
    HttpResponse Challenge(LocalCallers::Found::Answer kind);
    void OpenPlain();
    void OpenTls(const LumSecCore::NodeIdentity& identity);

    const HttpLimits limits;
    const LumPalStr::String_t basePath;
    std::string coreId;  ///< constant once it is open
    LocalCallers callers;
    LumPalThread::PlainMutex_t mutex;
    std::map<std::string, std::shared_ptr<Route>> routes LUMPAL_GUARDED_BY(mutex);
    RefusalListener refusals LUMPAL_GUARDED_BY(mutex);
    bool plain LUMPAL_GUARDED_BY(mutex) = false;
    bool openedPlain LUMPAL_GUARDED_BY(mutex) = false;
    bool awaitsRestart LUMPAL_GUARDED_BY(mutex) = false;
    bool refusing LUMPAL_GUARDED_BY(mutex) = false;
    bool closed LUMPAL_GUARDED_BY(mutex) = false;
    HttpServer http;  ///< last: its threads use what stands above
};

}  // namespace LumVoxMsg
