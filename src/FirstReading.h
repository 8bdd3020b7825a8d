/// @file
/// How a handler takes up its part of the configuration without missing a change.
#pragma once

#include "LumPalConfig.h"
#include "LumPalThread.h"

namespace LumConf {

/// Subscribes a handler to its namespace, then lets it read what stands there. The handler's Update takes the same
/// mutex: a change that comes meanwhile waits for it and is delivered behind the reading, so that none is lost and no
/// old value stands over a newer one. For the constructor of the handler's own class; the destructor unsubscribes.
/// @param read  reads the values as they are now; what it throws passes through, with the handler unsubscribed
template <class Read>
void RegisterAndRead(const LumPalConfig::ConfigNamespace_t& nameSpace, LumPalConfig::ConfigChangeHandler_i& handler,
                     LumPalThread::Mutex_t& mutex, Read read) {
    LumPalThread::MutexLock_t lock(mutex);
    nameSpace.Register(handler);
    try {
        read();
    } catch (...) {
        lock.Unlock();  // to unsubscribe waits for a call in flight
        nameSpace.Unregister(handler);
        throw;
    }
}

}  // namespace LumConf
