/// @file
/// How a node is put together: who does what the policy operations leave to others.
#pragma once

#include "PolicyOperation.h"

namespace LumConfPar {
class PolicyWorker;
}

namespace LumConf {

/// The surroundings with this worker, which is started as soon as the store is loaded, this log, and the cluster of
/// this machine. Worker and log outlive what is made with them; a worker is started once, so that the second object
/// with it ends in LumPalMsg::IllegalStateError_t WorkerAlreadyRunning.
PolicyOperation::Surroundings SurroundingsOf(LumConfPar::PolicyWorker& worker, AuditLog& auditLog);

/// Those of the process: its worker, made by this call if nobody made it before, and its log, made at the very end of
/// the creation.
PolicyOperation::Surroundings ProcessSurroundings();

}  // namespace LumConf
