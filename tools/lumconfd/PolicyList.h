/// @file
/// The merged policy list as a file of the node.
#pragma once

#include "LumPalBell.h"
#include "LumPalStr.h"
#include "lumconfd/DaemonKeys.h"

namespace lumconfd {

/// Keeps the list of the installed policies up to date in the base folder of the library, as long as FORMAT_POLICY_LIST
/// says so. A thread of its own writes it when the object is made, after each change of the policies and of the keys;
/// changes in quick succession share one writing, so that it takes a tenth of the thread's time at most. The file is
/// replaced in one step, and what a daemon that was killed has left beside it goes when the object is made, whatever
/// the keys say. What cannot be written is logged in the application log. One for a root.
class PolicyList final {
public:
    /// @throws what reading the configuration throws; LumPalMsg::RuntimeException_t without room for a thread
    PolicyList();
    /// Writes what has changed last, and ends the thread.
    ~PolicyList();
    PolicyList(const PolicyList&) = delete;
    PolicyList& operator=(const PolicyList&) = delete;

private:
    std::chrono::milliseconds WriteIfWanted(LumPalThread::Bell_t& bell);
    void Keep(const LumPalStr::String_t& name, LumPalThread::Bell_t& bell);

    LumPalThread::StepThread_t thread;  ///< rung by the keys and by changes
    LiveKeys keys;
};

}  // namespace lumconfd
