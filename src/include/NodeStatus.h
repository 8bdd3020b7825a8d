/// @file
/// How a node fares, as it tells its operator.
#pragma once

#include <cstdint>
#include <vector>

#include "Export.h"
#include "LumPalStr.h"

namespace LumConf {

/// A value. Moments are seconds since 1970-01-01T00:00:00Z.
struct LUMCONF_API NodeStatus {
    struct Certificate {
        LumPalStr::String_t kind;  ///< "own" or "trusted"
        LumPalStr::String_t name;  ///< the subject's common name
        std::int64_t end = 0;
    };
    struct Error {
        std::int64_t time = 0;
        LumPalStr::String_t text;
    };

    LumPalStr::String_t version, coreId;
    std::int64_t started = 0;
    std::uint32_t port = 0;
    bool tls = false;              ///< the port is served with TLS
    bool onLoopbackAlone = false;  ///< the port was opened without a certificate
    bool awaitsRestart = false;    ///< a certificate has come or gone: a new start serves the port otherwise
    std::uint32_t policies = 0, enabled = 0, disabled = 0, missingFiles = 0;
    LumPalStr::String_t settingsBroken;  ///< why the settings policies are not merged; empty when they are
    std::uint32_t queued = 0;            ///< changes that consumers will be told of with the next notification
    std::uint32_t consumers = 0;         ///< programs that listen to the control service
    LumPalStr::String_t cluster;         ///< the product that is followed; empty for none
    std::vector<Certificate> certificates;
    std::vector<Error> errors;  ///< the last ones of the application log, the newest last
};

}  // namespace LumConf
