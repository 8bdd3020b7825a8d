/// @file
/// The entry of the system: a daemon makes one ConfigServer, starts it and stops it.
#pragma once

#include <functional>
#include <memory>

#include "Export.h"
#include "LumVoxMsg.h"
#include "NodeStatus.h"

namespace LumConf {

/// The remote endpoint of a node. Constructing it loads the store and brings the policy side up; requests arrive
/// only after Start. Used by one thread.
class LUMCONF_API ConfigServer {
public:
    /// @throws LumPalIo::IOException_t when a directory of the store cannot be made
    /// @throws LumPalMsg::IllegalStateError_t when another process serves this root; nothing is touched then
    ConfigServer();
    ConfigServer(const ConfigServer&) = delete;
    ConfigServer& operator=(const ConfigServer&) = delete;
    /// Closes a messenger of its own, and waits for calls in flight, at most one second for each handler. A messenger
    /// of the caller must have been closed before, by Stop or by the caller: it would go on to reach the handlers.
    ~ConfigServer();

    /// Serves on a messenger of its own. A failure is written to the application log (179, 180) and not raised:
    /// a daemon asks IsServing.
    void Start();
    /// Serves on the caller's messenger, which is rooted at "/" and which Stop closes; null makes one. Failures as
    /// above.
    void Start(LumVoxMsg::Messenger* messenger);
    /// The first step of Stop, which does not wait: the port is closed, requests that have not begun are answered with
    /// 503, none begins any more; those that have begun go on.
    void StopReceiving();
    /// Closes the messenger, stops the policy worker, removes the temporary directories.
    /// @throws LumPalMsg::IllegalStateError_t 196 when the worker does not run; the directories then stay
    void Stop();

    /// Takes up changed rights: what the remote method "mgrconf" does.
    void UpdateAuthorization();

    /// Lets a function know of every call that may have changed the installed policies, failed ones included, before
    /// the call is answered. It runs on the threads of the calls, one at a time, and must be quick and raise nothing.
    /// An empty function takes it away: none runs any more then. There is one for the process.
    static void TellOfChanges(std::function<void()> listener);

    /// What a program that serves the node adds to the answer of "nodeStatus": called on any thread, and must not
    /// block. An empty function takes it away: none runs any more then.
    void AddToStatus(std::function<void(NodeStatus& status)> add);

    /// Whether requests can arrive.
    bool IsServing() const;
    /// The port; 0 when not serving.
    unsigned GetPort() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumConf
