/// @file
/// A client of a configuration server: well-formed calls over the library's own road, and any bytes over a bare one.
#pragma once

#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "ConfigGroupSoapArg.h"
#include "Files.h"
#include "InstallOptionsSoapArg.h"
#include "LumPalRuntime.h"
#include "LumVoxRpc.h"
#include "OptionsSoapArg.h"
#include "PolicyContainerSoapArg.h"
#include "RawHttp.h"
#include "SelectionSoapArg.h"

/// What a handler answered.
struct Reply {
    int value = -1;
    std::string text;
    bool hasList = false;
    LumConf::PolicyContainer list;  ///< empty without one
    bool hasGroup = false;
    LumPalConfig::ConfigGroup_t group;  ///< empty without one
};

/// Calls the server on a port of this host. The sender is who the node's configuration says at the time of a call:
/// on the plain road the node's administrator, over TLS the certificate of the core id.
class NodeClient {
public:
    using String = LumPalStr::String_t;
    using SOAPArg = LumVoxSoap::SOAPArg;
    static constexpr const char* kBase = "/com.tessel.lum.conf.core";

    explicit NodeClient(unsigned port, const char* scheme = "http")
        : port(port), address(std::string(scheme) + "://localhost:" + std::to_string(port)) {}

    Reply Install(const LumPalArray::CharArray_t& bytes, int how = 1, const LumConf::InstallOptions& options = Untold(),
                  const char* fileName = "p1_header.xml") {
        LumVoxSoap::SOAPArgUnicodeString file("PolicyInstallFilename", String::FromUtf8(fileName));
        LumVoxSoap::SOAPArgByteArray data("PolicyByteArrayName", bytes);
        LumConf::InstallOptionsSoapArg installOptions("PolicyInstallOptions");
        installOptions.SetOptions(options);
        LumVoxSoap::SOAPArgInt method("PolicyInstallMethod", how);
        return Ask("install", {&file, &data, &installOptions, &method}, "PolicyInstallRet");
    }
    Reply Operate(int number, const LumConf::Selection& selection = LumConf::Selection(), bool notify = false,
                  const char* string1 = "") {
        LumVoxSoap::SOAPArgInt mode("PolicyOperationMode", number);
        LumVoxSoap::SOAPArgUnicodeString string("PolicyString1", String::FromUtf8(string1));
        LumConf::SelectionSoapArg selected("PolicySelection");
        selected.SetSelection(selection, "localhost");
        LumConf::OptionsSoapArg options("PolicyOptions");
        options.SetOptions(LumConf::PolicyForwarder::Options().SetNotify(notify));
        return Ask("policyOp", {&mode, &string, &selected, &options}, "PolicySelectionRet");
    }
    Reply List(const LumConf::Selection& selection = LumConf::Selection()) {
        LumConf::SelectionSoapArg selected("PolicySelection");
        selected.SetSelection(selection, "localhost");
        return Ask("list", {&selected}, "PolicySelectionRet");
    }
    Reply Config(int number, const LumPalConfig::ConfigGroup_t& group = LumPalConfig::ConfigGroup_t(),
                 const char* packageName = "") {
        LumVoxSoap::SOAPArgInt mode("PolicyOperationMode", number);
        LumVoxSoap::SOAPArgUnicodeString package("ConfigPackageName", String::FromUtf8(packageName));
        LumConf::ConfigGroupSoapArg configurations("ConfigGroupName");
        configurations.SetGroup(group);
        return Ask("configOp", {&mode, &package, &configurations}, "ConfigReturn");
    }
    /// A method that is a plain function, with string parameters.
    int Function(const char* method, const std::string& path, std::initializer_list<const char*> parameters) {
        std::vector<std::unique_ptr<SOAPArg>> owned;
        std::vector<SOAPArg*> arguments;
        for (const char* parameter : parameters) {
            owned.push_back(
                std::make_unique<LumVoxSoap::SOAPArgUnicodeString>("parameter", String::FromUtf8(parameter)));
            arguments.push_back(owned.back().get());
        }
        int value = -99;
        LumVoxSoap::SOAPArgInt result("result", &value);
        SOAPArg* const results[] = {&result};
        Invoke(method, path, arguments, results, 1);
        return value;
    }
    int CheckPolicy(std::initializer_list<const char*> parameters) {
        return Function("checkpolicy", std::string(kBase) + "/checkpolicy/voxrpcserver", parameters);
    }
    int ManagerConfiguration(std::initializer_list<const char*> parameters) {
        return Function("mgrconf", std::string(kBase) + "/voxrpcserver", parameters);
    }

