/// @file
/// What the daemon remembers of its cluster monitors.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "common/MonitorState.h"

namespace lumconfd {

/// Keeps the file of lumtools::MonitorState up to date, and says in the application log what people should know. The
/// file is written when something has changed, and only then. One that cannot be written is said, once until it can
/// be, and tried again with the next call. Used by one thread at a time. Nothing is raised.
class MonitorRecord {
public:
    /// Seconds since 1970-01-01T00:00:00Z.
    using Clock = std::function<std::int64_t()>;
    using Sides = std::vector<lumtools::InstanceSide>;

    /// Reads what a former daemon has left.
    MonitorRecord(const char* product, Clock now);

    void Starting();
    /// A monitor has seen the instances so. The first look of a monitor is held against the last one of its
    /// predecessor, also of another daemon: whatever has changed sides in between is told.
    void Seen(const Sides& sides);
    /// The monitor has ended by itself.
    void Ended(const LumPalMsg::MessageList_t& reason, std::int64_t successorAfterSeconds);
    void Stopped();

private:
    void Enter(lumtools::MonitorState::Phase phase);
    void FollowSides(const Sides& sides, bool watched);
    void Tell(const lumtools::InstanceSide& side) const;
    void NoteChange(const lumtools::InstanceSide& side, bool watched);
    void Write();

    const Clock now;
    lumtools::MonitorState state, written;
    bool hasEnded = false;  ///< a monitor of this daemon
    bool failed = false;    ///< to be written
};

}  // namespace lumconfd
