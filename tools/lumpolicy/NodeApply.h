/// @file
/// Makes one node have the policies that are wanted.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "InstallOptions.h"
#include "PolicyForwarder.h"
#include "Selection.h"
#include "common/Command.h"
#include "lumpolicy/ApplyPlan.h"

namespace lumpolicy {

struct ApplyChoices {
    bool dryRun = false, showDiff = false, noNotify = false, forceOwner = false;
    Pruning pruning;
    std::string targetId;
};

/// The work with one node, in packages of many policies. What fails is sent by itself, so that each failure has its
/// file. Used once, by one thread; everything that it is given outlives it.
class NodeApply {
public:
    /// Takes what is known of the node, and what it is waited for.
    struct Sink {
        std::function<void(const std::function<void(lumtools::Answer&)>&)> add;
        std::function<void(const std::string&)> setStep;
        std::function<void(const std::string&)> setQuestion;  ///< before anything is sent
        std::function<void(const LumPalMsg::MessageList_t&)> warn;
    };

    NodeApply(const LumConf::PolicyForwarder& forwarder, const ApplyChoices& choices,
              const std::vector<DesiredPolicy>& wanted, const std::string& host, Sink sink);
    /// Asks, plans, sends; the sink has all that is to be said. @throws what asking the node throws: then nothing has
    /// changed
    void Run();
    /// For a Run that threw: the right that the question for its files took, 0 when nothing was refused.
    unsigned GetLackingRight() const { return lackingRight; }

private:
    using Outcome = lumtools::Outcome;
    using Indexes = std::vector<std::size_t>;
    /// The status that an install gives.
    enum class Status { Enabled, Disabled, TheClusters };

    static Status StatusOf(const DesiredPolicy& policy);
    std::vector<LumConf::Selection> SelectionsOf() const;
    std::vector<LumConf::StoredPolicy> Read(const LumConf::Selection& selection, LumConf::StoredFiles what);
    std::vector<LumConf::StoredPolicy> ReadAll();
    void ForeseeTypes();
    void WarnOfShared();
    bool IsKnownWhole(const Step& step) const;
    std::string DiffOf(const Step& step);
    std::vector<std::string> MakeDiffs();
    bool IsWork(const Step& step) const;
    void Foresee();
    void RefuseForeseen();
    void InstallAll();
    void InstallOf(Status status);
    void SendChunk(const Indexes& chunk, Status status);
    Outcome SendPackage(const Indexes& chunk, Status status);
    void SendRest(const Indexes& chunk, Status status);
    Indexes FindLeft(const Indexes& chunk);
    void SendOne(std::size_t index, Status status);
    Indexes TakeRemovals();
    void RemoveAll();
    Outcome RemoveOne(const Step& step);
    Outcome Try(const std::function<void()>& request);
    void EndAll(const Indexes& indexes, Outcome outcome);
    void End(std::size_t index, const Outcome& outcome);
    LumConf::InstallOptions OptionsFor(Status status) const;

    const LumConf::PolicyForwarder& forwarder;
    const ApplyChoices& choices;
    const std::vector<DesiredPolicy>& wanted;
    const std::string host;
    const Sink sink;
    std::vector<LumConf::StoredPolicy> has;
    std::vector<Step> steps;
    std::size_t ended = 0;
    bool isOver = false;  ///< the node takes nothing more: it cannot be reached, or the caller has no right
    bool hasFailed = false;
    unsigned lackingRight = 0;
    Outcome last;  ///< why it is over
};

}  // namespace lumpolicy
