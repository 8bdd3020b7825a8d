#include "lumpolicy/NodeApply.h"

#include <algorithm>
#include <set>
#include <utility>

#include "Exceptions.h"
#include "LumSecAuth.h"
#include "PolicyPackage.h"
#include "ReturnValue.h"
#include "common/Arguments.h"
#include "lumpolicy/ApplyReport.h"
#include "lumpolicy/NodeStored.h"
#include "lumpolicy/PolicyDiff.h"
#include "lumpolicy/PolicyText.h"
#include "lumpolicy/SharedFiles.h"

namespace lumpolicy {

using LumConf::Selection;
using LumConf::StoredFiles;
using LumConf::StoredPolicy;
using lumtools::Answer;
using lumtools::Attempt;
using lumtools::Text;

namespace {

/// Of one request, so that a node takes it at its default limits, and is not held up for long.
constexpr std::size_t kMostInPackage = 500;
constexpr std::uint64_t kMostBytes = 16u << 20;

std::string CountOf(std::size_t done, std::size_t all) {
    return std::to_string(done) + " of " + std::to_string(all) + " policies";
}

bool IsOfData(const std::vector<Difference>& differences) {
    return std::any_of(differences.begin(), differences.end(), [](const Difference& one) { return one.isOfData; });
}

}  // namespace

NodeApply::NodeApply(const LumConf::PolicyForwarder& forwarder, const ApplyChoices& choices,
                     const std::vector<DesiredPolicy>& wanted, const std::string& host, Sink sink)
    : forwarder(forwarder), choices(choices), wanted(wanted), host(host), sink(std::move(sink)) {}

void NodeApply::Run() {
    sink.setQuestion("which policies it has");
    has = ReadAll();
    steps = MakePlan(wanted, has, choices.pruning, choices.forceOwner);
    if (choices.dryRun) ForeseeTypes();
    WarnOfShared();
    const std::vector<std::string> diffs = MakeDiffs();
    sink.add([&](Answer& known) { report::Begin(steps, diffs, choices.dryRun, known); });
    ended = static_cast<std::size_t>(
        std::count_if(steps.begin(), steps.end(), [](const Step& step) { return step.kind == Step::Kind::None; }));
    RefuseForeseen();
    if (choices.dryRun) {
        Foresee();
    } else {
        InstallAll();
        RemoveAll();
    }
    sink.add([&](Answer& known) { report::Close(host, known); });
}

/// A question for each type, so that what is of no concern does not travel.
std::vector<Selection> NodeApply::SelectionsOf() const {
    std::set<LumPalStr::String_t> types;
    for (const DesiredPolicy& policy : wanted) types.insert(policy.header.GetTypeName());
    if (!choices.pruning.type.empty()) types.insert(Text(choices.pruning.type).ToLower());
    std::vector<Selection> selections;
    for (const auto& type : types) selections.push_back(Selection().SetPolicyTypeName(type));
    if (choices.pruning.type.empty() && choices.pruning.IsWanted())
        selections.push_back(Selection().SetPolicyCategory(Text(choices.pruning.category)));
    return selections;
}

std::vector<StoredPolicy> NodeApply::ReadAll() {
    std::vector<StoredPolicy> policies;
    std::set<LumPalStr::String_t> ids;
    for (const Selection& selection : SelectionsOf()) {
        for (StoredPolicy& policy : Read(selection, StoredFiles::Digests)) {
            if (ids.insert(policy.id).second) policies.push_back(std::move(policy));
        }
    }
    return policies;
}

std::vector<StoredPolicy> NodeApply::Read(const Selection& selection, StoredFiles what) try {
    return ReadFromNode(forwarder, host, selection, what, choices.targetId,
                        " 'lumpolicy install' needs nothing of that.");
} catch (const LumSecAuth::NotAuthorizedException&) {
    // Contents are asked for after the digests alone, so that of both rights the one for them is there.
    lackingRight = what == StoredFiles::Contents ? LumConf::RightInstall : LumConf::RightList;
    throw;
}

/// What is new under its type may be there under another one.
void NodeApply::ForeseeTypes() {
    const auto isNew = [](const Step& step) { return step.kind == Step::Kind::Create; };
    if (std::none_of(steps.begin(), steps.end(), isNew)) return;
    const auto all = ListOf(forwarder, host, lumtools::Selections(), choices.targetId);
    std::map<LumPalStr::String_t, std::string> types;
    for (int i = 0; i < all.GetCount(); ++i) {
        types[all.GetPolicyHeader(i).GetContainerId()] = all.GetPolicyHeader(i).GetTypeName().ToUtf8();
    }
    for (Step& step : steps) {
        const auto found = isNew(step) ? types.find(step.GetHeader().GetContainerId()) : types.end();
        if (found == types.end()) continue;
        step.refusal = {lumtools::kFailed,
                        {{0, step.wanted->file + ": it is installed with the type '" + found->second + "'."}}};
    }
}

/// Of the data files of what comes, is replaced or goes, which other policies of the node name too.
void NodeApply::WarnOfShared() {
    GivenPolicies told, known, unknown;
    for (const DesiredPolicy& policy : wanted) told.Add(policy.header);
    for (const Step& step : steps) {
        if (!IsWork(step)) continue;
        GivenPolicies& part = IsKnownWhole(step) ? known : unknown;
        if (step.wanted) part.Add(step.wanted->header);
        if (step.has) step.wanted ? void(part.Add(step.has->header)) : part.AddGoing(step.has->header);
    }
    LumPalMsg::MessageList_t warnings;
    known.Compare(has, host, told, warnings);
    if (!unknown.IsEmpty()) {
        sink.setQuestion("which data files it has");
        Attempt([&] { unknown.AskNode(forwarder, host, choices.targetId, warnings); });
    }
    sink.warn(warnings);
}

/// Whether the node was asked for all policies of the step's type: not where only a category is pruned.
bool NodeApply::IsKnownWhole(const Step& step) const {
    const auto type = step.GetHeader().GetTypeName();
    return type == Text(choices.pruning.type).ToLower() ||
           std::any_of(wanted.begin(), wanted.end(),
                       [&type](const DesiredPolicy& p) { return p.header.GetTypeName() == type; });
}

std::string NodeApply::DiffOf(const Step& step) {
    if (!choices.showDiff || !IsWork(step)) return "";
    const std::string name = NameOf(step.GetHeader());
    if (step.kind == Step::Kind::Change && !IsOfData(step.differences))
        return UnifiedDiff(name, PolicySide(step.has->header), PolicySide(step.wanted->header));
    PolicySide node;
    if (step.has) {
        const std::vector<StoredPolicy> contents = Read(Selection().SetPolicyId(step.has->id), StoredFiles::Contents);
        if (!contents.empty()) node = PolicySide(contents.front());
    }
    return UnifiedDiff(name, node, step.wanted ? PolicySide(*step.wanted) : PolicySide());
}

std::vector<std::string> NodeApply::MakeDiffs() {
    std::vector<std::string> diffs;
    for (const Step& step : steps) {
        if (choices.showDiff) sink.setQuestion("the difference of " + CountOf(diffs.size(), steps.size()));
        diffs.push_back(DiffOf(step));
    }
    return diffs;
}

bool NodeApply::IsWork(const Step& step) const {
    return step.kind != Step::Kind::None && step.refusal.code == lumtools::kDone;
}

void NodeApply::Foresee() {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (IsWork(steps[i]) && steps[i].wanted) End(i, {});
    }
    const Indexes removals = TakeRemovals();
    for (const std::size_t index : removals) End(index, {});
}

