#include "NodeAssembly.h"

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

/// The root is this process's alone: the work folders are wiped and the store is changed, and that must not happen
/// beside another process that does so.
struct TakenRoot {
    TakenRoot() {
        if (!lock.TryTake())
            Raise<LumPalMsg::IllegalStateError_t>(msg::RootServedElsewhere, LumPalRuntime::RootLock_t::GetPath());
    }
    LumPalRuntime::RootLock_t lock;
};

/// What the process keeps to its end.
struct Node : TakenRoot {
    PolicyOperation operation{ProcessSurroundings()};
};

Node* theNode LUMPAL_GUARDED_BY(CreationMutex()) = nullptr;

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
    if (!theNode) theNode = new Node;
    return &theNode->operation;
}

}  // namespace LumConf
