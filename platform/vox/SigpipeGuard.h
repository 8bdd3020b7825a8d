/// @file
/// Writing to a connection that the peer has closed must not end the process.
#pragma once

namespace LumVoxRpc {

/// Keeps SIGPIPE from this thread for a scope, and swallows the one that came up in it (the TLS library
/// writes without MSG_NOSIGNAL). One that was pending before stays.
class SigpipeGuard {
public:
    SigpipeGuard();
    ~SigpipeGuard();
    SigpipeGuard(const SigpipeGuard&) = delete;
    SigpipeGuard& operator=(const SigpipeGuard&) = delete;

private:
    bool pendingBefore = false;
    bool blockedBefore = false;
};

}  // namespace LumVoxRpc
