#include "RpcPolicyOp.h"

#include <optional>
#include <utility>

#include "Authorization.h"
#include "ChangeListener.h"
#include "CheckedArgs.h"
#include "Exceptions.h"
#include "LumCtrl.h"
#include "Messages.h"
#include "Names.h"
#include "OptionsSoapArg.h"
#include "PolicyOperation.h"
#include "SelectionSoapArg.h"
#include "Trace.h"

namespace LumConf {

using LumPalMsg::MessageList_t;
using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgInt;
using LumVoxSoap::SOAPArgUnicodeString;

/// The arguments of one call.
struct RpcPolicyOp::Request : Call {
    SOAPArgInt mode{names::PolicyOperationMode, 0};
    std::optional<SOAPArgUnicodeString> string{std::in_place, names::PolicyString1, String_t()};
    SelectionSoapArg selection{names::PolicySelection};
    OptionsSoapArg options{names::PolicyOptions};
    Selection Selected() const { return selection.GetSelection(); }
    PolicyForwarder::Options Options() const { return options.GetOptions(); }
    String_t Text() const { return string->GetValue(); }
    /// Held by the caller alone, who may then cut it up without holding megabytes twice.
    String_t TakeText() {
        String_t text = string->GetValue();
        string.reset();
        return text;
    }
};

/// One operation: its mode, the right it needs, its name in the audit log, the call, the words of success.
struct RpcPolicyOp::Mode {
    OperationMode mode;
    Right right;
    const char* name;
    void (*call)(PolicyOperation&, Request&);
    MessageRow done;
};

const RpcPolicyOp::Mode RpcPolicyOp::modes[] = {
    {OperationMode::Disable, RightDisable, "disable",
     [](PolicyOperation& o, Request& r) { o.SetStatus(r.sender, r.Selected(), PolicyOperation::Disable, r.Options()); },
     msg::RpcDisableDone},
    {OperationMode::Enable, RightEnable, "enable",
     [](PolicyOperation& o, Request& r) { o.SetStatus(r.sender, r.Selected(), PolicyOperation::Enable, r.Options()); },
     msg::RpcEnableDone},
    {OperationMode::Remove, RightRemove, "remove",
     [](PolicyOperation& o, Request& r) { o.Remove(r.sender, r.Selected(), r.Options()); }, msg::RpcRemoveDone},
    {OperationMode::SetOwner, RightModify, "set owner",
     [](PolicyOperation& o, Request& r) { o.SetOwner(r.sender, r.Text(), r.Selected(), r.Options()); },
     msg::RpcSetOwnerDone},
    {OperationMode::AddCategory, RightModify, "add category",
     [](PolicyOperation& o, Request& r) {
         o.ModifyCategory(r.sender, r.Text(), r.Selected(), r.Options(), PolicyOperation::AddCategory);
     },
     msg::RpcAddCategoryDone},
    {OperationMode::RemoveCategory, RightModify, "remove category",
     [](PolicyOperation& o, Request& r) {
         o.ModifyCategory(r.sender, r.Text(), r.Selected(), r.Options(), PolicyOperation::RemoveCategory);
     },
     msg::RpcRemoveCategoryDone},
    {OperationMode::RemoveAllCategories, RightModify, "remove all categories",
     [](PolicyOperation& o, Request& r) { o.RemoveAllCategories(r.sender, r.Selected(), r.Options()); },
     msg::RpcRemoveAllCategoriesDone},
    {OperationMode::AddAttribute, RightModify, "add attribute",
     [](PolicyOperation& o, Request& r) {
         o.ModifyAttributes(r.sender, r.TakeText(), r.Selected(), r.Options(), PolicyOperation::AddAttribute);
     },
     msg::RpcAddAttributeDone},
    {OperationMode::RemoveAttribute, RightModify, "remove attribute",
     [](PolicyOperation& o, Request& r) {
         o.ModifyAttributes(r.sender, r.TakeText(), r.Selected(), r.Options(), PolicyOperation::RemoveAttribute);
     },
     msg::RpcRemoveAttributeDone},
    {OperationMode::RemoveAllAttributes, RightModify, "remove all attributes",
     [](PolicyOperation& o, Request& r) { o.RemoveAllAttributes(r.sender, r.Selected(), r.Options()); },
     msg::RpcRemoveAllAttributesDone},
    {OperationMode::Notify, RightInstall, "notify", [](PolicyOperation& o, Request& r) { o.Notify(r.sender); },
     msg::RpcNotifyDone},
    {OperationMode::ReinitCache, RightModify, "reinit cache",
     [](PolicyOperation& o, Request& r) { o.ReinitCache(r.sender); }, msg::RpcReinitCacheDone},
};

namespace {

/// Whoever has these may do any operation.
constexpr unsigned kEveryRight = RightInstall | RightRemove | RightEnable | RightDisable | RightModify;

bool IsMissingFile(unsigned id) {
    return id == msg::RemoveDataFileError.id || id == msg::RemoveDataFileMissing.id ||
           id == msg::RemoveHeaderFileError.id || id == msg::RemoveHeaderFileMissing.id;
}

/// Whether a remove met files that are missing or cannot be deleted: told by the numbers, which a translated
/// catalogue does not change, and by the words.
bool CannotDelete(const MessageList_t& failure) {
    for (int i = 0; i < failure.GetMessageCount(); ++i) {
        if (IsMissingFile(failure.GetMessage(i).GetId())) return true;
    }
    return failure.Format(LumPalMsg::BareText).Find("Cannot delete policy") != LumPalStr::NotFound;
}

}  // namespace

RpcPolicyOp::RpcPolicyOp() : RpcShell(PolicyOperation::GetInstance()) {}

RpcPolicyOp::~RpcPolicyOp() {
    WaitForCalls();
}

void RpcPolicyOp::Process(LumVoxRpc::RpcServerCall& call) {
    static constexpr OwnValue kOwnValues[] = {
        {&Is<NoPoliciesInstalledError>, ReturnValue::NoPoliciesInstalled},
        {&Is<PolicyNotFoundError>, ReturnValue::NoPolicyFound},
        {&Is<NoPolicyOperation>, ReturnValue::NothingToDo},
        {&Is<LumCtrl::ControlException>, ReturnValue::ControlServiceErrors},
    };
    Request request;
    const RpcAnswer answer = RunCall(
        call, {msg::RpcOpStart, msg::RpcOpNotAuthorized, kOwnValues}, request,
        [&](RpcAnswer& done) { Serve(call, request, done); },
        [&](const LumPalMsg::Exception_t& e, RpcAnswer& failed) {
            failed.SetFailure(request.sender, Make(msg::RpcOpError, e));
            RepairRemove(request, e.GetMessageList(), failed);
        });
    if (request.authorized) TellChangeListener();
    SendAnswer(call, answer, names::PolicySelectionRetValue, names::PolicySelectionRetString);
}

void RpcPolicyOp::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(call, kEveryRight) && !MayAsk(call, request.sender)) return;
    SOAPArg* const arguments[] = {&request.mode, &*request.string, &request.selection, &request.options};
    call.ReadRequest(std::size(arguments), arguments);
    const Mode* mode = FindMode<Mode>(modes, request.mode.GetValue());
    if (!mode) return;
    request.authorized = true;
    mode->call(*operation, request);
    answer.Set(ReturnValue::Success, MakeUnchecked(mode->done));
}