void NodeApply::RefuseForeseen() {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i].refusal.code != lumtools::kDone) End(i, steps[i].refusal);
    }
}

NodeApply::Status NodeApply::StatusOf(const DesiredPolicy& policy) {
    if (FollowsCluster(policy.header)) return Status::TheClusters;
    return policy.header.IsEnabled() ? Status::Enabled : Status::Disabled;
}

/// Everything comes from the document: what was changed on the node meanwhile is what is to be undone.
LumConf::InstallOptions NodeApply::OptionsFor(Status status) const {
    LumConf::InstallOptions options;
    options.SetNotify(!choices.noNotify).SetTargetID(Text(choices.targetId)).SetForceOwner(choices.forceOwner);
    options.SetForceCat(true).SetForceAttr(true);
    if (status == Status::Enabled) options.SetEnabled().ForceState();
    if (status == Status::Disabled) options.SetDisabled().ForceState();
    return options;
}

void NodeApply::InstallAll() {
    for (const Status status : {Status::Enabled, Status::Disabled, Status::TheClusters}) InstallOf(status);
}

void NodeApply::InstallOf(Status status) {
    Indexes chunk;
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Step& step = steps[i];
        if (!IsWork(step) || !step.wanted || StatusOf(*step.wanted) != status) continue;
        if (chunk.size() == kMostInPackage || bytes + step.wanted->bytes > kMostBytes) {
            SendChunk(std::exchange(chunk, {}), status);
            bytes = 0;
        }
        chunk.push_back(i);
        bytes += step.wanted->bytes;
    }
    SendChunk(chunk, status);
}

void NodeApply::SendChunk(const Indexes& chunk, Status status) {
    if (chunk.empty()) return;
    if (isOver) return EndAll(chunk, {last.code, {}, false});
    if (chunk.size() == 1) return SendOne(chunk.front(), status);
    const Outcome outcome = SendPackage(chunk, status);
    if (isOver || report::IsDone(outcome)) return EndAll(chunk, outcome);
    SendRest(chunk, status);
}

