/// @file
/// The control service: components of the node register for events, triggers reach them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumCtrl {

LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, ControlException, LumPalMsg::RuntimeException_t);
/// No component with the target is registered.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, TargetException, ControlException);
/// No component is registered for the event.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, EventException, ControlException);

class LUMPAL_API Control {
public:
    class LUMPAL_API Options {
    public:
        /// true: return when the service has taken the trigger; false: wait for the components' acknowledgement.
        Options& SetAsynchronous(bool value) {
            asynchronous = value;
            return *this;
        }
        /// The node; empty, or the node's own core id, means this one.
        Options& SetTargetID(const LumPalStr::String_t& id) {
            targetId = id;
            return *this;
        }
        bool asynchronous = false;
        LumPalStr::String_t targetId;
    };
    /// Hands a trigger to the control service of the local host.
    /// @param target  name of one component, or empty for all that registered for the event
    /// @throws TargetException, EventException, LumPalIo::IOException_t when the service is not there,
    ///         ControlException when a component did not acknowledge in time
    static void Notify(const LumPalStr::String_t& event, const LumPalStr::String_t& value,
                       const LumPalStr::String_t& target, const Options& options);
};

/// The service itself: a Unix-domain socket below the node's root. lumconfd runs one.
class LUMPAL_API Service {
public:
    Service();
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    /// Opens the socket and serves. @throws LumPalIo::IOException_t when it is taken or cannot be made
    void Start();
    /// Closes; waiting triggers end with ControlException. A second call does nothing.
    void Stop();

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

/// A component's side: registers under a name for events and gets them in order.
class LUMPAL_API Component {
public:
    /// @param events  exact names, or a prefix with "*" at the end ("CHECK_POLICY:*")
    /// @throws LumPalIo::IOException_t when no service runs
    Component(const LumPalStr::String_t& name, const LumPalStr::String_t* events, int count);
    ~Component();
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;
    /// Waits for the next trigger.
    /// @return false after a time-out; throws LumPalIo::EOFException_t when the service went away
    bool Next(LumPalStr::String_t& event, LumPalStr::String_t& value, std::uint32_t milliseconds);
    /// Acknowledges the trigger that Next gave last.
    void Acknowledge();

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumCtrl
