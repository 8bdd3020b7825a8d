#include "RpcPolicyFiles.h"

#include "Authorization.h"
#include "Exceptions.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyOperation.h"
#include "SelectionSoapArg.h"
#include "StoredPolicy.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;

/// The arguments of one call, and what is answered.
struct RpcPolicyFiles::Request : Call {
    SelectionSoapArg selection{names::PolicySelection};
    LumVoxSoap::SOAPArgInt what{names::PolicyFilesMode, 0};
    LumPalArray::CharArray_t package;
};

RpcPolicyFiles::RpcPolicyFiles() : RpcShell(PolicyOperation::GetInstance()) {}

RpcPolicyFiles::~RpcPolicyFiles() {
    WaitForCalls();
}

void RpcPolicyFiles::Process(LumVoxRpc::RpcServerCall& call) {
    static constexpr OwnValue kOwnValues[] = {
        {&Is<NoPoliciesInstalledError>, ReturnValue::NoPoliciesInstalled},
        {&Is<PolicyNotFoundError>, ReturnValue::NoPolicyFound},
    };
    Request request;
    const RpcAnswer answer = RunCall(
        call, {msg::RpcFilesStart, msg::RpcFilesNotAuthorized, kOwnValues}, request,
        [&](RpcAnswer& done) { Serve(call, request, done); },
        [&request](const LumPalMsg::Exception_t& e, RpcAnswer& failed) {
            failed.SetFailure(request.sender, Make(msg::RpcFilesError, e));
        });
    LumVoxSoap::SOAPArgByteArray files(names::PolicyFilesName, std::move(request.package));
    SendAnswer(call, answer, names::PolicySelectionRetValue, names::PolicySelectionRetString, &files);
}

/// Who holds neither right is refused before the request is read whole; the contents ask for another one than the
/// digests.
void RpcPolicyFiles::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(call, RightList)) return Refuse(call, request.sender);
    SOAPArg* const arguments[] = {&request.selection, &request.what};
    call.ReadRequest(2, arguments);
    const auto what = static_cast<StoredFiles>(request.what.GetValue());
    request.authorized = what != StoredFiles::Contents || authorization->IsAuthorized(call, RightInstall);
    if (!request.authorized) return AuditRefusal(trace::Policy(), request.sender, names::PolicyFilesMethod);
    if (what != StoredFiles::Digests && what != StoredFiles::Contents)
        Raise<LumPalMsg::IllegalArgumentError_t>(msg::StoredFilesUnknownMode, request.what.GetValue());
    request.package = operation->PackStored(request.sender, request.selection.GetSelection(), what);
    answer.Set(ReturnValue::Success, Make(msg::RpcFilesDone));
}

void RpcPolicyFiles::Refuse(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    SelectionSoapArg selection(names::PolicySelection);
    LumVoxSoap::SOAPArgInt what(names::PolicyFilesMode, 0);
    CheckOnly(call, {&selection, &what});
    AuditRefusal(trace::Policy(), sender, names::PolicyFilesMethod);
}

}  // namespace LumConf