NodeApply::Outcome NodeApply::SendPackage(const Indexes& chunk, Status status) {
    sink.setStep(CountOf(ended, steps.size()) + ", now a package of " + std::to_string(chunk.size()));
    sink.add([&](Answer& known) {
        for (const std::size_t index : chunk) report::Send(index, known);
    });
    return Try([&] {
        LumConf::PolicyPackage package(forwarder.GetVoxMessenger());
        for (const std::size_t index : chunk) package.AddPolicy(LumPalIo::File_t(Text(steps[index].wanted->file)));
        package.Install(Text(host), OptionsFor(status));
    });
}

/// Of a package that failed some may be installed, of which nobody was told.
void NodeApply::SendRest(const Indexes& chunk, Status status) {
    const Indexes left = FindLeft(chunk);
    for (const std::size_t index : left) {
        isOver ? EndAll({index}, {last.code, {}, false}) : SendOne(index, status);
    }
    if (choices.noNotify || isOver || left.size() == chunk.size()) return;
    const Outcome told = Attempt([&] { forwarder.Notify(Text(host), Text(choices.targetId)); });
    sink.add([&](Answer& known) { report::Join(known.outcome, told); });
}

/// Those that the node still does not have; the others are done.
NodeApply::Indexes NodeApply::FindLeft(const Indexes& chunk) {
    sink.setStep("which policies of a package it has");
    std::vector<StoredPolicy> now;
    Attempt([&] { now = ReadAll(); });  // of a node that does not answer nothing is known: all are sent
    std::map<LumPalStr::String_t, const StoredPolicy*> byId;
    for (const StoredPolicy& policy : now) byId[policy.id] = &policy;
    Indexes left;
    for (const std::size_t index : chunk) {
        const auto found = byId.find(steps[index].GetHeader().GetContainerId());
        const bool isThere = found != byId.end() && Compare(*found->second, *steps[index].wanted).empty();
        isThere ? End(index, {}) : left.push_back(index);
    }
    return left;
}

void NodeApply::SendOne(std::size_t index, Status status) {
    const std::string& file = steps[index].wanted->file;
    sink.setStep(CountOf(ended, steps.size()) + ", now " + file);
    sink.add([&](Answer& known) { report::Send(index, known); });
    Outcome outcome = Try([&] { forwarder.Install(Text(host), LumPalIo::File_t(Text(file)), OptionsFor(status)); });
    const bool isNamed = outcome.messages.empty() || outcome.messages.front().text.find(file) != file.npos;
    if (!isNamed && !isOver) outcome.messages.front().text = file + ": " + outcome.messages.front().text;
    End(index, outcome);
}

/// What would come out alike for every other policy ends the work.
NodeApply::Outcome NodeApply::Try(const std::function<void()>& request) {
    bool hasRight = true;
    const Outcome outcome = Attempt([&] {
        try {
            request();
        } catch (const LumSecAuth::NotAuthorizedException&) {
            hasRight = false;
            throw;
        }
    });
    isOver = !hasRight || outcome.code == lumtools::kUnreachable || outcome.code == lumtools::kWrongUsage;
    if (isOver) last = outcome;
    return outcome;
}

/// Nothing is taken away for something that did not come: then these steps end here.
NodeApply::Indexes NodeApply::TakeRemovals() {
    Indexes removals;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i].kind == Step::Kind::Remove) removals.push_back(i);
    }
    if (!hasFailed || isOver) return removals;
    const std::string why = "Nothing is removed, since not everything can be installed.";
    EndAll(removals, {lumtools::kFailed, {{0, why}}, false});
    return {};
}

void NodeApply::RemoveAll() {
    for (const std::size_t index : TakeRemovals()) {
        if (isOver) {
            End(index, {last.code, {}, false});
            continue;
        }
        sink.setStep(CountOf(ended, steps.size()) + ", now a removal");
        sink.add([&](Answer& known) { report::Send(index, known); });
        End(index, RemoveOne(steps[index]));
    }
}

/// One that somebody else has removed meanwhile is gone, as it should be.
NodeApply::Outcome NodeApply::RemoveOne(const Step& step) {
    const auto options =
        LumConf::PolicyForwarder::Options().SetNotify(!choices.noNotify).SetTargetID(Text(choices.targetId));
    const Outcome outcome = Try([&] { forwarder.Remove(Text(host), Selection().SetPolicyId(step.has->id), options); });
    return outcome.code == lumtools::kNotFound ? Outcome{} : outcome;
}

/// The words stand once.
void NodeApply::EndAll(const Indexes& indexes, Outcome outcome) {
    for (const std::size_t index : indexes) {
        End(index, outcome);
        outcome.messages.clear();
    }
}

void NodeApply::End(std::size_t index, const Outcome& outcome) {
    ++ended;
    hasFailed = hasFailed || !report::IsDone(outcome);
    sink.add([&](Answer& known) { report::End(index, outcome, known); });
    if (!steps[index].displaces) return;
    const bool isDone = report::IsDone(outcome);
    End(*steps[index].displaces, isDone ? Outcome{} : Outcome{lumtools::kFailed, {}, false});
}

}  // namespace lumpolicy
