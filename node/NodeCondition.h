/// @file
/// How this node fares: what its operator asks for.
#pragma once

#include <functional>
#include <memory>

#include "LumPalMetrics.h"
#include "LumPalPlainMutex.h"
#include "LumSecCore.h"
#include "LumVoxMsg.h"
#include "NodeStatus.h"

namespace LumConf {

class NodeHealth;

/// Collects the status, and makes the values of it that monitoring reads, as long as it lives. Any thread.
class NodeCondition {
public:
    NodeCondition();
    ~NodeCondition();
    NodeCondition(const NodeCondition&) = delete;
    NodeCondition& operator=(const NodeCondition&) = delete;

    /// Reads the certificates' files; takes no lock of the policy operations.
    NodeStatus Read() const;
    /// Whose port it tells of. It shares the handle: a null one takes it back, before the messenger is to close.
    void SetMessenger(const LumVoxMsg::Messenger& value);
    void SetMore(std::function<void(NodeStatus&)> add);

private:
    std::vector<LumPalMetrics::Sample> AskPolicies() const;
    std::vector<LumPalMetrics::Sample> AskConsumers() const;
    std::vector<LumPalMetrics::Sample> AskCertificates() const;

    std::vector<LumSecCore::X509Certificate> GetShown() const;

    const NodeHealth& health;
    const std::int64_t started;
    mutable LumPalThread::PlainMutex_t mutex;  ///< held while `more` runs
    std::function<void(NodeStatus&)> more LUMPAL_GUARDED_BY(mutex);
    LumVoxMsg::Messenger messenger LUMPAL_GUARDED_BY(mutex);
    // Last: they ask for what stands above.
    LumPalMetrics::Values_t info, start, policies, missing, broken, queued, consumers, certificates;
};

/// The pages of a node: "/healthz" tells anybody that it serves (its policies are read before its port opens; 503 while
/// the process is stopping: LumPalRuntime::SetStopping), "/metrics" what it has counted, to who may list its policies;
/// METRICS_ON_LOOPBACK of "conf.server" opens that to every program of this host.
class NodePages {
public:
    NodePages();
    ~NodePages();
    void ServeOn(LumVoxMsg::Messenger& messenger) const;

private:
    class Key;
    const std::shared_ptr<Key> key;
};

}  // namespace LumConf
