#include "RpcConfigHandler.h"

#include <iterator>

#include "AuditLog.h"
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
struct RpcConfigHandler::Request {
    String_t sender;
    const Mode* mode = nullptr;  ///< null while it is not known to be an operation
    bool authorized = false;
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

RpcConfigHandler::RpcConfigHandler()
    : authorization(&Authorization::GetInstance()), auditLog(&AuditLog::GetInstance()) {}

RpcConfigHandler::~RpcConfigHandler() {
    WaitForAllCalls();
}

const RpcConfigHandler::Mode* RpcConfigHandler::FindMode(int number) {
    for (const Mode& row : modes) {
        if (static_cast<int>(row.mode) == number) return &row;
    }
    return nullptr;
}

void RpcConfigHandler::Process(LumVoxRpc::RpcServerCall& call) {
    Request request;
    request.sender = StartCall(call, msg::RpcConfigStart);
    RpcAnswer answer;
    try {
        Serve(call, request, answer);
    } catch (const LumPalMsg::Exception_t& e) {
        answer.SetFailure(Make(msg::RpcConfigError, e));
        if (request.authorized) auditLog->Log(request.sender, request.mode->auditedFailure, false);
    }
    // Stands behind the catch clause: also a request that could not be read, or whose mode is no operation, is
    // answered so.
    if (!request.authorized) {
        answer.Set(ReturnValue::NotAuthorized, Make(msg::RpcConfigNotAuthorized, request.sender));
    }
    ConfigGroupSoapArg group(names::ConfigGroupName);
    group.SetTypeAttribute();
    group.SetGroup(request.result);
    SendAnswer(call, answer, names::ConfigReturnValue, names::ConfigReturnString, &group);
}

void RpcConfigHandler::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(request.sender, kEveryRight) && !MayAsk(call, request.sender)) return;
    SOAPArg* const arguments[] = {&request.number, &request.package, &request.group};
    call.ReadRequest(std::size(arguments), arguments);
    request.mode = FindMode(request.number.GetValue());
    if (!request.mode) return;
    request.authorized = true;
    request.mode->work(request);
    answer.Set(ReturnValue::Success, MakeUnchecked(request.mode->done));
    auditLog->Log(request.sender, request.mode->audited, true);
}

/// Nothing of the request is kept: it may be large, and the caller may not be allowed to bring it.
bool RpcConfigHandler::MayAsk(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    SOAPArgInt number(names::PolicyOperationMode, 0);
    CheckedText package(names::ConfigPackageName);
    CheckedGroup group(names::ConfigGroupName);
    SOAPArg* const arguments[] = {&number, &package, &group};
    call.CheckRequest(std::size(arguments), arguments);
    const Mode* mode = FindMode(number.GetValue());
    if (!mode) return false;
    if (authorization->IsAuthorized(sender, mode->right)) return true;
    LUMCONF_TRACE(trace::Config, String_t(mode->name) + " is refused to '" + sender + "'");
    auditLog->LogAuthorizationError(sender, mode->name);
    return false;
}

}  // namespace LumConfPar
