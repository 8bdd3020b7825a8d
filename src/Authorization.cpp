#include "Authorization.h"

#include "LumPalThread.h"
#include "Names.h"

namespace LumConf {

namespace {

LumPalThread::Mutex_t& CreationMutex() {
    static auto* mutex = new LumPalThread::Mutex_t;  // never destroyed, as the instance
    return *mutex;
}

Authorization* instance = nullptr;

}  // namespace

Authorization& Authorization::GetInstance() {
    LumPalThread::MutexLock_t lock(CreationMutex());
    if (!instance) instance = new Authorization;
    return *instance;
}

bool Authorization::IsAuthorized(const LumPalStr::String_t& sender, const unsigned& right) {
    return IsAllowed(sender, names::NsConf, right, 0);
}

bool Authorization::IsAuthorized(const LumVoxRpc::RpcServerCall& call, const unsigned& right) {
    return IsAuthorized(LumPalStr::String_t::FromUtf8(call.GetRightsID()), right);
}

}  // namespace LumConf
