#include "ChangeListener.h"

#include <mutex>
#include <shared_mutex>
#include <utility>

namespace LumConf {

namespace {

struct Listener {
    std::shared_mutex mutex;  ///< shared by those who call
    std::function<void()> call;
};

Listener& TheListener() {
    static auto* listener = new Listener;  // never destroyed: a late call finds it
    return *listener;
}

}  // namespace

void SetChangeListener(std::function<void()> listener) {
    Listener& the = TheListener();
    const std::unique_lock<std::shared_mutex> lock(the.mutex);
    the.call = std::move(listener);
}

void TellChangeListener() {
    Listener& the = TheListener();
    const std::shared_lock<std::shared_mutex> lock(the.mutex);
    if (the.call) the.call();
}

}  // namespace LumConf
