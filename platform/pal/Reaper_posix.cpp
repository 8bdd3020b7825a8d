#include "Reaper_posix.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <vector>

#include "LumPalPlainMutex.h"

namespace LumPalCmd {

using LumPal::Descriptor;

namespace {

void Drop(Descriptor& output) {
    char bytes[65536];
    const ssize_t count = read(output.Get(), bytes, sizeof bytes);
    if (count == 0) output.Close();
}

bool IsReady(const pollfd& polled) {
    return polled.fd >= 0 && polled.revents != 0;
}

class Reaper : public LumPalThread::Runnable_i {
public:
    void Add(Orphan orphan) {
        const LumPalThread::PlainLock_t lock(mutex);
        added.push_back(std::move(orphan));
        if (running) {
            eventfd_write(wake.Get(), 1);
        } else {
            LumPalThread::Thread_t("LumPal:Reaper").Start(*this);
            running = true;
        }
    }

    void Run(const LumPalThread::Thread_t&) override {
        while (TakeAdded()) Step();
    }

private:
    /// False, and the thread is to end, when there is no work.
    bool TakeAdded() {
        const LumPalThread::PlainLock_t lock(mutex);
        for (Orphan& orphan : added) orphans.push_back(std::move(orphan));
        added.clear();
        return running = !orphans.empty();
    }
    void Step() {
        std::vector<pollfd> polled{{wake.Get(), POLLIN, 0}};
        for (const Orphan& orphan : orphans) {
            polled.push_back({orphan.end.Get(), POLLIN, 0});
            for (const Descriptor& output : orphan.outputs) polled.push_back({output.Get(), POLLIN, 0});
        }
        poll(polled.data(), polled.size(), -1);
        eventfd_t ignored;
        if (IsReady(polled[0])) eventfd_read(wake.Get(), &ignored);
        for (std::size_t i = 0; i < orphans.size(); ++i) Serve(orphans[i], &polled[1 + 3 * i]);
        std::erase_if(orphans, [](const Orphan& orphan) {
            return !orphan.end.IsOpen() && !orphan.outputs[0].IsOpen() && !orphan.outputs[1].IsOpen();
        });
    }
    static void Serve(Orphan& orphan, const pollfd* polled) {
        if (IsReady(polled[0])) {
            waitpid(orphan.pid, nullptr, WNOHANG);
            orphan.end.Close();
        }
        for (int i = 0; i < 2; ++i) {
            if (IsReady(polled[1 + i])) Drop(orphan.outputs[i]);
        }
    }

    const Descriptor wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    LumPalThread::PlainMutex_t mutex;
    std::vector<Orphan> added LUMPAL_GUARDED_BY(mutex);
    bool running LUMPAL_GUARDED_BY(mutex) = false;
    std::vector<Orphan> orphans;  // the thread's own
};

}  // namespace

void Adopt(Orphan orphan) noexcept {
    static Reaper& reaper = *new Reaper;  // never destroyed: it may work until the process ends
    try {
        reaper.Add(std::move(orphan));
    } catch (...) {
        // No memory or no room for a thread: what was added is taken up with the next one.
    }
}

}  // namespace LumPalCmd
