/// @file
/// What the daemon remembers of its cluster monitors.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "LumConfCluster/MonitorWatcher.h"
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
    using Look = LumConfCluster::MonitorWatcher::Look;

    /// Reads what a former daemon has left.
    MonitorRecord(const char* product, Clock now);

    void Starting();
    /// A monitor has seen the instances so. What has changed sides without CommandsEnd, against the last look, also
    /// that of a predecessor or of another daemon, has done so while nobody watched: that is told.
    /// @param look  a partial one says nothing of those that it does not hold
    void Seen(const Sides& sides, Look look = Look::Whole);
    /// The commands of an instance for its new side are about to run. It is on the disk when this returns: who comes
    /// after a kill knows that they may have run.
    void CommandsBegin(const lumtools::InstanceSide& side);
    /// They have run, or there are none. What has run is off the disk when this returns: nobody waits for it any more.
    void CommandsEnd(const lumtools::InstanceSide& side);
    /// @param hindrance  empty: policies follow
    void CycleEnded(const LumPalMsg::MessageList_t& hindrance);
    /// The monitor has ended by itself.
    void Ended(const LumPalMsg::MessageList_t& reason, std::int64_t successorAfterSeconds);
    void Stopped();

private:
    void Enter(lumtools::MonitorState::Phase phase);
    void FollowSides(const Sides& sides, Look look);
    void ForgetGone(const Sides& sides);
    void TellUnwatched(const lumtools::InstanceSide& side) const;
    void TellBegun();
    void ForgetBegun();
    void NoteUnwatched(const lumtools::InstanceSide& side);
    /// As the last look has it from now on.
    void SetSide(const lumtools::InstanceSide& side);
    void Write();

    const Clock now;
    lumtools::MonitorState state, written;
    bool hasEnded = false;  ///< a monitor of this daemon
    bool failed = false;    ///< to be written
};

}  // namespace lumconfd
