#include <sys/resource.h>

#include <algorithm>
#include <climits>

#include "DescriptorRoom.h"

namespace LumPal {

unsigned FirstKept(unsigned long limit, DescriptorUse use) noexcept {
    limit = std::min<unsigned long>(limit, UINT_MAX);
    const unsigned long kept = std::min<unsigned long>(kKeptDescriptors, limit / 2);
    return static_cast<unsigned>(limit - (use == DescriptorUse::Caller ? kept : kept / 2));
}

unsigned long MostDescriptors() noexcept {
    // Asked anew each time: an administrator may change the limit of a process that runs.
    rlimit limit{};
    return getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : RLIM_INFINITY;
}

bool LeavesEnough(int descriptor, DescriptorUse use) noexcept {
    return static_cast<unsigned>(descriptor) < FirstKept(MostDescriptors(), use);
}

}  // namespace LumPal
