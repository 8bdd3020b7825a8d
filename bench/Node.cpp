#include "Node.h"

#include <stdexcept>

#include "Configure.h"
#include "Documents.h"
#include "PolicyForwarderImpl.h"

namespace bench {
namespace {

using LumPalArray::CharArray_t;
using LumPalStr::String_t;
using LumVoxRpc::RpcCall;
using LumVoxRpc::RpcServer;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgByteArray;
using LumVoxSoap::SOAPArgUnicodeString;

constexpr const char* kTransport = "vox.http.ext.conf";
constexpr const char* kData = "data";

LumPalConfig::Configuration_t TransportConfiguration() {
    return LumPalConfig::ConfigNamespace_t(kTransport).Open();
}

LumVoxMsg::Messenger MakeMessenger() {
    return LumVoxMsg::Messenger(TransportConfiguration(),
                                LumVoxMsg::Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/"));
}

void Answer(LumVoxRpc::RpcServerCall& call, SOAPArg& result) {
    LumVoxRpc::RpcServerResponse response = call.CreateResponse();
    SOAPArg* const results[] = {&result};
    response.SetArgs(1, results);
    response.SendResponse("UTF-8");
}

}  // namespace

void EchoHandler::Process(LumVoxRpc::RpcServerCall& call) {
    SOAPArgByteArray data(kData);
    SOAPArg* const arguments[] = {&data};
    call.ReadRequest(1, arguments);
    if (work) work(data.GetValue());
    Answer(call, data);
}

void TextEchoHandler::Process(LumVoxRpc::RpcServerCall& call) {
    SOAPArgUnicodeString text(kData, String_t());
    SOAPArg* const arguments[] = {&text};
    call.ReadRequest(1, arguments);
    Answer(call, text);
}

Node::Root::Root() {
    Configure("conf.server", "AUDIT_LOGGING", "true");
    Configure("conf.server", "AUDIT_LOG_MODE", "all");
    Configure(kTransport, "SERVER_PORT", "0");
}

Node& Node::Get() {
    static Node node;
    return node;
}

Node::Node()
    : messenger(MakeMessenger()), echoServer(TransportConfiguration(), RpcServer::Options().SetBasePath("echo")) {
    control.Start();
    echoServer.Register("bytes", echo);
    echoServer.Register("text", textEcho);
    server.Start(&messenger);
    if (!server.IsServing()) throw std::runtime_error("the node does not serve");
    messenger.Register(echoServer, true, 1);
    Configure(kTransport, "TARGET_PORT", std::to_string(GetPort()).c_str());
    client = LumConf::PolicyForwarder();
}

void Node::Fill(int policies) const {
    FillStore(root.Native(), policies);
    const LumPalPtr::RefPtr_t<LumConf::PolicyForwarderImpl> forwarder(
        new LumConf::PolicyForwarderImpl(client.GetVoxMessenger()));
    forwarder->ReinitCache("localhost", "");
}

Node::~Node() {
    server.Stop();
    control.Stop();
}

void Node::Invoke(const std::string& path, const char* method, int count, SOAPArg* const* arguments, int results,
                  SOAPArg* const* resultArguments) const {
    const std::string address = "http://localhost:" + std::to_string(GetPort()) + "/" + path;
    RpcCall call = LumVoxRpc::RpcClient(TransportConfiguration(), client.GetVoxMessenger())
                       .CreateCall(LumPalNet::URI_t(String_t::FromUtf8(address)), RpcCall::Options());
    call.SetMethod(method);
    call.SetArgs(count, arguments);
    call.Invoke(results, resultArguments, "UTF-8");
}

void Node::Call(const char* method, int count, SOAPArg* const* arguments, int results,
                SOAPArg* const* resultArguments) const {
    Invoke("com.tessel.lum.conf.core/voxrpcserver", method, count, arguments, results, resultArguments);
}

CharArray_t Node::Echo(const CharArray_t& bytes) const {
    SOAPArgByteArray sent(kData, bytes), received(kData);
    SOAPArg* const arguments[] = {&sent};
    SOAPArg* const results[] = {&received};
    Invoke("echo", "bytes", 1, arguments, 1, results);
    return received.TakeValue();
}

String_t Node::Echo(const String_t& text) const {
    String_t answer;
    SOAPArgUnicodeString sent(kData, text), received(kData, &answer);
    SOAPArg* const arguments[] = {&sent};
    SOAPArg* const results[] = {&received};
    Invoke("echo", "text", 1, arguments, 1, results);
    return answer;
}

}  // namespace bench
