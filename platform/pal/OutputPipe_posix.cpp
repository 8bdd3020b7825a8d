#include "OutputPipe_posix.h"

#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>

#include "LumPalIo.h"
#include "SystemError.h"

namespace LumPalCmd {

using LumPalIo::IOException_t;
using LumPalMsg::CreateError_t;

namespace {

constexpr std::int64_t kNothingYet = -2;
constexpr std::int64_t kEnd = -1;

}  // namespace

bool IsReadable(int descriptor) {
    pollfd polled{descriptor, POLLIN, 0};
    return poll(&polled, 1, 0) > 0;
}

std::int64_t OutputPipe::TakeKeptLocked(char* target, std::size_t length) {
    const std::size_t count = std::min(length, kept.size() - keptStart);
    kept.copy(target, count, keptStart);
    keptStart += count;
    if (keptStart == kept.size()) {
        kept = std::string();  // gives the memory back
        keptStart = 0;
    }
    return static_cast<std::int64_t>(count);
}

std::int64_t OutputPipe::ReadSourceLocked(char* target, std::size_t length) {
    for (;;) {
        const ssize_t count = read(source.Get(), target, length);
        if (count > 0) return count;
        if (count == 0) return ended = true, kEnd;
        if (errno == EAGAIN) return kNothingYet;
        if (errno != EINTR) LumPalIo::ThrowSystemError("Cannot read a program's output", {}, errno);
    }
}

std::int64_t OutputPipe::TryReadLocked(char* target, std::size_t length) {
    if (closed) throw IOException_t(CreateError_t("A program's output is read after it was closed."));
    if (keptStart < kept.size()) return TakeKeptLocked(target, length);
    if (cut) throw IOException_t(CreateError_t("A program's output was dropped, since nobody read it in time."));
    return ended ? kEnd : ReadSourceLocked(target, length);
}

std::int64_t OutputPipe::Read(char* target, std::size_t length, int end, const Deadline& deadline, OutputPipe& other) {
    LumPalThread::PlainLock_t lock(mutex);
    for (bool last = false;; last = IsReadable(end)) {
        // The look at the program's end comes before the last try: what it wrote is there by then.
        const std::int64_t count = TryReadLocked(target, length);
        if (count == kEnd || (count == kNothingYet && last)) return kEnd;
        deadline.Check();
        if (count != kNothingYet) return count;
        ++readers;
        lock.Unlock();
        bool beingRead = false;
        pollfd polled[3] = {{source.Get(), POLLIN, 0}, {end, POLLIN, 0}, {other.ToDrain(beingRead), POLLIN, 0}};
        if (poll(polled, 3, deadline.LeftMs()) > 0 && polled[2].revents) other.Drain();
        lock.Lock();
        --readers;
    }
}

std::size_t OutputPipe::Available() {
    const LumPalThread::PlainLock_t lock(mutex);
    if (closed || !piped) return 0;
    int waiting = 0;
    if (!ended && ioctl(source.Get(), FIONREAD, &waiting) != 0) waiting = 0;
    return kept.size() - keptStart + static_cast<std::size_t>(waiting);
}

void OutputPipe::Close() {
    const LumPalThread::PlainLock_t lock(mutex);
    closed = true;
    kept = std::string();
    keptStart = 0;
}

int OutputPipe::ToDrain(bool& beingRead) {
    const LumPalThread::PlainLock_t lock(mutex);
    if (!piped || ended) return -1;
    beingRead = beingRead || readers > 0;
    return readers > 0 ? -1 : source.Get();
}

void OutputPipe::Drain() {
    const LumPalThread::PlainLock_t lock(mutex);
    char bytes[65536];
    if (!piped || ended) return;
    const std::int64_t count = ReadSourceLocked(bytes, sizeof bytes);
    if (count <= 0 || closed) return;
    if (kept.size() - keptStart >= kKeptBytes) {
        cut = true;
    } else if (!cut) {
        kept.append(bytes, static_cast<std::size_t>(count));
    }
}

LumPal::Descriptor OutputPipe::Release() {
    const LumPalThread::PlainLock_t lock(mutex);
    return ended ? LumPal::Descriptor() : std::move(source);
}

}  // namespace LumPalCmd
