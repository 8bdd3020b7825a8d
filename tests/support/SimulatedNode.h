/// @file
/// A node made up for a test: it serves the real transport on loopback, keeps what it was asked and answers what the
/// test wants.
#pragma once

#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

#include "ConfigGroupSoapArg.h"
#include "Configure.h"
#include "InstallOptions.h"
#include "InstallOptionsSoapArg.h"
#include "LumVoxMsg.h"
#include "LumVoxRpc.h"
#include "MethodHandler.h"
#include "OptionsSoapArg.h"
#include "PolicyContainer.h"
#include "PolicyContainerSoapArg.h"
#include "Selection.h"
#include "SelectionSoapArg.h"
#include "TempRoot.h"

/// One request as the node has read it; what its method does not carry is as it was made.
struct ReceivedRequest {
    std::string method;
    int mode = 0;
    LumPalStr::String_t text;  ///< the argument of an operation; the file name of an install
    LumConf::Selection selection;
    LumConf::PolicyForwarder::Options options;
    LumPalArray::CharArray_t data;
    LumConf::InstallOptions installOptions;
    int installMethod = 0;
    LumPalStr::String_t package;
    LumPalConfig::ConfigGroup_t group;
};

/// What the node answers.
struct NodeAnswer {
    int value = 1;
    LumPalStr::String_t text = "words of the node";
    LumConf::PolicyContainer list;
    LumPalConfig::ConfigGroup_t group;
};

/// Serves "install", "policyOp", "list" and "configOp" where a policy server does, and is the target of the host
/// "localhost" for whoever is made after it, in a root of its own. Requests may come on several threads.
class SimulatedNode {
public:
    using Call = LumVoxRpc::RpcServerCall;
    using Answering = std::function<NodeAnswer(const ReceivedRequest&)>;

    SimulatedNode() {
        server.Register("install", install);
        server.Register("policyOp", operate);
        server.Register("list", list);
        server.Register("configOp", configure);
        messenger.Register(server, true, 1);
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(messenger.GetPort()).c_str());
    }
    ~SimulatedNode() { Close(); }
    /// From now on nobody is at home.
    void Close() { messenger.Close(); }

    void Answer(int value, const LumPalStr::String_t& text = "words of the node") {
        NodeAnswer answer;
        answer.value = value;
        answer.text = text;
        Answer(answer);
    }
    void Answer(const NodeAnswer& answer) {
        AnswerBy([answer](const ReceivedRequest&) { return answer; });
    }
    /// What it throws becomes a fault.
    void AnswerBy(Answering function) {
        const std::lock_guard lock(mutex);
        answering = std::move(function);
    }

    std::vector<ReceivedRequest> Received() const {
        const std::lock_guard lock(mutex);
        return received;
    }
    std::size_t ReceivedCount() const { return Received().size(); }
    /// The last request; an empty one when there was none.
    ReceivedRequest Last() const {
        const std::lock_guard lock(mutex);
        return received.empty() ? ReceivedRequest() : received.back();
    }
    const LumVoxMsg::Messenger& GetMessenger() const noexcept { return messenger; }
    const TempRoot& Root() const noexcept { return root; }

