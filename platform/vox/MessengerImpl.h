/// @file
/// What stands behind a messenger's handle: its options, the server, and what clients share through it.
#pragma once

#include <functional>
#include <memory>

#include "LumPalPlainMutex.h"
#include "LumVoxMsg.h"

namespace LumVoxMsg {

class MessengerServer;

/// Any thread.
class Messenger::Impl : public LumPalRef::RefCounted_t {
public:
    Impl(const LumPalConfig::Configuration_t& configuration, const Options& options);
    ~Impl() override;

    const LumPalConfig::Configuration_t& GetConfiguration() const noexcept { return configuration; }
    const Options& GetOptions() const noexcept { return options; }
    /// What the clients of this messenger share (kept connections); made by the first that asks.
    /// It lives as long as the messenger or a client that holds it.
    std::shared_ptr<void> ClientState(const std::function<std::shared_ptr<void>()>& make);

    /// These as Messenger's.
    void Register(MsgHandler* handler);
    void Serve(Page page);
    void TellOfRefusals(RefusalListener listener);
    void StopReceiving();
    void Close();
    unsigned GetPort();
    std::vector<LumSecCore::X509Certificate> GetCertificates();
    void ReloadIdentity();
    bool AwaitsRestart();
    bool IsOnLoopbackAlone();

private:
    std::shared_ptr<MessengerServer> GetServer();
    template <class Add>
    void AddTo(Add add);

    const LumPalConfig::Configuration_t configuration;
    const Options options;
    LumPalThread::PlainMutex_t mutex;
    std::shared_ptr<void> clientState LUMPAL_GUARDED_BY(mutex);
    RefusalListener refusals LUMPAL_GUARDED_BY(mutex);
    std::shared_ptr<MessengerServer> server LUMPAL_GUARDED_BY(mutex);
    bool closed LUMPAL_GUARDED_BY(mutex) = false;  ///< to handlers and requests
};

}  // namespace LumVoxMsg
