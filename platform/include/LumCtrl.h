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
        /// The longest time for all of it, at least 1; without it CONTROL_ACK_TIMEOUT counts for the components, and
        /// the service itself is waited for a little longer.
        Options& SetTimeout(std::uint32_t milliseconds) {
            timeout = milliseconds > 0 ? milliseconds : 1;
            return *this;
        }
        bool asynchronous = false;
        LumPalStr::String_t targetId;
        std::uint32_t timeout = 0;  ///< milliseconds; 0: none was set
    };
    /// Hands a trigger to the control service of the local host. Each component gets its triggers in the order
    /// in which they were handed over, synchronous or not, the next one when it has acknowledged the last.
    /// A synchronous trigger waits as long as CONTROL_ACK_TIMEOUT of "conf.core" says (seconds, default 30).
    /// One that was not acknowledged in time still reaches its components. Any thread, also of the service's process.
    /// @param target  name of one component, or empty for all that registered for the event
    /// @throws TargetException, EventException, LumPalIo::IOException_t when the service is not there,
    ///         ControlException naming the components that did not acknowledge in time or went away before,
    ///         and for a trigger of more than 16 MiB
    static void Notify(const LumPalStr::String_t& event, const LumPalStr::String_t& value,
                       const LumPalStr::String_t& target, const Options& options);
};

/// The service itself: a Unix-domain socket (`control.sock` in folder kind 9, mode 0600, with `control.lock`
/// beside it). Programs of the same user and of root may speak to it. lumconfd runs one.
/// A component that leaves 10,000 triggers or 64 MiB of them waiting is dropped, with a line in the application log.
/// Where memory runs out the program that needs it is dropped; where connections or descriptors do, one that says
/// nothing.
class LUMPAL_API Service {
public:
    /// Components that are registered with the services of this process. Any thread.
    static unsigned CountComponents() noexcept;
    Service();
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    /// Opens the socket and serves; a socket that a dead service left is removed.
    /// @throws LumPalIo::IOException_t when another service lives or the socket cannot be made;
    ///         LumPalMsg::IllegalStateError_t when started before and not stopped
    void Start();
    /// For a node that ends: from now on no trigger waits for an acknowledgement. Those that wait end with
    /// ControlException; later ones still go to their components, and end so too unless they are asynchronous.
    /// Returns at once; before Start and after Stop it does nothing.
    void StopWaiting();
    /// Closes; waiting triggers end with ControlException. A component that leaves triggers unacknowledged is named
    /// in the application log. A second call does nothing.
    void Stop();

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

/// A component's side: registers under a name for events and gets them in order.
class LUMPAL_API Component {
public:
    /// How long a service may take to answer, unless the caller says otherwise.
    static constexpr std::uint32_t kRegistrationMs = 30000;
    /// @param name    one that no other component of the node bears now
    /// @param events  exact names, or a prefix with "*" at the end ("CHECK_POLICY:*"); at least one
    /// @param milliseconds  how long the service may take to answer
    /// @throws LumPalIo::IOException_t when no service runs, it does not answer, or it refuses the name or an event
    Component(const LumPalStr::String_t& name, const LumPalStr::String_t* events, int count,
              std::uint32_t milliseconds = kRegistrationMs);
    ~Component();
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;
    /// Waits for the next trigger; it comes only after the last one was acknowledged.
    /// @param milliseconds  0xFFFFFFFF waits without limit
    /// @return false after a time-out and when a signal was handled; throws LumPalIo::EOFException_t when the service
    /// went away
    bool Next(LumPalStr::String_t& event, LumPalStr::String_t& value, std::uint32_t milliseconds);
    /// Acknowledges the trigger that Next gave last.
    /// @throws LumPalMsg::IllegalStateError_t when it was acknowledged before; LumPalIo::IOException_t
    void Acknowledge();

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumCtrl
