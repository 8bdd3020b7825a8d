#include "ChangeListener.h"

#include <utility>

#include "LumPalPlainMutex.h"

namespace LumConf {

namespace {

struct Listener {
    LumPalThread::PlainMutex_t mutex;  ///< held during a call
    std::function<void()> call LUMPAL_GUARDED_BY(mutex);
};

Listener& TheListener() {
    static Listener& listener = *new Listener;  // never destroyed: a late call finds it
    return listener;
}

}  // namespace

void SetChangeListener(std::function<void()> listener) {
    Listener& the = TheListener();
    const LumPalThread::PlainLock_t lock(the.mutex);
    the.call = std::move(listener);
}

void TellChangeListener() {
    Listener& the = TheListener();
    const LumPalThread::PlainLock_t lock(the.mutex);
    if (the.call) the.call();
}

}  // namespace LumConf
