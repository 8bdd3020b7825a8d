// Node of LumDepl.h: asking a node for its inventory.
#include <string>

#include "Inventory.h"
#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumPalNet.h"
#include "LumVoxRpc.h"

namespace LumDepl {
namespace {

using LumPalConfig::ConfigNamespace_t;
using LumPalStr::String_t;

/// Only the bare word "localhost" takes the plain road, and only until a certificate is installed.
LumPalNet::URI_t AddressOf(String_t host) {
    if (host.Trim().IsEmpty()) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("The name of the host is empty."));
    }
    const bool plain =
        host == "localhost" && !ConfigNamespace_t(LumPalKeys::NsSecCmCert).Open().GetBool(LumPalKeys::CertInstalledKey);
    return LumPalNet::URI_t((plain ? String_t("http://") : String_t("https://")) + host + kInventoryPath);
}

/// The client's settings, with a limit of the caller's own over them.
LumPalConfig::Configuration_t SettingsFor(const NodeOptions& options) {
    LumPalConfig::Configuration_t configuration = ConfigNamespace_t(LumPalKeys::NsVoxHttp).Open();
    if (options.patienceSeconds > 0) {
        configuration.SetAttrValue(LumPalKeys::CallTimeoutKey,
                                   String_t::FromUtf8(std::to_string(options.patienceSeconds)));
    }
    return configuration;
}

}  // namespace

Node::Node(const String_t& host) : host(host) {}

String_t Node::GetInventory(const NodeOptions& options) const {
    LumVoxRpc::RpcClient client(SettingsFor(options), LumVoxMsg::Messenger());
    // An inventory needs no right, and the other node here need not know this one's secret.
    LumVoxRpc::RpcCall call = client.CreateCall(AddressOf(host), LumVoxRpc::RpcCall::Options().SetAnonymous());
    LumVoxSoap::SOAPArgUnicodeString type("objectType", options.objectType);
    LumVoxSoap::SOAPArg* const arguments[] = {&type};
    call.SetMethod("inventory");
    call.SetArgs(1, arguments);
    String_t table;
    LumVoxSoap::SOAPArgUnicodeString result("inventory", &table);
    LumVoxSoap::SOAPArg* const results[] = {&result};
    call.Invoke(1, results, "UTF-8");
    if (result.HasArrived()) return table;
    throw LumVoxSoap::SOAPFormatException(LumPalMsg::CreateError_t("The node '%1' answered without an inventory.")
                                          << host);
}

}  // namespace LumDepl
