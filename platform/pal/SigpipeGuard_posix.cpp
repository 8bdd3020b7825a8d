#include <pthread.h>
#include <signal.h>
#include <time.h>

#include "SigpipeGuard.h"

namespace LumPal {
namespace {

sigset_t OnlySigpipe() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool IsPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

SigpipeGuard::SigpipeGuard() : pendingBefore(IsPending()) {
    const sigset_t set = OnlySigpipe();
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &set, &before);
    blockedBefore = sigismember(&before, SIGPIPE) == 1;
}

SigpipeGuard::~SigpipeGuard() {
    const sigset_t set = OnlySigpipe();
    const timespec now{};
    if (!pendingBefore && IsPending()) sigtimedwait(&set, nullptr, &now);
    if (!blockedBefore) pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace LumPal
