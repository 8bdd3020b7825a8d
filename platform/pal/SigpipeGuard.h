/// @file
/// Writing to a connection or a program that has closed its end must not end the process.
#pragma once

namespace LumPal {

/// Keeps SIGPIPE from this thread for a scope, and swallows the one that came up in it (write(2) on a
/// pipe raises it, and so does the TLS library, which writes without MSG_NOSIGNAL). One that was pending before stays.
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

}  // namespace LumPal
