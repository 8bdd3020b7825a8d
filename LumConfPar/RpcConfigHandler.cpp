#include "RpcConfigHandler.h"

#include <iterator>

#include "Authorization.h"
#include "ChangedNames.h"
#include "CheckedArgs.h"
#include "ConfigGroupSoapArg.h"
#include "Messages.h"
#include "Names.h"
#include "SettingsClear.h"
#include "SettingsReader.h"
#include "SettingsWriter.h"
#include "Trace.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalConfig::ConfigGroup_t;
using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgInt;
using LumVoxSoap::SOAPArgUnicodeString;

/// The arguments of one call, and what is known of it so far.
struct RpcConfigHandler::Request : Call {
    const Mode* mode = nullptr;  ///< null while it is not known to be an operation
    AuditChoices choices;        ///< before the work, which may change them
    SOAPArgInt number{names::PolicyOperationMode, 0};
    SOAPArgUnicodeString package{names::ConfigPackageName, String_t()};
    ConfigGroupSoapArg group{names::ConfigGroupName};
    ConfigGroup_t result;  ///< what a get has read
};

/// One operation: its mode, the right it needs, its name in the audit log, the work, the words of success, and what the
/// audit log makes of success and failure.
struct RpcConfigHandler::Mode {
    ConfigMode mode;
    Right right;
    const char* name;
    void (*work)(Request&);
    MessageRow done;
    AuditLog::Mode audited, auditedFailure;
};

// Kept: a clear that fails is audited as a get that fails.
const RpcConfigHandler::Mode RpcConfigHandler::modes[] = {
    {ConfigMode::Get, RightConfigGet, "config get",
     [](Request& r) { r.result = SettingsReader(r.package.GetValue()).Read(); }, msg::RpcConfigGetDone,
     AuditLog::ConfigGet, AuditLog::ConfigGet},
    {ConfigMode::Set, RightConfigSet, "config set",
     [](Request& r) { SettingsWriter(r.package.GetValue(), r.group.GetGroup()).WriteLocalSettings(); },
     msg::RpcConfigSetDone, AuditLog::ConfigSet, AuditLog::ConfigSet},
    {ConfigMode::ClearNamespace, RightConfigSet, "clear configuration namespace",
     [](Request& r) { SettingsClear(r.package.GetValue(), r.group.GetGroup()).ClearNamespace(); },
     msg::RpcConfigClearNamespaceDone, AuditLog::ConfigClear, AuditLog::ConfigGet},
    {ConfigMode::ClearAttribute, RightConfigSet, "clear config",
     [](Request& r) { SettingsClear(r.package.GetValue(), r.group.GetGroup()).ClearAttributes(); },
     msg::RpcConfigClearAttrDone, AuditLog::ConfigClear, AuditLog::ConfigGet},
};

namespace {

/// Whoever has these may do any operation.
constexpr unsigned kEveryRight = RightConfigGet | RightConfigSet;

}  // namespace

RpcConfigHandler::RpcConfigHandler() = default;

RpcConfigHandler::~RpcConfigHandler() {
    WaitForAllCalls();
}

/// A change also tells what it names; the required line does not.
void RpcConfigHandler::Audit(const Request& request, AuditLog::Outcome outcome) {
    const bool success = outcome == AuditLog::Outcome::Success;
    const AuditLog::Mode kind = success ? request.mode->audited : request.mode->auditedFailure;
    if (request.mode->mode == ConfigMode::Get) return auditLog->Log(request.sender, kind, outcome);
    auditLog->Log(request.sender, kind, outcome, request.choices, [&] {
        const Reach reach = request.mode->mode == ConfigMode::ClearNamespace ? Reach::Namespaces : Reach::Attributes;
        const String_t changed = ChangedNames(request.package.GetValue(), request.group.GetGroup(), reach);
        return success ? Make(msg::AuditConfigNamed, request.sender, request.mode->name, changed)
                       : Make(msg::AuditConfigNamedFailed, request.sender, request.mode->name, changed);
    });
}

void RpcConfigHandler::Process(LumVoxRpc::RpcServerCall& call) {
    Request request;
    const RpcAnswer answer = RunCall(
        call, {msg::RpcConfigStart, msg::RpcConfigNotAuthorized, {}}, request,
        [&](RpcAnswer& done) { Serve(call, request, done); },
        [&](const LumPalMsg::Exception_t& e, RpcAnswer& failed) {
            failed.SetFailure(request.sender, Make(msg::RpcConfigError, e));
            if (request.authorized) Audit(request, AuditLog::Outcome::Failure);
        });
    ConfigGroupSoapArg group(names::ConfigGroupName);
    group.SetTypeAttribute();
    group.SetGroup(request.result);
    SendAnswer(call, answer, names::ConfigReturnValue, names::ConfigReturnString, &group);
}

void RpcConfigHandler::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(call, kEveryRight) && !MayAsk(call, request.sender)) return;
    SOAPArg* const arguments[] = {&request.number, &request.package, &request.group};
    call.ReadRequest(std::size(arguments), arguments);
    request.mode = FindMode<Mode>(modes, request.number.GetValue());
    if (!request.mode) return;
    request.authorized = true;
    request.choices = auditLog->GetChoices();
    request.mode->work(request);
    answer.Set(ReturnValue::Success, MakeUnchecked(request.mode->done));
    Audit(request, AuditLog::Outcome::Success);
}

bool RpcConfigHandler::MayAsk(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    SOAPArgInt number(names::PolicyOperationMode, 0);
    CheckedText package(names::ConfigPackageName);
    CheckedGroup group(names::ConfigGroupName);
    CheckOnly(call, {&number, &package, &group});
    const Mode* mode = FindMode<Mode>(modes, number.GetValue());
    if (!mode) return false;
    if (authorization->IsAuthorized(call, mode->right)) return true;
    AuditRefusal(trace::Config(), sender, mode->name);
    return false;
}

}  // namespace LumConfPar
