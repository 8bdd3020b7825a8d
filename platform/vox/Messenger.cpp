// Messenger and MsgHandler of LumVoxMsg.h.
#include "LumVoxMsg.h"
#include "MessengerImpl.h"
#include "MessengerServer.h"
#include "MsgHandlerAccess.h"

namespace LumVoxMsg {

using LumPalMsg::CreateError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;

MsgHandler::~MsgHandler() = default;

bool MsgHandler::Describe(const String_t&, Response&) const {
    return false;
}

Messenger::Impl::Impl(const LumPalConfig::Configuration_t& configuration, const Options& options)
    : configuration(configuration), options(options) {}

Messenger::Impl::~Impl() {
    Close();
}

std::shared_ptr<void> Messenger::Impl::ClientState(const std::function<std::shared_ptr<void>()>& make) {
    const LumPalThread::PlainLock_t lock(mutex);
    if (!clientState) clientState = make();
    return clientState;
}

/// The first thing to serve opens the port.
template <class Add>
void Messenger::Impl::AddTo(Add add) {
    const LumPalThread::PlainLock_t lock(mutex);
    if (closed) throw IllegalStateError_t(CreateError_t("A closed messenger takes no handler."));
    if (options.sendOnly) throw IllegalStateError_t(CreateError_t("A messenger that only sends takes no handler."));
    if (server) return add(*server);
    auto opened = std::make_shared<MessengerServer>(HttpLimits::Load(configuration), options.basePath);
    opened->TellOfRefusals(refusals);
    add(*opened);
    opened->Open();
    server = std::move(opened);
}

void Messenger::Impl::Register(MsgHandler* handler) {
    AddTo([handler](MessengerServer& to) { to.AddRoute(handler); });
}

void Messenger::Impl::Serve(Page page) {
    AddTo([&page](MessengerServer& to) { to.AddPage(std::move(page)); });
}

void Messenger::Impl::TellOfRefusals(RefusalListener listener) {
    const LumPalThread::PlainLock_t lock(mutex);
    refusals = std::move(listener);
}

std::shared_ptr<MessengerServer> Messenger::Impl::GetServer() {
    const LumPalThread::PlainLock_t lock(mutex);
    return server;
}

void Messenger::Impl::StopReceiving() {
    {
        const LumPalThread::PlainLock_t lock(mutex);
        closed = true;
    }
    // Without the lock, as in Close.
    if (const auto serving = GetServer()) serving->StopReceiving();
}

void Messenger::Impl::Close() {
    std::shared_ptr<MessengerServer> ending;
    {
        const LumPalThread::PlainLock_t lock(mutex);
        closed = true;
        ending = std::move(server);
        server = nullptr;
    }
    // Without the lock: a call in flight may still ask this messenger for its port.
    if (ending) ending->Close();
}

unsigned Messenger::Impl::GetPort() {
    const LumPalThread::PlainLock_t lock(mutex);
    return server && !closed ? server->GetPort() : 0;
}

std::vector<LumSecCore::X509Certificate> Messenger::Impl::GetCertificates() {
    const auto open = GetServer();
    return open ? open->GetCertificates() : std::vector<LumSecCore::X509Certificate>();
}

void Messenger::Impl::ReloadIdentity() {
    if (const auto serving = GetServer()) serving->ReloadIdentity();
}

bool Messenger::Impl::AwaitsRestart() {
    const auto serving = GetServer();
    return serving && serving->AwaitsRestart();
}

bool Messenger::Impl::IsOnLoopbackAlone() {
    const auto serving = GetServer();
    return serving && serving->IsOnLoopbackAlone();
}

Messenger::Messenger(const LumPalConfig::Configuration_t& configuration, const Options& options)
    : Object(new Impl(configuration, options)) {}

Messenger::Impl* Messenger::GetImpl() const {
    return static_cast<Impl*>(implementation.Get());
}

void Messenger::Register(MsgHandler* handler, bool, int) {
    if (!GetImpl()) throw IllegalStateError_t(CreateError_t("A null messenger takes no handler."));
    if (!handler)
        throw LumPalMsg::IllegalArgumentError_t(CreateError_t("There is no handler to register with the messenger."));
    GetImpl()->Register(handler);
}

void Messenger::Serve(Page page) {
    if (!GetImpl()) throw IllegalStateError_t(CreateError_t("A null messenger takes no page."));
    GetImpl()->Serve(std::move(page));
}

void Messenger::TellOfRefusals(RefusalListener listener) {
    if (GetImpl()) GetImpl()->TellOfRefusals(std::move(listener));
}

void Messenger::StopReceiving() {
    if (GetImpl()) GetImpl()->StopReceiving();
}

void Messenger::Close() {
    if (GetImpl()) GetImpl()->Close();
}

bool Messenger::IsServing() const {
    return GetPort() != 0;
}

unsigned Messenger::GetPort() const {
    return GetImpl() ? GetImpl()->GetPort() : 0;
}

std::vector<LumSecCore::X509Certificate> Messenger::GetCertificates() const {
    return GetImpl() ? GetImpl()->GetCertificates() : std::vector<LumSecCore::X509Certificate>();
}

void Messenger::ReloadIdentity() {
    if (GetImpl()) GetImpl()->ReloadIdentity();
}

bool Messenger::AwaitsRestart() const {
    return GetImpl() && GetImpl()->AwaitsRestart();
}

bool Messenger::IsOnLoopbackAlone() const {
    return GetImpl() && GetImpl()->IsOnLoopbackAlone();
}

}  // namespace LumVoxMsg
