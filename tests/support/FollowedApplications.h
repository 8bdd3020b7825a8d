/// @file
/// A node whose monitor follows applications.
#pragma once

#include <vector>

#include "LumPalDaemon.h"
#include "MonitoredNode.h"

using TestApplications = std::vector<TestApplication>;

/// With the policies a and b.
class FollowedApplications : public MonitoredNode {
protected:
    FollowedApplications() {
        for (const char* id : {"a", "b"}) Install(id);
    }
    ~FollowedApplications() override { LumPalRuntime::SetStopping(false); }
    /// One application with one instance of web, which lists the policy a.
    TestApplication Shop() const { return {"shop", {{"one", "web"}}, {"a"}, {Note("start")}, {Note("stop")}}; }
};
