/// @file
/// What the daemon leaves about its cluster monitor, for those who ask how it stands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "LumPalStr.h"

namespace lumtools {

/// An instance of an application, and whether it is online on this node. Texts are UTF-8.
struct InstanceSide {
    std::string application, name, group;
    bool here = false;

    bool operator==(const InstanceSide& other) const = default;
    /// Whether it is the same instance, on whatever side.
    bool IsSameInstance(const InstanceSide& other) const;
};

/// How a monitor stands. Times are seconds since 1970-01-01T00:00:00Z; 0 is never.
struct MonitorState {
    enum class Phase {
        Starting,  ///< it looks for the cluster
        Watching,  ///< it follows the cluster
        Waiting,   ///< it has ended by itself, and a successor starts at successorAt
        Stopped    ///< the daemon has stopped it
    };

    std::string product;  ///< the display name of the one whose daemon file is there
    Phase phase = Phase::Starting;
    std::int64_t since = 0;  ///< when that began
    std::int64_t endedAt = 0;
    std::string endedBy;           ///< the messages of the last one that has ended by itself, a line each
    std::int64_t successorAt = 0;  ///< in the phase Waiting
    std::vector<InstanceSide> instances;
    /// Those that have changed sides while nobody watched, so that no commands were run for where they are now.
    std::vector<InstanceSide> changed;
    /// Those whose commands for this side had begun when this was written, and may not run to their end.
    std::vector<InstanceSide> begun;
    std::int64_t begunAt = 0;  ///< when they had; 0 without any, and where a former daemon has written it
    std::string hinderedBy;    ///< in the phase Watching: why policies do not follow at present; empty where they do

    bool operator==(const MonitorState& other) const = default;

    /// The file of the root as it is set now.
    static LumPalStr::String_t Path();
    /// Nothing when there is no file. A file tells of the past unless somebody serves the root.
    /// @throws LumPalIo::IOException_t; LumPalMsg::RuntimeException_t for what is no such file
    static std::optional<MonitorState> Read();
    /// Replaces the file, on the disk when it returns. @throws LumPalIo::IOException_t
    void Write() const;
};

/// A word for people and for JSON.
const char* DisplayText(MonitorState::Phase phase) noexcept;

}  // namespace lumtools
