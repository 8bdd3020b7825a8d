#include "ConfigServer.h"

#include <memory>
#include <utility>

#include "AuditLog.h"
#include "ChangeListener.h"
#include "DirectoryImpl.h"
#include "LumPalConfig.h"
#include "LumVoxRpc.h"
#include "Messages.h"
#include "Names.h"
#include "NodeCondition.h"
#include "PolicyWorker.h"
#include "ReportedStep.h"
#include "RpcConfigHandler.h"
#include "RpcNodeStatus.h"
#include "RpcPolicyFiles.h"
#include "RpcPolicyInstall.h"
#include "RpcPolicyList.h"
#include "RpcPolicyOp.h"
#include "ServerFunctions.h"
#include "ServiceDescription.h"
#include "StorePaths.h"

namespace LumConf {

using LumPalConfig::Configuration_t;
using LumVoxMsg::Messenger;
using LumVoxRpc::RpcServer;

namespace {

constexpr int kIdentifiedByTransport = 1;

Configuration_t TransportConfiguration() {
    return LumPalConfig::ConfigNamespace_t(names::NsVoxHttp).Open();
}

Messenger::Options OwnMessenger() {
    return Messenger::Options().SetAuthenticationMethod(kIdentifiedByTransport).RegisterWithCb(true);
}

}  // namespace

/// In order of construction: the first handler brings the policy side up.
struct ConfigServer::Impl {
    Impl() = default;
    ~Impl() { condition.SetMessenger({}); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    RpcPolicyInstall installHandler;
    RpcPolicyOp operationHandler;
    RpcPolicyList listHandler;
    LumConfPar::RpcConfigHandler configHandler;
    NodeCondition condition;
    NodePages pages;
    RpcPolicyFiles filesHandler;
    RpcNodeStatus statusHandler{[this] { return ReadStatus(); }};
    RpcServer mainServer;
    RpcServer checkServer;
    Messenger messenger;  ///< the last handle of one of our own: it closes before the handlers go

    void CreateServers(const Configuration_t& configuration, const char* mainPath, const char* checkPath);
    NodeStatus ReadStatus() const;
    /// Takes the messenger and opens the road.
    void Serve(const Messenger& road);
};

ConfigServer::ConfigServer() : impl(std::make_unique<Impl>()) {}

ConfigServer::~ConfigServer() = default;

void ConfigServer::Impl::CreateServers(const Configuration_t& configuration, const char* mainPath,
                                       const char* checkPath) {
    auto options = RpcServer::Options().SetThreadSafe(false).SetRequireAuthentication(false).SetBasePath(mainPath);
    mainServer = RpcServer(configuration, options);
    mainServer.Register(names::InstallMethod, installHandler);
    mainServer.Register(names::PolicyOpMethod, operationHandler);
    mainServer.Register(names::ListMethod, listHandler);
    mainServer.Register(names::ConfigOpMethod, configHandler);
    mainServer.Register(names::MgrConfMethod, ManagerConfigurationChanged);
    mainServer.Register(names::PolicyFilesMethod, filesHandler);
    mainServer.Register(names::NodeStatusMethod, statusHandler);
    mainServer.Describe(DescribePolicyService());
    options.SetBasePath(checkPath);
    checkServer = RpcServer(configuration, options);
    checkServer.Register(names::CheckPolicyMethod, CheckPolicy);
    checkServer.Describe(DescribeCheckService());
}

NodeStatus ConfigServer::Impl::ReadStatus() const {
    NodeStatus status = condition.Read();
    status.onLoopbackAlone = messenger.IsOnLoopbackAlone();
    status.awaitsRestart = messenger.AwaitsRestart();
    return status;
}

void ConfigServer::Impl::Serve(const Messenger& road) {
    messenger = road;
    messenger.TellOfRefusals([](const LumPalStr::String_t& sender, const LumPalStr::String_t& path) {
        AuditLog::GetInstance().LogAuthorizationError(sender, path);
    });
    condition.SetMessenger(messenger);
    messenger.Register(mainServer, true, kIdentifiedByTransport);
    messenger.Register(checkServer, true, kIdentifiedByTransport);
    pages.ServeOn(messenger);
}

void ConfigServer::Start() {
    const Configuration_t configuration = TransportConfiguration();
    RunReported(msg::ServerNotCreated,
                [&] { impl->CreateServers(configuration, names::RpcPath, names::RpcCheckPolicyPath); });
    RunReported(msg::MessengerNotCreated, [&] {
        impl->Serve(Messenger(configuration, OwnMessenger()
                                                 .SetApplicationInfo(names::NsConfCore, names::ApplicationVersion)
                                                 .SetBasePath(names::ConfMsgPath)));
    });
}

void ConfigServer::Start(Messenger* messenger) {
    const Configuration_t configuration = TransportConfiguration();
    // A messenger of the caller is rooted at "/": the servers carry the whole path themselves.
    RunReported(msg::ServerNotCreated, [&] {
        impl->CreateServers(configuration, names::RpcPathOnMessenger, names::RpcCheckPolicyPathOnMessenger);
    });
    RunReported(msg::MessengerNotCreated, [&] {
        impl->Serve(messenger ? *messenger : Messenger(configuration, OwnMessenger().SetBasePath("/")));
    });
}

void ConfigServer::StopReceiving() {
    impl->messenger.StopReceiving();
}

void ConfigServer::Stop() {
    impl->messenger.Close();
    AuditLog::GetInstance().WriteCounts();
    LumConfPar::PolicyWorker::GetInstance().Stop();
    // A record that could not be deleted speaks of files there.
    if (paths::ChangeRecordFile().Exists()) return;
    DirectoryImpl::DeleteDirectory(paths::IncomingDirectory());
    DirectoryImpl::DeleteDirectory(paths::TemporaryDirectory());
}

void ConfigServer::AddToStatus(std::function<void(NodeStatus&)> add) {
    impl->condition.SetMore(std::move(add));
}

void ConfigServer::UpdateAuthorization() {
    ManagerConfigurationChanged("", false, 0, nullptr);
}

void ConfigServer::TellOfChanges(std::function<void()> listener) {
    SetChangeListener(std::move(listener));
}

bool ConfigServer::IsServing() const {
    return impl->messenger.IsServing();
}

unsigned ConfigServer::GetPort() const {
    return impl->messenger.GetPort();
}

}  // namespace LumConf
