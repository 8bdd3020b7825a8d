/// @file
/// What the commands of lumtrust share.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <optional>
#include <string>

#include "LumPalArray.h"
#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "LumPalStr.h"
#include "LumSecCore.h"
#include "common/Program.h"

namespace lumtrust {

/// Modes of what is written.
inline constexpr unsigned kSecretMode = 0600, kPublicMode = 0644, kSecretFolderMode = 0700;

using lumtools::Actions;

/// Each adds its subcommands to the application.
void AddAuthority(CLI::App& app, Actions& actions);
void AddIdentity(CLI::App& app, Actions& actions);
void AddTrusted(CLI::App& app, Actions& actions);
void AddList(CLI::App& app, Actions& actions);
void AddRights(CLI::App& app, Actions& actions);
void AddRevoked(CLI::App& app, Actions& actions);
void AddStatus(CLI::App& app, Actions& actions);
void AddEnroll(CLI::App& app, Actions& actions);
/// --timeout for those that tell the daemon; behind all others.
void AddPatience(CLI::App& app, Actions& actions);
/// What --timeout says; none when it was not given.
std::optional<std::chrono::seconds> GetPatience();

/// @throws LumPalMsg::RuntimeException_t with the text, its "%1" being the name
[[noreturn]] void Refuse(const char* text, const std::string& name);

/// The certificates of a file, at least one. @throws LumPalMsg::Exception_t naming it
std::vector<LumSecCore::X509Certificate> ReadCertificates(const std::string& path);
/// A file of reasonable size as a whole. @throws LumPalIo::IOException_t naming it, also for a larger one
LumPalArray::CharArray_t ReadFile(const std::string& path);
/// Puts a file in the place of another one, as LumPalIo::ReplaceFile: it is on the disk once this returns. Missing
/// folders are made for the owner alone. @throws LumPalIo::IOException_t
void ReplaceFile(const LumPalIo::File_t& file, const LumPalArray::CharArray_t& bytes, unsigned mode);
/// Forces to the disk that a file is as it is, or is not there: what says that there is nothing to do promises it too,
/// and the last step of the run that did it may have failed. @throws LumPalIo::IOException_t
void FlushWithFolder(const LumPalIo::File_t& file);
/// As ReplaceFile, but never over an existing file. @throws LumPalMsg::RuntimeException_t
void CreateFile(const LumPalIo::File_t& file, const LumPalArray::CharArray_t& bytes, unsigned mode);

/// Puts a key and the certificate that it belongs to in the place of those in use. Wherever it is interrupted, the node
/// has the old pair or the new one: the key lies in "requested" until the certificate stands, and is found there.
/// Both are on the disk then.
/// @param certificate  PEM, with the chain behind it. @throws LumPalIo::IOException_t
void InstallPair(const LumPalStr::String_t& coreId, const LumPalArray::CharArray_t& certificate,
                 const LumSecCore::Key& key);
/// Ends an installation that was interrupted: the key in "requested" that belongs to the certificate in use takes its
/// place. Does nothing otherwise. @throws LumPalIo::IOException_t
void FinishInstallation(const LumPalStr::String_t& coreId);

/// Held by whoever reads something of the node in order to change it; the next one waits. Who takes it deletes what
/// runs that were killed have left aside in the node's folders.
class ChangeLock {
public:
    /// @throws LumPalIo::IOException_t; LumSecAuth::NotAuthorizedException when the node belongs to another user, who
    ///         could not read what this one writes; LumPalMsg::RuntimeException_t when the next one has waited as long
    ///         as it may
    ChangeLock();

private:
    LumPalRuntime::InstanceLock_t lock;
};

/// A time as "2026-11-21T10:00:00Z". @param seconds  since 1970
std::string UtcTime(std::int64_t seconds);

/// When a file of the key store was written, for people.
std::string WaitsSince(const LumPalIo::File_t& file);

/// The files of a part of the key store, by name. @param part  as below. @param suffix  with its dot
std::vector<LumPalIo::File_t> StoreFiles(const char* part, const char* suffix);
/// A file of the key store. @param part  "own", "trusted" or "requested"
LumPalIo::File_t StoreFile(const char* part, const LumPalStr::String_t& alias, const char* suffix);
/// An alias as it was given. @throws LumPalMsg::RuntimeException_t for one that is none
LumPalStr::String_t CheckedAlias(const std::string& alias);

/// Lets a running daemon take up what was changed, and waits until it did; says on standard output what came of it.
/// @throws LumPalMsg::RuntimeException_t when it does not
void TellDaemon();
/// Likewise, of keys and certificates: those that cannot be used, the daemon would not take up as a whole.
void TellDaemonOfKeys();

}  // namespace lumtrust
