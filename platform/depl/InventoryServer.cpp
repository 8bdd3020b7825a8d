// InventoryServer of LumDepl.h: answering who asks for it.
#include "Inventory.h"
#include "LumVoxRpc.h"

namespace LumDepl {
namespace {

using LumPalStr::String_t;

class InventoryHandler : public LumVoxRpc::RpcServerHandler {
public:
    void Process(LumVoxRpc::RpcServerCall& call) override {
        String_t type;
        LumVoxSoap::SOAPArgUnicodeString asked("objectType", &type);
        LumVoxSoap::SOAPArg* const arguments[] = {&asked};
        call.ReadRequest(1, arguments);
        call.CountAs(0);
        LumVoxSoap::SOAPArgUnicodeString table("inventory", InventoryTable(type));
        LumVoxSoap::SOAPArg* const results[] = {&table};
        LumVoxRpc::RpcServerResponse response = call.CreateResponse();
        response.SetArgs(1, results);
        response.SendResponse("UTF-8");
    }
    void CallStarted() override {}
    void CallFinished() override {}
};

/// Without its leading separator: it stands behind the "/" of the messenger.
LumVoxRpc::RpcServer::Options ServerOptions() {
    return LumVoxRpc::RpcServer::Options().SetBasePath(kInventoryPath + 1);
}

LumVoxRpc::Description Description() {
    return {"LumInventory", {}, {{"inventory", {{"objectType", "xsd:string"}}, {{"inventory", "xsd:string"}}}}};
}

}  // namespace

struct InventoryServer::Impl {
    explicit Impl(const LumPalConfig::Configuration_t& configuration) : server(configuration, ServerOptions()) {
        server.Register("inventory", handler);
        server.Describe(Description());
    }
    InventoryHandler handler;
    LumVoxRpc::RpcServer server;
};

InventoryServer::InventoryServer(const LumPalConfig::Configuration_t& configuration)
    : impl(std::make_unique<Impl>(configuration)) {}

InventoryServer::~InventoryServer() = default;

void InventoryServer::RegisterOn(LumVoxMsg::Messenger& messenger) {
    messenger.Register(impl->server, true, 1);
}

}  // namespace LumDepl
