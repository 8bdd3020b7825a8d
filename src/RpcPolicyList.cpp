#include "RpcPolicyList.h"

#include "Authorization.h"
#include "CheckedArgs.h"
#include "DataFilesSoapArg.h"
#include "Exceptions.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyContainerSoapArg.h"
#include "PolicyOperation.h"
#include "SelectionSoapArg.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;

/// The arguments of one call, and what is answered.
struct RpcPolicyList::Request : Call {
    SelectionSoapArg selection{names::PolicySelection};
    DataFilesSoapArg dataFiles;
    PolicyContainer policies;  ///< empty until the operation has answered
};

RpcPolicyList::RpcPolicyList() : RpcShell(PolicyOperation::GetInstance()) {}

RpcPolicyList::~RpcPolicyList() {
    WaitForCalls();
}

void RpcPolicyList::Process(LumVoxRpc::RpcServerCall& call) {
    static constexpr OwnValue kOwnValues[] = {
        {&Is<NoPoliciesInstalledError>, ReturnValue::NoPoliciesInstalled},
        {&Is<PolicyNotFoundError>, ReturnValue::NoPolicyFound},
    };
    Request request;
    const RpcAnswer answer = RunCall(
        call, {msg::RpcListStart, msg::RpcListNotAuthorized, kOwnValues}, request,
        [&](RpcAnswer& done) { Serve(call, request, done); },
        [&request](const LumPalMsg::Exception_t& e, RpcAnswer& failed) {
            failed.SetFailure(request.sender, Make(msg::RpcListError, e));
        });
    PolicyContainerSoapArg list(names::PolicyContainer);
    list.SetContainer(request.policies);
    list.SetDataFiles(request.dataFiles.GetFiles());
    SendAnswer(call, answer, names::PolicySelectionRetValue, names::PolicySelectionRetString, &list);
}

void RpcPolicyList::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(call, RightList)) return Refuse(call, request.sender);
    SOAPArg* const arguments[] = {&request.selection, &request.dataFiles};
    call.ReadRequest(2, arguments);
    request.authorized = true;
    request.policies =
        operation->GetPolicyContainer(request.sender, request.selection.GetSelection(), request.dataFiles.GetFiles());
    answer.Set(ReturnValue::Success, Make(msg::RpcListDone));
}

void RpcPolicyList::Refuse(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    SelectionSoapArg selection(names::PolicySelection);
    CheckedDataFiles dataFiles;
    CheckOnly(call, {&selection, &dataFiles});
    AuditRefusal(trace::Policy(), sender, names::ListMethod);
}

}  // namespace LumConf
