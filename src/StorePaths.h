/// @file
/// Where the files of a node's policies live. Nothing is created; the root is that of LumPalRuntime::Dir_t.
#pragma once

#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumConf::paths {

/// Every installed policy: <type name>/<id>_header.xml with its data files beside it.
LumPalIo::File_t PolicyInstallDirectory();
/// Base directory of the library's own files.
LumPalIo::File_t BaseDirectory();
/// Work directory of install and signing.
LumPalIo::File_t TemporaryDirectory();
/// Where transferred policies land.
LumPalIo::File_t IncomingDirectory();
/// Says which change of a policy is being made, so that a start can finish it after a crash.
LumPalIo::File_t ChangeRecordFile();
/// Holds the settings files.
LumPalIo::File_t SettingsDirectory();
LumPalIo::File_t SettingsFile();
LumPalIo::File_t NewSettingsFile();
/// The list of applications.
LumPalIo::File_t ApplicationListFile();
/// What one application is. @param name  its name, which together with the suffix is a plain one
LumPalIo::File_t ApplicationFile(const LumPalStr::String_t& name);
/// Where it is looked for next.
LumPalIo::File_t OtherApplicationFile(const LumPalStr::String_t& name);
/// Directory of the audit log, as the log takes it.
LumPalStr::String_t AuditLogDirectory();

}  // namespace LumConf::paths
