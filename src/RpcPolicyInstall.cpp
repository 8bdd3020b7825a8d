#include "RpcPolicyInstall.h"

#include "AuditLog.h"
#include "ChangeListener.h"
#include "CheckedArgs.h"
#include "Exceptions.h"
#include "InstallOptionsSoapArg.h"
#include "LumCtrl.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyOperation.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgByteArray;
using LumVoxSoap::SOAPArgInt;
using LumVoxSoap::SOAPArgUnicodeString;

/// The arguments of one call, and what is known of it so far.
struct RpcPolicyInstall::Request {
    String_t sender;
    bool authorized = false;
    SOAPArgUnicodeString fileName{names::PolicyInstallFilename, String_t()};
    SOAPArgByteArray data{names::PolicyByteArrayName};
    InstallOptionsSoapArg options{names::PolicyInstallOptions};
    SOAPArgInt method{names::PolicyInstallMethod, 0};
    LumPalIo::File_t file;  ///< names a single policy in messages; never opened
};

RpcPolicyInstall::RpcPolicyInstall()
    : operation(PolicyOperation::GetInstance()),
      authorization(&Authorization::GetInstance()),
      auditLog(&AuditLog::GetInstance()),
      incomingDirectory(paths::IncomingDirectory()) {}

RpcPolicyInstall::~RpcPolicyInstall() {
    WaitForCalls();
}

void RpcPolicyInstall::Process(LumVoxRpc::RpcServerCall& call) {
    Request request;
    request.sender = StartCall(call, msg::RpcInstallStart);
    RpcAnswer answer;
    try {
        Serve(call, request, answer);
    } catch (const PolicyOwnerError& e) {
        answer.Set(ReturnValue::OwnerMismatch, e);
    } catch (const PolicyVersionError& e) {
        answer.Set(ReturnValue::VersionNotHigher, e);
    } catch (const LumCtrl::ControlException& e) {
        answer.Set(ReturnValue::ControlServiceErrors, e);
    } catch (const LumPalMsg::Exception_t& e) {
        answer.SetFailure(request.file.IsNotNull() ? Make(msg::RpcInstallFileError, request.file.GetAbsolutePath(), e)
                                                   : Make(msg::RpcInstallPackageError, e));
    }
    // Stands behind the catch clauses: also a request that could not be read is answered so.
    if (!request.authorized) {
        answer.Set(ReturnValue::NotAuthorized, Make(msg::RpcInstallNotAuthorized, request.sender));
    }
    if (request.authorized) TellChangeListener();
    SendAnswer(call, answer, names::PolicyInstallRetValue, names::PolicyInstallRetString);
}

void RpcPolicyInstall::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(request.sender, RightInstall)) return Refuse(call, request.sender);
    SOAPArg* const arguments[] = {&request.fileName, &request.data, &request.options, &request.method};
    call.ReadRequest(std::size(arguments), arguments);
    request.authorized = true;
    Install(request, answer);
}

/// Nothing of the request is kept: it may be large, and the caller is not allowed to bring it.
void RpcPolicyInstall::Refuse(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    CheckedText fileName(names::PolicyInstallFilename);
    CheckedBytes data(names::PolicyByteArrayName);
    CheckedInstallOptions options(names::PolicyInstallOptions);
    SOAPArgInt method(names::PolicyInstallMethod, 0);
    SOAPArg* const arguments[] = {&fileName, &data, &options, &method};
    call.CheckRequest(std::size(arguments), arguments);
    LUMCONF_TRACE(trace::Policy, String_t("install is refused to '") + sender + "'");
    auditLog->LogAuthorizationError(sender, names::InstallMethod);
}

void RpcPolicyInstall::Install(Request& request, RpcAnswer& answer) {
    InstallOptions options = request.options.GetOptions();
    switch (static_cast<InstallMethod>(request.method.GetValue())) {
        case InstallMethod::Policy:
            request.file = LumPalIo::File_t(incomingDirectory, Shown(request.fileName.GetValue()));
            operation->Install(request.sender, request.data.GetValue(), options);
            answer.Set(ReturnValue::Success, Make(msg::RpcInstallFileDone, request.file.GetName()));
            return;
        case InstallMethod::Package:
            operation->InstallPackage(request.sender, request.data.GetValue(), options);
            answer.Set(ReturnValue::Success, Make(msg::RpcInstallPackageDone));
            return;
    }
    Raise<ConfException>(msg::RpcInstallMethodUnknown);
}

}  // namespace LumConf
