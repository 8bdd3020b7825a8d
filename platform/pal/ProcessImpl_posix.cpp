#include "ProcessImpl_posix.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "Reaper_posix.h"
#include "SigpipeGuard.h"
#include "SystemError.h"

namespace LumPalCmd {

using LumPal::Descriptor;
using LumPalIo::IOException_t;
using LumPalMsg::CreateError_t;

namespace {

/// While a reader is at work the waiter looks only now and then whether it has left.
constexpr int kLookAgainMs = 10;
constexpr int kSignalBase = 128;

int ExitCodeOf(int status) {
    return WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

Process_t::Impl::Impl(Spawned spawned, const SpawnPlan& plan)
    : pid(spawned.pid),
      end(std::move(spawned.end)),
      leadsGroup(plan.leadsGroup),
      deadline(plan.limitMs, plan.endsOnStop),
      output(std::move(spawned.pipes[STDOUT_FILENO])),
      error(std::move(spawned.pipes[STDERR_FILENO])),
      inputPiped(spawned.pipes[STDIN_FILENO].IsOpen()),
      input(std::move(spawned.pipes[STDIN_FILENO])) {}

Process_t::Impl::~Impl() {
    input.Close();  // before the end is awaited: the program may wait for it
    Orphan orphan{pid, std::move(end), {output.Release(), error.Release()}};
    if (ended) {  // nobody is to write on
        for (Descriptor& pipe : orphan.outputs) pipe.Close();
    }
    if (collected || waitpid(pid, nullptr, WNOHANG) != 0) orphan.end.Close();
    if (orphan.end.IsOpen() || orphan.outputs[0].IsOpen() || orphan.outputs[1].IsOpen()) Adopt(std::move(orphan));
}

void Process_t::Impl::WriteInput(const char* bytes, std::size_t length) {
    const LumPalThread::PlainLock_t lock(inputMutex);
    if (!input.IsOpen()) throw IOException_t(CreateError_t("A program's input is written after it was closed."));
    const LumPal::SigpipeGuard guard;
    while (length > 0) {
        const ssize_t count = write(input.Get(), bytes, length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) LumPalIo::ThrowSystemError("Cannot write a program's input", {}, errno);
        bytes += count;
        length -= static_cast<std::size_t>(count);
    }
}

void Process_t::Impl::CloseInput() {
    const LumPalThread::PlainLock_t lock(inputMutex);
    input.Close();
}

int Process_t::Impl::PatienceMs(bool beingRead) const {
    const int left = ended ? -1 : deadline.LeftMs();
    if (!beingRead) return left;
    return left < 0 ? kLookAgainMs : std::min(left, kLookAgainMs);
}

void Process_t::Impl::DrainUntilEnd() {
    for (;;) {
        bool beingRead = false;
        pollfd polled[3] = {
            {end.Get(), POLLIN, 0}, {output.ToDrain(beingRead), POLLIN, 0}, {error.ToDrain(beingRead), POLLIN, 0}};
        if (poll(polled, 3, PatienceMs(beingRead)) < 0) continue;
        if (polled[0].revents) return;
        if (!ended) deadline.Check();
        if (polled[1].revents) output.Drain();
        if (polled[2].revents) error.Drain();
    }
}

int Process_t::Impl::CollectEnd() {
    const LumPalThread::PlainLock_t lock(endMutex);
    while (!collected) {
        collected = waitpid(pid, &status, 0) == pid;
        if (collected || errno == EINTR) continue;
        collected = lost = true;
    }
    if (lost)
        throw IOException_t(CreateError_t("The exit code of a program is lost: its end was collected elsewhere."));
    return ExitCodeOf(status);
}

bool Process_t::Impl::SignalLocked(int signal) noexcept {
    if (!collected) kill(leadsGroup ? -pid : pid, signal);
    return !collected;
}

void Process_t::Impl::Terminate(std::uint32_t milliseconds) noexcept {
    {
        const LumPalThread::PlainLock_t lock(endMutex);
        if (!SignalLocked(SIGTERM)) return;
    }
    // Nobody reads its output meanwhile: one that prints more than a pipe holds in ending is ended by force.
    pollfd polled{end.Get(), POLLIN, 0};
    poll(&polled, 1, static_cast<int>(std::min<std::uint32_t>(milliseconds, INT_MAX)));
    End();
}

void Process_t::Impl::End() noexcept {
    const LumPalThread::PlainLock_t lock(endMutex);
    if (!SignalLocked(SIGKILL)) return;
    ended = true;
    output.Close();
    error.Close();
}

int Process_t::Impl::WaitFor() {
    if (inputWriters == 0) CloseInput();
    DrainUntilEnd();
    return CollectEnd();
}

}  // namespace LumPalCmd
