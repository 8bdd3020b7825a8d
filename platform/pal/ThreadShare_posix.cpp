#include "ThreadShare.h"

#include <sys/resource.h>
#ifdef __linux__
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace LumPalThread {

void TakeSmallShare() noexcept {
#ifdef __linux__
    // Elsewhere the call is about the whole process.
    constexpr int kNicer = 10;
    const auto self = static_cast<id_t>(syscall(SYS_gettid));
    setpriority(PRIO_PROCESS, self, getpriority(PRIO_PROCESS, self) + kNicer);
#endif
}

}  // namespace LumPalThread
