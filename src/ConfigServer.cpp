#include "ConfigServer.h"

#include <memory>

#include "DirectoryImpl.h"
#include "LumPalConfig.h"
#include "LumPalLog.h"
#include "LumPalRuntime.h"
#include "LumVoxRpc.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyWorker.h"
#include "RpcPolicyInstall.h"
#include "RpcPolicyList.h"
#include "RpcPolicyOp.h"
#include "ServerFunctions.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalConfig::Configuration_t;
using LumVoxMsg::Messenger;
using LumVoxRpc::RpcServer;

namespace {

constexpr int kIdentifiedByTransport = 1;

void Report(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Message, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    LumPalLog::Log(message);
}

Configuration_t TransportConfiguration() {
    return LumPalConfig::ConfigNamespace_t(names::NsVoxHttp).Open();
}

}  // namespace

/// In order of construction: the first handler brings the policy side up.
struct ConfigServer::Impl {
    RpcPolicyInstall installHandler;
    RpcPolicyOp operationHandler;
    RpcPolicyList listHandler;
    RpcServer mainServer;
    RpcServer checkServer;
    Messenger messenger;
    std::unique_ptr<Messenger> madeForCaller;  ///< when Start was given a null messenger

    void CreateServers(const Configuration_t& configuration, const char* mainPath, const char* checkPath);
    void RegisterServers();
};

ConfigServer::ConfigServer() : impl(std::make_unique<Impl>()) {}

ConfigServer::~ConfigServer() = default;

void ConfigServer::Impl::CreateServers(const Configuration_t& configuration, const char* mainPath,
                                       const char* checkPath) {
    try {
        auto options = RpcServer::Options().SetThreadSafe(false).SetRequireAuthentication(false).SetBasePath(mainPath);
        mainServer = RpcServer(configuration, options);
        mainServer.Register(names::InstallMethod, installHandler);
        mainServer.Register(names::PolicyOpMethod, operationHandler);
        mainServer.Register(names::ListMethod, listHandler);
        mainServer.Register(names::MgrConfMethod, ManagerConfigurationChanged);
        options.SetBasePath(checkPath);
        checkServer = RpcServer(configuration, options);
        checkServer.Register(names::CheckPolicyMethod, CheckPolicy);
    } catch (const LumPalMsg::Exception_t& e) {
        Report(Make(msg::ServerNotCreated, LumPalRuntime::App_t::GetName(), e));
    }
}

void ConfigServer::Impl::RegisterServers() {
    messenger.Register(mainServer, true, kIdentifiedByTransport);
    messenger.Register(checkServer, true, kIdentifiedByTransport);
}

void ConfigServer::Start() {
    const Configuration_t configuration = TransportConfiguration();
    impl->CreateServers(configuration, names::RpcPath, names::RpcCheckPolicyPath);
    try {
        impl->messenger = Messenger(configuration, Messenger::Options()
                                                       .SetAuthenticationMethod(kIdentifiedByTransport)
                                                       .RegisterWithCb(true)
                                                       .SetApplicationInfo(names::NsConfCore, names::ApplicationVersion)
                                                       .SetBasePath(names::ConfMsgPath));
        impl->RegisterServers();
    } catch (const LumPalMsg::Exception_t& e) {
        Report(Make(msg::MessengerNotCreated, LumPalRuntime::App_t::GetName(), e));
    }
}

void ConfigServer::Start(Messenger* messenger) {
    const Configuration_t configuration = TransportConfiguration();
    // A messenger of the caller is rooted at "/": the servers carry the whole path themselves.
    impl->CreateServers(configuration, names::RpcPathOnMessenger, names::RpcCheckPolicyPathOnMessenger);
    try {
        if (!messenger) {
            impl->madeForCaller =
                std::make_unique<Messenger>(configuration, Messenger::Options()
                                                               .SetAuthenticationMethod(kIdentifiedByTransport)
                                                               .RegisterWithCb(true)
                                                               .SetBasePath("/"));
            messenger = impl->madeForCaller.get();
        }
        impl->messenger = *messenger;
        impl->RegisterServers();
    } catch (const LumPalMsg::Exception_t& e) {
        Report(Make(msg::MessengerNotCreated, LumPalRuntime::App_t::GetName(), e));
    }
}

void ConfigServer::Stop() {
    impl->messenger.Close();
    LumConfPar::PolicyWorker::GetInstance().Stop();
    DirectoryImpl::DeleteDirectory(paths::IncomingDirectory());
    DirectoryImpl::DeleteDirectory(paths::TemporaryDirectory());
}

void ConfigServer::UpdateAuthorization() {
    ManagerConfigurationChanged("", false, 0, nullptr);
}

bool ConfigServer::IsServing() const {
    return impl->messenger.IsServing();
}

unsigned ConfigServer::GetPort() const {
    return impl->messenger.GetPort();
}

}  // namespace LumConf