private:
    static LumPalConfig::Configuration_t MakeConfiguration() {
        LumPalConfig::Configuration_t made{LumPalStr::String_t("vox.http.ext.conf")};
        made.SetAttrValue("SERVER_PORT", "0");
        return made;
    }
    NodeAnswer Note(const ReceivedRequest& request) {
        Answering function;
        {
            const std::lock_guard lock(mutex);
            received.push_back(request);
            function = answering;
        }
        return function(request);
    }
    static void Send(Call& call, const NodeAnswer& answer, const char* valueName, const char* textName,
                     LumVoxSoap::SOAPArg* more = nullptr) {
        LumVoxSoap::SOAPArgInt value(valueName, answer.value);
        LumVoxSoap::SOAPArgUnicodeString text(textName, answer.text);
        LumVoxSoap::SOAPArg* const results[] = {&value, &text, more};
        LumVoxRpc::RpcServerResponse response = call.CreateResponse();
        response.SetArgs(more ? 3 : 2, results);
        response.SendResponse("UTF-8");
    }
    void ServeInstall(Call& call) {
        LumVoxSoap::SOAPArgUnicodeString file("PolicyInstallFilename", LumPalStr::String_t());
        LumVoxSoap::SOAPArgByteArray data("PolicyByteArrayName");
        LumConf::InstallOptionsSoapArg options("PolicyInstallOptions");
        LumVoxSoap::SOAPArgInt how("PolicyInstallMethod", 0);
        LumVoxSoap::SOAPArg* const arguments[] = {&file, &data, &options, &how};
        call.ReadRequest(std::size(arguments), arguments);
        ReceivedRequest request;
        request.method = "install";
        request.text = file.GetValue();
        request.data = data.TakeValue();
        request.installOptions = options.GetOptions();
        request.installMethod = how.GetValue();
        Send(call, Note(request), "PolicyInstallRetValue", "PolicyInstallRetString");
    }
    void ServeOperation(Call& call) {
        LumVoxSoap::SOAPArgInt mode("PolicyOperationMode", 0);
        LumVoxSoap::SOAPArgUnicodeString text("PolicyString1", LumPalStr::String_t());
        LumConf::SelectionSoapArg selection("PolicySelection");
        LumConf::OptionsSoapArg options("PolicyOptions");
        LumVoxSoap::SOAPArg* const arguments[] = {&mode, &text, &selection, &options};
        call.ReadRequest(std::size(arguments), arguments);
        ReceivedRequest request;
        request.method = "policyOp";
        request.mode = mode.GetValue();
        request.text = text.GetValue();
        request.selection = selection.GetSelection();
        request.options = options.GetOptions();
        Send(call, Note(request), "PolicySelectionRetValue", "PolicySelectionRetString");
    }
    void ServeList(Call& call) {
        LumConf::SelectionSoapArg selection("PolicySelection");
        LumVoxSoap::SOAPArg* const arguments[] = {&selection};
        call.ReadRequest(std::size(arguments), arguments);
        ReceivedRequest request;
        request.method = "list";
        request.selection = selection.GetSelection();
        const NodeAnswer answer = Note(request);
        LumConf::PolicyContainerSoapArg container("PolicyContainer");
        container.SetContainer(answer.list);
        Send(call, answer, "PolicySelectionRetValue", "PolicySelectionRetString", &container);
    }
    void ServeConfiguration(Call& call) {
        LumVoxSoap::SOAPArgInt mode("PolicyOperationMode", 0);
        LumVoxSoap::SOAPArgUnicodeString package("ConfigPackageName", LumPalStr::String_t());
        LumConf::ConfigGroupSoapArg group("ConfigGroupName");
        LumVoxSoap::SOAPArg* const arguments[] = {&mode, &package, &group};
        call.ReadRequest(std::size(arguments), arguments);
        ReceivedRequest request;
        request.method = "configOp";
        request.mode = mode.GetValue();
        request.package = package.GetValue();
        request.group = group.GetGroup();
        const NodeAnswer answer = Note(request);
        LumConf::ConfigGroupSoapArg result("ConfigGroupName");
        result.SetGroup(answer.group);
        Send(call, answer, "ConfigReturnValue", "ConfigReturnString", &result);
    }

    TempRoot root;
    mutable std::mutex mutex;  ///< guards the next two
    std::vector<ReceivedRequest> received;
    Answering answering = [](const ReceivedRequest&) { return NodeAnswer(); };
    MethodHandler install{[this](Call& call) { ServeInstall(call); }};
    MethodHandler operate{[this](Call& call) { ServeOperation(call); }};
    MethodHandler list{[this](Call& call) { ServeList(call); }};
    MethodHandler configure{[this](Call& call) { ServeConfiguration(call); }};
    LumPalConfig::Configuration_t configuration = MakeConfiguration();
    LumVoxRpc::RpcServer server{configuration, LumVoxRpc::RpcServer::Options().SetBasePath("/voxrpcserver")};
    LumVoxMsg::Messenger messenger{
        configuration,
        LumVoxMsg::Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/com.tessel.lum.conf.core")};
};
