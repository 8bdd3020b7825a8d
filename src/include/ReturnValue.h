/// @file
/// What the RPC handlers answer and clients decode.
#pragma once

namespace LumConf {

enum class ReturnValue {
    Success = 1,
    NoPoliciesInstalled = 2,
    NoPolicyFound = 3,
    NothingToDo = 4,
    OwnerMismatch = 5,
    VersionNotHigher = 6,
    OtherFailure = 7,
    NotAuthorized = 8,
    ControlServiceErrors = 9
};

/// "PolicyInstallMethod": what the byte array of an install holds.
enum class InstallMethod { Policy = 1, Package = 2 };

/// "PolicyOperationMode" of "policyOp".
enum class OperationMode {
    Disable = 2,
    Enable = 3,
    Remove = 4,
    SetOwner = 5,
    AddCategory = 6,
    RemoveCategory = 7,
    RemoveAllCategories = 8,
    AddAttribute = 9,
    RemoveAttribute = 10,
    RemoveAllAttributes = 11,
    Notify = 13,
    ReinitCache = 15
};

/// "PolicyOperationMode" of "configOp".
enum class ConfigMode { Get = 17, Set = 18, ClearNamespace = 19, ClearAttribute = 20 };

/// Rights of a sender in the domain "conf".
enum Right : unsigned {
    RightInstall = 1,
    RightRemove = 2,
    RightEnable = 4,
    RightDisable = 8,
    RightList = 16,
    RightModify = 32,
    RightConfigGet = 64,
    RightConfigSet = 128
};

}  // namespace LumConf
