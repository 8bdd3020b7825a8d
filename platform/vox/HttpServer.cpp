#include "HttpServer.h"

#include "HttpServerCore_beast.h"
#include "TlsIdentity.h"

namespace LumVoxMsg {

HttpServer::HttpServer(const HttpLimits& limits, HttpHandler& handler)
    : core(std::make_unique<Core>(limits, handler)) {}
HttpServer::~HttpServer() = default;

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
std::vector<LumSecCore::X509Certificate> HttpServer::GetCertificates() const {
    const auto tls = core->GetTls();
    return tls ? LumSecCore::ShownCertificates(tls->native_handle()) : std::vector<LumSecCore::X509Certificate>();
}
void HttpServer::StopAccepting() {
    core->StopAccepting();
}
void HttpServer::Finish() {
    core->Finish();
}
unsigned HttpServer::GetConnectionCount() const noexcept {
    return core->admission.GetCount();
}

}  // namespace LumVoxMsg
