/// @file
/// Who is told how a cluster monitor gets on.
#pragma once

#include "Applications.h"
#include "LumPalMsg.h"

namespace LumConfCluster {

/// Told of a monitor's work while it goes on, on the monitor's thread. What is overridden does not throw. The base does
/// nothing.
class MonitorWatcher {
public:
    /// How much of the applications a look at the cluster has read.
    enum class Look {
        Whole,   ///< all of them; a node without any configuration of them has none
        Partial  ///< as far as no fault was met: those that are not among them may still be there
    };

    virtual ~MonitorWatcher() = default;

    /// The applications and the sides of their instances: when a cluster is seen for the first time, and whenever the
    /// commands that follow from a new look at it have run, and what applications list was switched.
    virtual void Seen(const Applications&, Look) {}
    /// The instance has changed sides, and commands are about to run for that: at least one.
    virtual void CommandsBegin(const Application&, const Instance&) {}
    /// The instance has changed sides, and what commands there are have run. Not called when the stop of the process
    /// has cut them.
    virtual void CommandsEnd(const Application&, const Instance&) {}
    /// A cycle has ended with its work done, or by a failure that does not end the monitor.
    /// @param hindrance  why policies do not follow at present; empty where they do
    virtual void CycleEnded(const LumPalMsg::MessageList_t& /*hindrance*/) {}
};

}  // namespace LumConfCluster
