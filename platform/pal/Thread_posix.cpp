// Thread_t and Runnable_i of LumPalThread.h.
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <cstring>
#include <string>
#include <system_error>
#include <thread>

#include "LumPalDaemon.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"
#include "LumPalPlainMutex.h"
#include "ThreadName.h"

namespace LumPalThread {

using LumPalMsg::CreateError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;

Runnable_i::~Runnable_i() = default;

void Runnable_i::Done(bool) {}

namespace {

/// Blocks, for a scope, the signals that a program may get from outside; a new thread inherits that.
class SignalBlock {
public:
    SignalBlock() {
        sigset_t all;
        sigfillset(&all);
        for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) sigdelset(&all, own);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

private:
    sigset_t before;
};

constexpr std::size_t kShownNameBytes = 15;  ///< the system takes no longer one

/// @param reason  makes the details
template <class Reason>
void LogEnd(const std::string& thread, Reason reason) noexcept {
    LumPalLog::LogGuarded([&] {
        CreateError_t failure(String_t("An exception ended the thread '%1'."));
        failure << String_t::FromUtf8(thread);
        failure.AddDetails(reason());
        return failure;
    });
}

/// Calls one operation of a runnable; false, and a line in the application log, when an exception left it.
template <class Call>
bool Guarded(const std::string& thread, Call call) noexcept {
    try {
        call();
        return true;
    } catch (const LumPalMsg::Exception_t& e) {
        LogEnd(thread, [&] { return e.GetMessageList(); });
    } catch (const std::exception& e) {
        LogEnd(thread, [&] { return CreateError_t(String_t::FromUtf8(e.what())); });
    } catch (...) {
        LogEnd(thread, [] { return CreateError_t("It is of a type that says nothing."); });
    }
    return false;
}

}  // namespace

void NameThisThread(const char* name) noexcept {
    char shown[kShownNameBytes + 1] = {};
    std::strncpy(shown, name, kShownNameBytes);
    pthread_setname_np(pthread_self(), shown);
}

struct Thread_t::Impl {
    explicit Impl(const char* name) : name(name ? name : "") {}
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl() {
        // Reached on the thread itself when its handles went before it.
        if (thread.joinable()) thread.detach();
    }
    bool IsSelf() const noexcept { return self.load(std::memory_order_relaxed) == std::this_thread::get_id(); }
    void Body(Runnable_i& runnable, const Thread_t& handle) {
        self.store(std::this_thread::get_id(), std::memory_order_relaxed);
        NameThisThread(name.c_str());
        const bool success = Guarded(name, [&] { runnable.Run(handle); });
        Guarded(name, [&] { runnable.Done(success); });
    }

    const std::string name;
    std::atomic<std::thread::id> self{std::thread::id()};
    std::atomic<bool> started{false};
    PlainMutex_t mutex;  // held by whoever joins, so the thread itself must not take it
    std::thread thread LUMPAL_GUARDED_BY(mutex);
};

Thread_t::Thread_t() noexcept = default;

Thread_t::Thread_t(const char* name) : impl(std::make_shared<Impl>(name)) {}

void Thread_t::Start(Runnable_i& runnable) {
    if (!impl) throw IllegalStateError_t(CreateError_t("A null thread can not be started."));
    if (impl->started.exchange(true)) {
        throw IllegalStateError_t(CreateError_t("The thread '%1' was started before.") << GetName());
    }
    const PlainLock_t lock(impl->mutex);
    const SignalBlock block;
    try {
        impl->thread = std::thread([handle = *this, &runnable] { handle.impl->Body(runnable, handle); });
    } catch (const std::system_error& e) {
        impl->started = false;
        throw RuntimeException_t(CreateError_t("The thread '%1' could not be started: %2.")
                                 << GetName() << String_t::FromUtf8(e.what()));
    }
}

void Thread_t::Join() const {
    if (!impl || impl->IsSelf()) return;
    const PlainLock_t lock(impl->mutex);
    if (impl->thread.joinable()) impl->thread.join();
}

bool Thread_t::IsNull() const noexcept {
    return !impl;
}

bool Thread_t::IsNotNull() const noexcept {
    return static_cast<bool>(impl);
}

String_t Thread_t::GetName() const {
    return impl ? String_t::FromUtf8(impl->name) : String_t::Null();
}

void Thread_t::Sleep(std::uint32_t milliseconds) {
    LumPalRuntime::WaitForStopping(milliseconds);
}

}  // namespace LumPalThread
