#include "RpcPolicyInstall.h"

#include "Authorization.h"
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

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgByteArray;
using LumVoxSoap::SOAPArgInt;
using LumVoxSoap::SOAPArgUnicodeString;

/// The arguments of one call.
struct RpcPolicyInstall::Request : Call {
    SOAPArgUnicodeString fileName{names::PolicyInstallFilename, String_t()};
    SOAPArgByteArray data{names::PolicyByteArrayName};
    InstallOptionsSoapArg options{names::PolicyInstallOptions};
    SOAPArgInt method{names::PolicyInstallMethod, 0};
    LumPalIo::File_t file;  ///< names a single policy in messages; never opened
};

RpcPolicyInstall::RpcPolicyInstall()
    : RpcShell(PolicyOperation::GetInstance()), incomingDirectory(paths::IncomingDirectory()) {}

RpcPolicyInstall::~RpcPolicyInstall() {
    WaitForCalls();
}

void RpcPolicyInstall::Process(LumVoxRpc::RpcServerCall& call) {
    static constexpr OwnValue kOwnValues[] = {
        {&Is<PolicyOwnerError>, ReturnValue::OwnerMismatch},
        {&Is<PolicyVersionError>, ReturnValue::VersionNotHigher},
        {&Is<LumCtrl::ControlException>, ReturnValue::ControlServiceErrors},
    };
    Request request;
    const RpcAnswer answer = RunCall(
        call, {msg::RpcInstallStart, msg::RpcInstallNotAuthorized, kOwnValues}, request,
        [&](RpcAnswer& done) { Serve(call, request, done); },
        [&request](const LumPalMsg::Exception_t& e, RpcAnswer& failed) {
            failed.SetFailure(request.sender, request.file.IsNotNull()
                                                  ? Make(msg::RpcInstallFileError, request.file.GetAbsolutePath(), e)
                                                  : Make(msg::RpcInstallPackageError, e));
        });
    if (request.authorized) TellChangeListener();
    SendAnswer(call, answer, names::PolicyInstallRetValue, names::PolicyInstallRetString);
}

void RpcPolicyInstall::Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer) {
    if (!authorization->IsAuthorized(call, RightInstall)) return Refuse(call, request.sender);
    SOAPArg* const arguments[] = {&request.fileName, &request.data, &request.options, &request.method};
    call.ReadRequest(std::size(arguments), arguments);
    request.authorized = true;
    Install(request, answer);
}

void RpcPolicyInstall::Refuse(const LumVoxRpc::RpcServerCall& call, const String_t& sender) {
    CheckedText fileName(names::PolicyInstallFilename);
    CheckedBytes data(names::PolicyByteArrayName);
    CheckedInstallOptions options(names::PolicyInstallOptions);
    SOAPArgInt method(names::PolicyInstallMethod, 0);
    CheckOnly(call, {&fileName, &data, &options, &method});
    AuditRefusal(trace::Policy(), sender, names::InstallMethod);
}

void RpcPolicyInstall::Install(Request& request, RpcAnswer& answer) {
    const auto method = static_cast<InstallMethod>(request.method.GetValue());
    if (method == InstallMethod::Policy) {
        request.file = LumPalIo::File_t(incomingDirectory, Shown(request.fileName.GetValue()));
    }
    InstallOptions options = request.options.TakeOptions();
    switch (method) {
        case InstallMethod::Policy:
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
