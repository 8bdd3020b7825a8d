#include "RpcNodeStatus.h"

#include "Authorization.h"
#include "Messages.h"
#include "Names.h"
#include "NodeStatusSoapArg.h"

namespace LumConf {

RpcNodeStatus::RpcNodeStatus(Source source) : source(std::move(source)) {}

RpcNodeStatus::~RpcNodeStatus() {
    WaitForCalls();
}

void RpcNodeStatus::Process(LumVoxRpc::RpcServerCall& call) {
    Call request;
    NodeStatus status;
    const RpcAnswer answer = RunCall(
        call, {msg::RpcStatusStart, msg::RpcStatusNotAuthorized, {}}, request,
        [&](RpcAnswer& done) {
            CheckOnly(call, {});
            request.authorized = authorization->IsAuthorized(call, RightList);
            if (!request.authorized) return AuditRefusal(trace::Policy(), request.sender, names::NodeStatusMethod);
            status = source();
            done.Set(ReturnValue::Success, Make(msg::RpcStatusDone));
        },
        [&request](const LumPalMsg::Exception_t& e, RpcAnswer& failed) {
            failed.SetFailure(request.sender, Make(msg::RpcStatusError, e));
        });
    NodeStatusSoapArg told(std::move(status));
    SendAnswer(call, answer, names::PolicySelectionRetValue, names::PolicySelectionRetString, &told);
}

}  // namespace LumConf
