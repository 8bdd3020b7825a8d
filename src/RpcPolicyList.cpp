#include "RpcPolicyList.h"

#include "AuditLog.h"
#include "CheckedArgs.h"
#include "DataFilesSoapArg.h"
#include "Exceptions.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyContainerSoapArg.h"
#include "PolicyOperation.h"
#include "SelectionSoapArg.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;

/// The arguments of one call, and what is known of it so far.
struct RpcPolicyList::Request {
    String_t sender;
    bool authorized = false;
    SelectionSoapArg selection{names::PolicySelection};
    DataFilesSoapArg dataFiles;
    PolicyContainer policies;  ///< empty until the operation has answered
};

RpcPolicyList::RpcPolicyList()
    : operation(PolicyOperation::GetInstance()),
      authorization(&Authorization::GetInstance()),
      auditLog(&AuditLog::GetInstance()) {}

RpcPolicyList::~RpcPolicyList() {
    WaitForCalls();
}

void RpcPolicyList::Process(LumVoxRpc::RpcServerCall& call) {
    Request request;
    request.sender = StartCall(call, msg::RpcListStart);
    RpcAnswer answer;
    try {
        Serve(call, request, answer);
    } catch (const NoPoliciesInstalledError& e) {
        answer.Set(ReturnValue::NoPoliciesInstalled, e);
    } catch (const PolicyNotFoundError& e) {
        answer.Set(ReturnValue::NoPolicyFound, e);
    } catch (const LumPalMsg::Exception_t& e) {
        answer.SetFailure(Make(msg::RpcListError, e));
    }
    // Stands behind the catch clauses: also a request that could not be read is answered so.
    if (!request.authorized) {
        answer.Set(ReturnValue::NotAuthorized, Make(msg::RpcListNotAuthorized, request.sender));
    }
    PolicyContainerSoapArg list(names::PolicyContainer);
    list.SetContainer(request.policies);
    list.SetDataFiles(request.dataFiles.GetFiles());
    SendAnswer(call, answer, names::PolicySelectionRetValue, names::PolicySelectionRetString, &list);
}

void RpcPolicyList::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(request.sender, RightList)) return Refuse(call, request.sender);
    SOAPArg* const arguments[] = {&request.selection, &request.dataFiles};
    call.ReadRequest(2, arguments);
    request.authorized = true;
    request.policies =
        operation->GetPolicyContainer(request.sender, request.selection.GetSelection(), request.dataFiles.GetFiles());
    answer.Set(ReturnValue::Success, Make(msg::RpcListDone));
}

/// Nothing of the request is kept: it may be large, and the caller is not allowed to bring it.
void RpcPolicyList::Refuse(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    SelectionSoapArg selection(names::PolicySelection);
    CheckedDataFiles dataFiles;
    SOAPArg* const arguments[] = {&selection, &dataFiles};
    call.CheckRequest(std::size(arguments), arguments);
    LUMCONF_TRACE(trace::Policy, String_t("list is refused to '") + sender + "'");
    auditLog->LogAuthorizationError(sender, names::ListMethod);
}

}  // namespace LumConf
