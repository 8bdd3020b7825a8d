/// @file
/// How the node fares that a daemon serves.
#pragma once

#include "PolicyForwarder.h"
#include "common/HostCommand.h"
#include "common/Lazy.h"

namespace lumconfd {

/// Asks the daemon that serves this root, as any client does. Adds --timeout, --json and --quiet. Each failure, also
/// something that somebody has to mend, has the code 1; only where this user has no right it is another one.
class Status : public lumtools::HostCommand {
public:
    /// @param only  the option that these belong to
    Status(CLI::App& app, CLI::Option* only);

private:
    lumtools::Answer Ask(const std::string& host) const override;

    lumtools::Lazy<LumConf::PolicyForwarder> forwarder;
};

}  // namespace lumconfd
