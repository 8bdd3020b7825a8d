#include "MessageForwarder.h"

#include "ConfigGroupSoapArg.h"
#include "DataFilesSoapArg.h"
#include "Exceptions.h"
#include "InstallOptionsImpl.h"
#include "InstallOptionsSoapArg.h"
#include "Messages.h"
#include "Names.h"
#include "NodeStatusSoapArg.h"
#include "OptionsSoapArg.h"
#include "PolicyContainerSoapArg.h"
#include "ReturnValueDecoder.h"
#include "SelectionSoapArg.h"
#include "Trace.h"

namespace LumConf {

using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigNamespace_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using LumVoxRpc::RpcCall;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgByteArray;
using LumVoxSoap::SOAPArgInt;
using LumVoxSoap::SOAPArgUnicodeString;

namespace {

LumVoxMsg::Messenger MakeSender() {
    return LumVoxMsg::Messenger(ConfigNamespace_t(names::NsVoxHttp).Open(),
                                LumVoxMsg::Messenger::Options().RegisterWithCb(false).SendOnly(true));
}

template <class Row>
void Demand(RequestKind kind, RequestKind wanted, const Row& message) {
    if (kind != wanted) Raise<IllegalStateError_t>(message);
}

template <std::size_t ArgumentCount, std::size_t ResultCount>
void Call(RpcCall call, const String_t& method, SOAPArg* const (&arguments)[ArgumentCount],
          SOAPArg* const (&results)[ResultCount]) {
    call.SetMethod(method);
    call.SetArgs(ArgumentCount, arguments);
    call.Invoke(ResultCount, results, names::Utf8);
}

template <std::size_t ArgumentCount>
PolicyContainer CallForList(const RpcCall& call, const String_t& method, const String_t& host,
                            SOAPArg* const (&arguments)[ArgumentCount]) {
    Answer answer;
    SOAPArgInt value(names::PolicySelectionRetValue, &answer.value);
    SOAPArgUnicodeString text(names::PolicySelectionRetString, &answer.text);
    PolicyContainerSoapArg list(names::PolicyContainer);
    Call(call, method, arguments, {&value, &text, &list});
    // Taken before the return value is looked at: an answer without a list is an error whatever it says.
    const PolicyContainer container = list.GetContainer();
    DecodeList(answer, host);
    return container;
}

}  // namespace

MessageForwarder::MessageForwarder() : MessageForwarder(MakeSender()) {}

MessageForwarder::MessageForwarder(const LumVoxMsg::Messenger& messenger)
    : Messenger(messenger), configuration(ConfigNamespace_t(names::NsVoxHttp).Open()) {}

LumPalNet::URI_t MessageForwarder::GetTargetUri(String_t& host, const String_t& path) {
    host.Trim();
    if (host.IsEmpty()) Raise<IllegalArgumentError_t>(msg::HostEmpty);
    // The test is on the word alone: another name of the local machine takes the https path.
    const bool plain =
        host == names::LocalHost && !ConfigNamespace_t(names::NsSecCmCert).Open().GetBool(names::CertInstalledKey);
    return LumPalNet::URI_t(String_t(plain ? names::HttpScheme : names::HttpsScheme) + host + path + names::RpcPath);
}

RpcCall MessageForwarder::CreateCall(String_t& host, const String_t& targetId) const {
    const LumPalNet::URI_t uri = GetTargetUri(host, names::ConfMsgPath);
    return LumVoxRpc::RpcClient(configuration, *this).CreateCall(uri, RpcCall::Options().SetTargetID(targetId));
}

void MessageForwarder::SendInstall(const String_t& method, RequestKind kind, const String_t& host,
                                   const String_t& fileName, const LumPalArray::CharArray_t& data,
                                   const InstallOptions& options, InstallMethod installMethod) const {
    LUMCONF_BLOCK(trace::Message, "MessageForwarder::SendInstall");
    Demand(kind, RequestKind::Install, msg::ForwarderInstallState);
    String_t target = host;
    const RpcCall call = CreateCall(target, options.GetImpl().GetTargetID());
    SOAPArgUnicodeString file(names::PolicyInstallFilename, fileName);
    SOAPArgByteArray bytes(names::PolicyByteArrayName, data);
    InstallOptionsSoapArg installOptions(names::PolicyInstallOptions);
    installOptions.SetOptions(options);
    SOAPArgInt how(names::PolicyInstallMethod, static_cast<int>(installMethod));
    Answer answer;
    SOAPArgInt value(names::PolicyInstallRetValue, &answer.value);
    SOAPArgUnicodeString text(names::PolicyInstallRetString, &answer.text);
    Call(call, method, {&file, &bytes, &installOptions, &how}, {&value, &text});
    DecodeInstall(answer, installMethod, fileName, target);
}

void MessageForwarder::SendSelection(const String_t& method, RequestKind kind, OperationMode mode, const String_t& host,
                                     const String_t& argument, const Selection& selection,
                                     const PolicyForwarder::Options& options) const {
    LUMCONF_BLOCK(trace::Message, "MessageForwarder::SendSelection");
    Demand(kind, RequestKind::Selection, msg::ForwarderSelectionState);
    String_t target = host;
    const RpcCall call = CreateCall(target, options.GetTargetID());
    SOAPArgInt modeArgument(names::PolicyOperationMode, static_cast<int>(mode));
    modeArgument.SetTypeAttribute();
    SOAPArgUnicodeString string(names::PolicyString1, argument);
    string.SetTypeAttribute();
    SelectionSoapArg selected(names::PolicySelection);
    selected.SetSelection(selection, target);
    OptionsSoapArg operationOptions(names::PolicyOptions);
    operationOptions.SetOptions(options);
    Answer answer;
    SOAPArgInt value(names::PolicySelectionRetValue, &answer.value);
    SOAPArgUnicodeString text(names::PolicySelectionRetString, &answer.text);
    Call(call, method, {&modeArgument, &string, &selected, &operationOptions}, {&value, &text});
    DecodeSelection(answer, target);
}

PolicyContainer MessageForwarder::SendList(const String_t& method, RequestKind kind, const String_t& host,
                                           const String_t& targetId, const Selection& selection) const {
    LUMCONF_BLOCK(trace::Message, "MessageForwarder::SendList");
    Demand(kind, RequestKind::List, msg::ForwarderListState);
    String_t target = host;
    const RpcCall call = CreateCall(target, targetId);
    SelectionSoapArg selected(names::PolicySelection);
    selected.SetSelection(selection, target);
    return CallForList(call, method, target, {&selected});
}

PolicyContainer MessageForwarder::SendListNaming(const String_t& host, const String_t& targetId,
                                                 const String_t& typeName, const DataFilesSoapArg::Files& files) const {
    LUMCONF_BLOCK(trace::Message, "MessageForwarder::SendListNaming");
    String_t target = host;
    const RpcCall call = CreateCall(target, targetId);
    SelectionSoapArg selected(names::PolicySelection);
    // Every version numbers the types alike, so that the node need not be asked for its own.
    selected.SetSelection(Selection().SetPolicyTypeName(typeName), names::LocalHost);
    DataFilesSoapArg dataFiles(files);
    return CallForList(call, names::ListMethod, target, {&selected, &dataFiles});
}

std::vector<StoredPolicy> MessageForwarder::SendFiles(const String_t& host, const String_t& targetId,
                                                      const Selection& selection, StoredFiles what) const {
    LUMCONF_BLOCK(trace::Message, "MessageForwarder::SendFiles");
    String_t target = host;
    const RpcCall call = CreateCall(target, targetId);
    SelectionSoapArg selected(names::PolicySelection);
    selected.SetSelection(selection, names::LocalHost);
    SOAPArgInt kind(names::PolicyFilesMode, static_cast<int>(what));
    Answer answer;
    SOAPArgInt value(names::PolicySelectionRetValue, &answer.value);
    SOAPArgUnicodeString text(names::PolicySelectionRetString, &answer.text);
    SOAPArgByteArray files(names::PolicyFilesName);
    Call(call, names::PolicyFilesMethod, {&selected, &kind}, {&value, &text, &files});
    DecodeFiles(answer, target);
    return StoredPolicy::Unpack(files.TakeValue());
}

NodeStatus MessageForwarder::SendStatus(const String_t& host, const String_t& targetId) const {
    LUMCONF_BLOCK(trace::Message, "MessageForwarder::SendStatus");
    String_t target = host;
    RpcCall call = CreateCall(target, targetId);
    Answer answer;
    SOAPArgInt value(names::PolicySelectionRetValue, &answer.value);
    SOAPArgUnicodeString text(names::PolicySelectionRetString, &answer.text);
    NodeStatusSoapArg status;
    SOAPArg* const results[] = {&value, &text, &status};
    call.SetMethod(names::NodeStatusMethod);
    call.SetArgs(0, nullptr);
    call.Invoke(3, results, names::Utf8);
    DecodeList(answer, target);
    return status.GetStatus();
}

ConfigGroup_t MessageForwarder::SendConfig(const String_t& method, RequestKind kind, ConfigMode mode,
                                           const String_t& host, const String_t& targetId, const String_t& package,
                                           const ConfigGroup_t& group) const {
    LUMCONF_BLOCK(trace::Message, "MessageForwarder::SendConfig");
    Demand(kind, RequestKind::Configuration, msg::ForwarderConfigState);
    String_t target = host;
    const RpcCall call = CreateCall(target, targetId);
    SOAPArgInt modeArgument(names::PolicyOperationMode, static_cast<int>(mode));
    modeArgument.SetTypeAttribute();
    SOAPArgUnicodeString packageName(names::ConfigPackageName, package);
    packageName.SetTypeAttribute();
    ConfigGroupSoapArg configurations(names::ConfigGroupName);
    configurations.SetTypeAttribute();
    configurations.SetGroup(group);
    Answer answer;
    SOAPArgInt value(names::ConfigReturnValue, &answer.value);
    SOAPArgUnicodeString text(names::ConfigReturnString, &answer.text);
    ConfigGroupSoapArg answered(names::ConfigGroupName, ConfigGroupSoapArg::kMostOfAnAnswer);
    Call(call, method, {&modeArgument, &packageName, &configurations}, {&value, &text, &answered});
    const ConfigGroup_t result = answered.GetGroup();
    DecodeConfiguration(answer, target);
    return result;
}

}  // namespace LumConf
