/// @file
/// The one place where a client of the configuration server touches the wire.
#pragma once

#include <vector>

#include "LumPalArray.h"
#include "LumPalConfig.h"
#include "LumPalNet.h"
#include "LumPalStr.h"
#include "LumVoxMsg.h"
#include "LumVoxRpc.h"
#include "NodeStatus.h"
#include "PolicyContainer.h"
#include "PolicyForwarder.h"
#include "ReturnValue.h"
#include "StoredPolicy.h"

namespace LumConf {

class InstallOptions;
class Selection;

/// What a send operation is for; a guard against a wrong call.
enum class RequestKind { Install = 1, Selection = 2, List = 3, Configuration = 5 };

/// Builds the address, fills the envelope, makes the call, and turns the node's return value and return text into
/// success or an exception. Every send blocks until the answer has come; several threads may send at once, and
/// a forwarder can be used again after a failure. Failures of the transport pass unchanged.
class MessageForwarder : public LumVoxMsg::Messenger {
public:
    /// With a new messenger that only sends.
    MessageForwarder();
    /// Shares the caller's messenger.
    explicit MessageForwarder(const LumVoxMsg::Messenger& messenger);

    /// @param host  trimmed in place; only the bare word "localhost" on a node without certificate takes plain HTTP
    /// @throws LumPalMsg::IllegalArgumentError_t HostEmpty for an empty host
    static LumPalNet::URI_t GetTargetUri(LumPalStr::String_t& host, const LumPalStr::String_t& path);

    /// @throws PolicyOwnerError, PolicyVersionError, LumSecAuth::NotAuthorizedException, LumCtrl::ControlException,
    ///         PolicyRemoteException; LumPalMsg::IllegalStateError_t ForwarderInstallState for another kind
    void SendInstall(const LumPalStr::String_t& method, RequestKind kind, const LumPalStr::String_t& host,
                     const LumPalStr::String_t& fileName, const LumPalArray::CharArray_t& data,
                     const InstallOptions& options, InstallMethod installMethod) const;
    /// @throws NoPoliciesInstalledError, PolicyNotFoundError, NoPolicyOperation, LumSecAuth::NotAuthorizedException,
    ///         LumCtrl::ControlException, PolicyRemoteException; LumPalMsg::IllegalStateError_t ForwarderSelectionState
    ///         for another kind
    void SendSelection(const LumPalStr::String_t& method, RequestKind kind, OperationMode mode,
                       const LumPalStr::String_t& host, const LumPalStr::String_t& argument, const Selection& selection,
                       const PolicyForwarder::Options& options) const;
    /// @throws PolicyNotFoundError SoapNoPolicyObject for an answer without a list, also when its return value tells a
    ///         failure; NoPoliciesInstalledError, PolicyNotFoundError, LumSecAuth::NotAuthorizedException,
    ///         PolicyRemoteException; LumPalMsg::IllegalStateError_t ForwarderListState for another kind
    PolicyContainer SendList(const LumPalStr::String_t& method, RequestKind kind, const LumPalStr::String_t& host,
                             const LumPalStr::String_t& targetId, const Selection& selection) const;
    /// Likewise the policies of a type that name one of the data files, each with those of them that it names.
    PolicyContainer SendListNaming(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId,
                                   const LumPalStr::String_t& typeName,
                                   const std::vector<LumPalStr::String_t>& dataFiles) const;
    /// As SendList. The selection travels in the current numbering: who knows the question has it.
    std::vector<StoredPolicy> SendFiles(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId,
                                        const Selection& selection, StoredFiles what) const;
    /// What SendList throws but the errors of a selection; PolicyRemoteException also of a node that does not know the
    /// question
    NodeStatus SendStatus(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId) const;
    /// @param package  the database that is meant; empty for the node's own
    /// @return the group of the answer, empty when none arrived
    /// @throws LumSecAuth::NotAuthorizedException ForwardConfigNotAllowed, SettingsRemoteException
    ///         ForwardConfigUndefinedError; LumPalMsg::IllegalStateError_t ForwarderConfigState for another kind
    LumPalConfig::ConfigGroup_t SendConfig(const LumPalStr::String_t& method, RequestKind kind, ConfigMode mode,
                                           const LumPalStr::String_t& host, const LumPalStr::String_t& targetId,
                                           const LumPalStr::String_t& package,
                                           const LumPalConfig::ConfigGroup_t& group) const;

private:
    /// @param host  trimmed in place
    LumVoxRpc::RpcCall CreateCall(LumPalStr::String_t& host, const LumPalStr::String_t& targetId) const;

    LumPalConfig::Configuration_t configuration;
};

}  // namespace LumConf
