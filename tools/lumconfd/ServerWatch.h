/// @file
/// Watches the servers that manage the node.
#pragma once

#include <chrono>
#include <map>
#include <string>

#include "LumPalBell.h"
#include "LumPalMsg.h"
#include "lumconfd/DaemonKeys.h"

namespace lumconfd {

/// Asks the hosts of PING_SERVER for their inventory every WAIT_TIME seconds, on a thread of its own, and logs in the
/// application log which of them answer: at the first time and when it changes. With LOCATE_SERVER the hosts stand for
/// one server: they are asked in their order until one answers, and the log says which one it is.
class ServerWatch final {
public:
    /// @throws what reading the configuration throws; LumPalMsg::RuntimeException_t without room for a thread
    ServerWatch();
    /// Waits for a question that is out: a few seconds at most, one when the process ends.
    ~ServerWatch();
    ServerWatch(const ServerWatch&) = delete;
    ServerWatch& operator=(const ServerWatch&) = delete;

    /// Asks no further question. Returns at once.
    void Stop() { thread.Stop(); }

private:
    std::chrono::milliseconds AskAll();
    void Round(const DaemonKeys& now);
    void Ping(const std::string& host);
    void Locate(const std::vector<std::string>& hosts);

    LumPalThread::StepThread_t thread;  ///< rung by the keys
    LiveKeys keys;
    // The thread's own.
    DaemonKeys asked;
    std::map<std::string, bool> answered;  ///< what was logged, by host
};

}  // namespace lumconfd
