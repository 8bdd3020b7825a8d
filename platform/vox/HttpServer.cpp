#include "HttpServer.h"

#include "HttpServerCore_beast.h"

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