bool RpcPolicyOp::MayAsk(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    SOAPArgInt number(names::PolicyOperationMode, 0);
    CheckedText string(names::PolicyString1);
    SelectionSoapArg selection(names::PolicySelection);
    OptionsSoapArg options(names::PolicyOptions);
    CheckOnly(call, {&number, &string, &selection, &options});
    const Mode* mode = FindMode<Mode>(modes, number.GetValue());
    if (!mode) return false;
    if (authorization->IsAuthorized(call, mode->right)) return true;
    AuditRefusal(trace::Policy(), sender, mode->name);
    return false;
}

/// A remove that met missing or undeletable files is a success for the client: the cache then is what the disk holds.
void RpcPolicyOp::RepairRemove(const Request& request, const MessageList_t& failure, RpcAnswer& answer) {
    const bool isRemove = request.mode.GetValue() == static_cast<int>(OperationMode::Remove);
    if (!isRemove || !CannotDelete(failure)) return;
    if (request.authorized) {
        try {
            operation->ReinitCache(request.sender);
        } catch (const LumPalMsg::Exception_t& e) {
            LUMCONF_TRACE(trace::Policy, e.GetMessageList().Format(LumPalMsg::Text | LumPalMsg::Details));
        }
    }
    answer.Set(ReturnValue::Success, Make(msg::RpcRemoveDone));
}

}  // namespace LumConf