    /// Posts a body as it is. Without the secret the sender is nobody.
    enum class Sender { Administrator, Nobody };
    RawAnswer Post(const std::string& body, Sender sender = Sender::Administrator,
                   const std::string& path = std::string(kBase) + "/voxrpcserver") const {
        const std::string proof = sender == Sender::Nobody ? "" : "Authorization: LumLocal " + Secret() + "\r\n";
        return RawHttp(port).Exchange(PostOf(path, body, proof));
    }
    /// Posts a call of a handler; the elements are those of its arguments.
    Reply PostCall(const std::string& method, const std::string& elements,
                   Sender sender = Sender::Administrator) const {
        const RawAnswer answer = Post(Envelope("<" + method + ">" + elements + "</" + method + ">"), sender);
        if (answer.status != 200) return Reply{-answer.status, answer.body, false, {}, false, {}};
        return Decode(answer.body, PrefixOf(method));
    }
    static std::string Envelope(const std::string& inside) {
        return "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body>" + inside +
               "</e:Body></e:Envelope>";
    }

private:
    static const char* PrefixOf(const std::string& method) {
        if (method == "configOp") return "ConfigReturn";
        return method == "install" ? "PolicyInstallRet" : "PolicySelectionRet";
    }
    /// The arguments of every answer of a handler.
    struct Results {
        explicit Results(const std::string& prefix)
            : valueArg(String::FromUtf8(prefix + "Value"), &reply.value),
              textArg(String::FromUtf8(prefix + "String"), &text) {}
        Reply Take() {
            reply.text = text.ToUtf8();
            reply.hasList = listArg.HasArrived();
            if (reply.hasList) reply.list = listArg.GetContainer();
            reply.hasGroup = groupArg.HasArrived();
            reply.group = groupArg.GetGroup();
            return reply;
        }
        Reply reply;
        String text;
        LumVoxSoap::SOAPArgInt valueArg;
        LumVoxSoap::SOAPArgUnicodeString textArg;
        LumConf::PolicyContainerSoapArg listArg{"PolicyContainer"};
        LumConf::ConfigGroupSoapArg groupArg{"ConfigGroupName"};
        SOAPArg* arguments[4] = {&valueArg, &textArg, &listArg, &groupArg};
    };

    static LumConf::InstallOptions Untold() {
        LumConf::InstallOptions options;
        return options.SetNotify(false);
    }
    static std::string Secret() {
        return ReadText(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc).ToUtf8() + "local.secret").substr(0, 64);
    }
    static Reply Decode(const std::string& body, const std::string& prefix) {
        Results results(prefix);
        LumVoxSoap::SOAPEnvelope().Read(
            LumPalIo::CharArrayInputStream_t(LumPalArray::CharArray_t(body.data(), body.size())),
            static_cast<int>(std::size(results.arguments)), results.arguments);
        return results.Take();
    }
    Reply Ask(const char* method, const std::vector<SOAPArg*>& arguments, const char* prefix) {
        Results results(prefix);
        Invoke(method, std::string(kBase) + "/voxrpcserver", arguments, results.arguments,
               static_cast<int>(std::size(results.arguments)));
        return results.Take();
    }
    void Invoke(const char* method, const std::string& path, const std::vector<SOAPArg*>& arguments,
                SOAPArg* const* results, int count) {
        const LumPalConfig::Configuration_t configuration{String("vox.http.ext.conf")};
        LumVoxRpc::RpcCall call =
            LumVoxRpc::RpcClient(configuration, messenger)
                .CreateCall(LumPalNet::URI_t(String::FromUtf8(address + path)), LumVoxRpc::RpcCall::Options());
        call.SetMethod(method);
        call.SetArgs(static_cast<int>(arguments.size()), arguments.data());
        call.Invoke(count, results, "UTF-8");
    }

    const unsigned port;
    const std::string address;
    LumVoxMsg::Messenger messenger{LumPalConfig::Configuration_t(String("vox.http.ext.conf")),
                                   LumVoxMsg::Messenger::Options().RegisterWithCb(false).SendOnly(true)};
};
