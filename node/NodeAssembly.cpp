#include "NodeAssembly.h"

#include <memory>
#include <utility>

#include "AuditLog.h"
#include "LumConfCluster/ClusterUtil.h"
#include "LumPalDaemon.h"
#include "Messages.h"
#include "PolicyWorker.h"

namespace LumConf {

using LumConfPar::PolicyWorker;
using LumPalStr::String_t;

namespace {

LumPalThread::Mutex_t& CreationMutex() {
    static LumPalThread::Mutex_t& mutex = *new LumPalThread::Mutex_t;  // never destroyed: as the instance
    return mutex;
}

PolicyOperation* theInstance LUMPAL_GUARDED_BY(CreationMutex()) = nullptr;

// The work folders are wiped and the store is changed: that must not happen beside another process that does so.
PolicyOperation* BringUp() {
    auto lock = std::make_unique<LumPalRuntime::RootLock_t>();
    if (!lock->TryTake()) {
        Raise<LumPalMsg::IllegalStateError_t>(msg::RootServedElsewhere, LumPalRuntime::RootLock_t::GetPath());
    }
    auto* const made = new PolicyOperation(ProcessSurroundings());
    static_cast<void>(lock.release());  // the process keeps it, as it does the object
    return made;
}

PolicyOperation::Surroundings Surround(PolicyWorker& worker, std::function<AuditLog&()> auditLog) {
    return {[&worker](JobKind kind, const String_t& ids) { worker.InsertJob(kind, ids); },
            [&worker] { worker.Start(); }, &LumConfCluster::ClusterUtil::ChangeHeader, std::move(auditLog)};
}

}  // namespace

PolicyOperation::Surroundings SurroundingsOf(PolicyWorker& worker, AuditLog& auditLog) {
    return Surround(worker, [&auditLog]() -> AuditLog& { return auditLog; });
}

PolicyOperation::Surroundings ProcessSurroundings() {
    return Surround(PolicyWorker::GetInstance(), &AuditLog::GetInstance);
}

PolicyOperation* PolicyOperation::GetInstance() {
    const LumPalThread::MutexLock_t lock(CreationMutex());
    if (!theInstance) theInstance = BringUp();
    return theInstance;
}

}  // namespace LumConf
