/// @file
/// Numbers of the catalogue's messages by which programs tell failures of one class apart.
#pragma once

namespace LumConf {

/// Of a PolicyNotFoundError: the answer of a node held no list, which says nothing of the node's policies.
inline constexpr unsigned kNoListInAnswer = 153;

// Of a LumSecAuth::NotAuthorizedException: what the node has refused.
inline constexpr unsigned kInstallNotAllowed = 133;
inline constexpr unsigned kOperationNotAllowed = 140;
inline constexpr unsigned kListNotAllowed = 143;
inline constexpr unsigned kSettingsNotAllowed = 145;

// Of keys: there is no id to look them up by, there are none to sign with, there are none to prove with.
inline constexpr unsigned kCoreIdEmpty = 37;
inline constexpr unsigned kSignKeyStoreErrors = 45;
inline constexpr unsigned kDataKeyStoreNotAccessible = 32;
inline constexpr unsigned kDataSignatureNotValidated = 33;  ///< a data file is there, and not proven

}  // namespace LumConf
