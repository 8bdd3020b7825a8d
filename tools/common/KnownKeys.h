/// @file
/// Every key of a node's configuration: what it may hold, what holds without it, and when a change counts. One table;
/// docs/configuration.md says the same with more words.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace lumtools {

enum class ValueForm {
    Text,
    Truth,
    TruthOrEmpty,
    Port,
    Count,  ///< a number from 0 to `most`
    Range,  ///< a number from `least` to `most`
    Address,
    CoreId,
    AuditMode,
    SharedFiles,
    ListName,
    Servers,
    WaitTime,
    Product,
    Interval
};

struct KnownKey {
    const char* nameSpace;
    const char* name;
    ValueForm form;
    const char* kind;      ///< "seconds, 1 to 3600"
    const char* standard;  ///< what holds without it; "empty", "0: none"
    const char* takenUp;   ///< "at once", "after a restart" of the daemon, or a sentence
    const char* effect;    ///< a clause
    std::uint64_t least = 0, most = 0;
};

/// When a change counts.
inline constexpr const char* kAtOnce = "at once";
inline constexpr const char* kAfterRestart = "after a restart";

/// In the order of the paper.
std::span<const KnownKey> KnownKeys();
/// Null for one that is not known.
const KnownKey* FindKey(const std::string& nameSpace, const std::string& name);

/// What the value must be, null when it is in order: "must be ..." goes on with it.
const char* WantedValue(const KnownKey& key, const LumPalStr::String_t& value);
/// The same as a sentence that names namespace, key and value; empty when it is in order, and for a key that is not
/// known.
std::string WrongValue(const std::string& nameSpace, const std::string& name, const LumPalStr::String_t& value);

/// Whether it is an IP address, as the server takes one of BIND_ADDRESS, or empty.
bool IsBindAddress(const LumPalStr::String_t& value);
/// Whether it is empty, or stands for every address of a host. @param value  for which IsBindAddress holds
bool IsAnyAddress(const LumPalStr::String_t& value);

/// The port that the node's own tools call, by its "vox.http.ext.conf"; 0 for a value that is no port.
unsigned CalledPort(const LumPalConfig::Configuration_t& server);
/// Why the node's own tools would call a port that it does not serve, by its "vox.http.ext.conf"; empty when they would
/// not, and for values that are no ports.
std::string PortsApart(const LumPalConfig::Configuration_t& server);

/// What is unknown of the node's own namespaces, and of what looks like one of them, as sentences with the nearest
/// names; other namespaces belong to others.
std::vector<std::string> UnknownKeys(const LumPalConfig::ConfigGroup_t& group);
/// Those that have a name and no effect, as sentences.
std::vector<std::string> KeysWithoutEffect(const LumPalConfig::ConfigGroup_t& group);
/// What was probably meant by a namespace, or by a key of it, that nobody reads: the end of a sentence.
/// @param name  empty for the namespace as a whole
std::string NearestSetting(const std::string& nameSpace, const std::string& name);
/// The sentence of UnknownKeys on one key; empty when somebody may read it.
/// @param name  empty for the namespace as a whole
std::string NobodyReads(const std::string& nameSpace, const std::string& name);
/// A sentence for a key that the user has typed, with the nearest one.
std::string NoSuchKey(const std::string& name);

}  // namespace lumtools
