// RootLock_t of LumPalDaemon.h.
#include <map>

#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "LumPalPlainMutex.h"
#include "LumPalRuntime.h"

namespace LumPalRuntime {

using LumPalStr::String_t;

namespace {

constexpr const char* kLockFile = "lumconfd.lock";

/// The locks that this process has, by their paths.
struct Held {
    LumPalThread::PlainMutex_t mutex;
    std::map<String_t, std::weak_ptr<InstanceLock_t>> locks LUMPAL_GUARDED_BY(mutex);
};

Held& TheHeld() {
    static Held& held = *new Held;  // never destroyed: objects of all kinds may outlive it
    return held;
}

}  // namespace

String_t RootLock_t::GetPath() {
    return Dir_t::Path(Root) + kLockFile;
}

bool RootLock_t::TryTake() {
    const String_t path = GetPath();
    Held& all = TheHeld();
    const LumPalThread::PlainLock_t lock(all.mutex);
    std::weak_ptr<InstanceLock_t>& known = all.locks[path];
    // A second lock of the file would be refused, though this process has the first one.
    if ((held = known.lock())) return true;
    LumPalIo::File_t(Dir_t::Path(Root)).Mkdirs();
    auto fresh = std::make_shared<InstanceLock_t>();
    if (!fresh->TryLock(path)) return false;
    known = held = std::move(fresh);
    return true;
}

}  // namespace LumPalRuntime
