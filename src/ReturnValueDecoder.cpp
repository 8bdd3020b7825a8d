#include "ReturnValueDecoder.h"

#include "Exceptions.h"
#include "LumCtrl.h"
#include "LumSecAuth.h"
#include "MessageNumbers.h"
#include "Messages.h"

namespace LumConf {

using LumPalMsg::CreateMessage_t;
using LumPalStr::String_t;

namespace {

template <class E>
[[noreturn]] void RaiseAs(const LumPalMsg::Message_t& message) {
    throw E(message);
}

/// What one value means: its message and its exception. The last row of a table is for any other value.
struct Row {
    ReturnValue value;
    MessageRow message;
    void (*raise)(const LumPalMsg::Message_t&);
};

constexpr ReturnValue kAnyOther{};

const Row kSelectionRows[] = {
    {ReturnValue::NoPoliciesInstalled, msg::ForwardNoPoliciesInstalled, RaiseAs<NoPoliciesInstalledError>},
    {ReturnValue::NoPolicyFound, msg::ForwardNoPolicyFound, RaiseAs<PolicyNotFoundError>},
    {ReturnValue::NothingToDo, msg::ForwardNothingToDo, RaiseAs<NoPolicyOperation>},
    {ReturnValue::NotAuthorized, msg::ForwardOperationNotAllowed, RaiseAs<LumSecAuth::NotAuthorizedException>},
    {ReturnValue::ControlServiceErrors, msg::ForwardControlErrors, RaiseAs<LumCtrl::ControlException>},
    {kAnyOther, msg::ForwardUndefinedError, RaiseAs<PolicyRemoteException>},
};

const Row kListRows[] = {
    {ReturnValue::NoPoliciesInstalled, msg::ForwardListNoPoliciesInstalled, RaiseAs<NoPoliciesInstalledError>},
    {ReturnValue::NoPolicyFound, msg::ForwardListNoPoliciesFound, RaiseAs<PolicyNotFoundError>},
    {ReturnValue::NotAuthorized, msg::ForwardListNotAllowed, RaiseAs<LumSecAuth::NotAuthorizedException>},
    {kAnyOther, msg::ForwardUndefinedError, RaiseAs<PolicyRemoteException>},
};

const Row kFilesRows[] = {
    {ReturnValue::NoPoliciesInstalled, msg::ForwardListNoPoliciesInstalled, RaiseAs<NoPoliciesInstalledError>},
    {ReturnValue::NoPolicyFound, msg::ForwardListNoPoliciesFound, RaiseAs<PolicyNotFoundError>},
    {ReturnValue::NotAuthorized, msg::ForwardFilesNotAllowed, RaiseAs<LumSecAuth::NotAuthorizedException>},
    {kAnyOther, msg::ForwardUndefinedError, RaiseAs<PolicyRemoteException>},
};

const Row kConfigurationRows[] = {
    {ReturnValue::NotAuthorized, msg::ForwardConfigNotAllowed, RaiseAs<LumSecAuth::NotAuthorizedException>},
    {kAnyOther, msg::ForwardConfigUndefinedError, RaiseAs<SettingsRemoteException>},
};

/// For one policy, where the message of the file rows names the file.
const Row kInstallPolicyRows[] = {
    {ReturnValue::OwnerMismatch, msg::ForwardOwnerError, RaiseAs<PolicyOwnerError>},
    {ReturnValue::VersionNotHigher, msg::ForwardVersionError, RaiseAs<PolicyVersionError>},
    {ReturnValue::NotAuthorized, msg::ForwardInstallNotAllowed, RaiseAs<LumSecAuth::NotAuthorizedException>},
    {ReturnValue::ControlServiceErrors, msg::ForwardControlErrors, RaiseAs<LumCtrl::ControlException>},
    {kAnyOther, msg::ForwardInstallFileError, RaiseAs<PolicyRemoteException>},
};

const Row kInstallPackageRows[] = {
    {ReturnValue::OwnerMismatch, msg::ForwardPackageOwnerError, RaiseAs<PolicyOwnerError>},
    {ReturnValue::VersionNotHigher, msg::ForwardPackageVersionError, RaiseAs<PolicyVersionError>},
    {ReturnValue::NotAuthorized, msg::ForwardInstallNotAllowed, RaiseAs<LumSecAuth::NotAuthorizedException>},
    {ReturnValue::ControlServiceErrors, msg::ForwardControlErrors, RaiseAs<LumCtrl::ControlException>},
    {kAnyOther, msg::ForwardPackageErrors, RaiseAs<PolicyRemoteException>},
};

static_assert(msg::ForwardInstallNotAllowed.id == kInstallNotAllowed);
static_assert(msg::ForwardOperationNotAllowed.id == kOperationNotAllowed);
static_assert(msg::ForwardListNotAllowed.id == kListNotAllowed);
static_assert(msg::ForwardConfigNotAllowed.id == kSettingsNotAllowed);

const Row* Find(const Row* row, int value) {
    while (row->value != kAnyOther && static_cast<int>(row->value) != value) ++row;
    return row;
}

[[noreturn]] void RaiseRow(const Row& row, const String_t& argument, const Answer& answer) {
    CreateMessage_t message = MakeUnchecked(row.message);
    if (CountHoles(row.message.text) > 0) message << argument;
    message.AddDetails(CreateMessage_t(answer.text));
    row.raise(message);
    __builtin_unreachable();
}

bool IsSuccess(const Answer& answer) {
    return answer.value == static_cast<int>(ReturnValue::Success);
}

bool NamesTheFile(const Row& row) {
    return row.value == ReturnValue::OwnerMismatch || row.value == ReturnValue::VersionNotHigher ||
           row.value == kAnyOther;
}

}  // namespace

void DecodeInstall(const Answer& answer, InstallMethod method, const String_t& fileName, const String_t& host) {
    if (IsSuccess(answer)) return;
    const bool onePolicy = method == InstallMethod::Policy;
    const Row* row = Find(onePolicy ? kInstallPolicyRows : kInstallPackageRows, answer.value);
    RaiseRow(*row, onePolicy && NamesTheFile(*row) ? fileName : host, answer);
}

void DecodeSelection(const Answer& answer, const String_t& host) {
    if (!IsSuccess(answer)) RaiseRow(*Find(kSelectionRows, answer.value), host, answer);
}

void DecodeList(const Answer& answer, const String_t& host) {
    if (!IsSuccess(answer)) RaiseRow(*Find(kListRows, answer.value), host, answer);
}

void DecodeFiles(const Answer& answer, const String_t& host) {
    if (!IsSuccess(answer)) RaiseRow(*Find(kFilesRows, answer.value), host, answer);
}

void DecodeConfiguration(const Answer& answer, const String_t& host) {
    if (!IsSuccess(answer)) RaiseRow(*Find(kConfigurationRows, answer.value), host, answer);
}

}  // namespace LumConf
