// Service of LumCtrl.h: the thread that serves the socket.
#include <unistd.h>

#include "LocalSocket.h"
#include "LumCtrl.h"
#include "ServiceLoop.h"

namespace LumCtrl {

LUMPAL_DEFINE_EXCEPTION(ControlException);
LUMPAL_DEFINE_EXCEPTION(TargetException);
LUMPAL_DEFINE_EXCEPTION(EventException);

struct Service::Impl {
    std::string path;  ///< native
    Descriptor lock;
    std::unique_ptr<ServiceLoop> loop;
    LumPalThread::Thread_t thread;
};

unsigned Service::CountComponents() noexcept {
    return Hub::CountComponents();
}

Service::Service() = default;

Service::~Service() {
    Stop();
}

void Service::Start() {
    if (impl) throw LumPalMsg::IllegalStateError_t(LumPalMsg::CreateError_t("The control service was started before."));
    auto started = std::make_unique<Impl>();
    started->path = SocketPath().ToUtf8();
    started->lock = LockSocket();
    started->loop = std::make_unique<ServiceLoop>(ListenAt(SocketPath()));
    started->thread = LumPalThread::Thread_t("LumCtrl:Service");
    started->thread.Start(*started->loop);
    impl = std::move(started);
}

void Service::StopWaiting() {
    if (impl) impl->loop->RequestStopWaiting();
}

void Service::Stop() {
    if (!impl) return;
    impl->loop->RequestStop();
    impl->thread.Join();
    // The lock is still held: nobody else's socket can stand there.
    unlink(impl->path.c_str());
    impl.reset();
}

}  // namespace LumCtrl
