#include "SharedDataFiles.h"

#include <algorithm>
#include <vector>

#include "Exceptions.h"
#include "InstallOptionsImpl.h"
#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalLog.h"
#include "LumPalPlainMutex.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyContainerImpl.h"
#include "StorePaths.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalStr::String_t;
using HeaderPtr = PolicyContainerImpl::HeaderPtr;
using Rule = SharedDataFiles::Rule;

namespace {

struct Word {
    const char* text;
    Rule rule;
};
const Word kWords[] = {{"allow", Rule::Allow}, {"keep", Rule::Keep}, {"refuse", Rule::Refuse}};

/// One policy, and who counts as another one.
struct Subject {
    Subject(const PolicyHeaderImpl& header, const PolicyHeaderImpl* predecessor)
        : policy(header.Snapshot()), replacedId(predecessor ? predecessor->GetContainerId() : policy.containerId) {}

    bool IsOther(const PolicyHeaderImpl& header) const {
        const String_t id = header.GetContainerId();
        return id != policy.containerId && id != replacedId;
    }
    /// Those that name the file too, up to as many as are told of.
    std::vector<HeaderPtr> FindOthers(PolicyContainerImpl& cache, const String_t& file) const {
        std::vector<HeaderPtr> others;
        const auto isNew = [&](const PolicyHeaderImpl& header) {
            return IsOther(header) && std::none_of(others.begin(), others.end(),
                                                   [&header](const HeaderPtr& e) { return e.Get() == &header; });
        };
        while (others.size() <= SharedDataFiles::kMostLines) {
            HeaderPtr other = cache.FindNaming(policy.typeName, file, isNew);
            if (!other) break;
            others.push_back(std::move(other));
        }
        return others;
    }
    HeaderPtr FindOtherOwner(PolicyContainerImpl& cache, const String_t& file) const {
        return cache.FindNaming(policy.typeName, file, [this](const PolicyHeaderImpl& header) {
            const String_t owner = header.GetOwner();
            return IsOther(header) && owner.IsNotEmpty() && owner != policy.owner;
        });
    }
    File_t Place(const String_t& file) const {
        return File_t(File_t(paths::PolicyInstallDirectory(), policy.typeName), file);
    }

    const PolicyRecord policy;
    const String_t replacedId;
};

struct Shared {
    String_t file;
    HeaderPtr other;
};

/// What the policy shares, each file with each of those that name it too. Names that are none of the store are never
/// followed.
std::vector<Shared> FindShared(PolicyContainerImpl& cache, const Subject& subject) {
    std::vector<Shared> shared;
    for (const PolicyDataFile& file : subject.policy.dataFiles) {
        if (!IsPlainName(file.name)) continue;
        for (HeaderPtr& other : subject.FindOthers(cache, file.name)) shared.push_back({file.name, std::move(other)});
    }
    return shared;
}

/// The lines about one policy; the last of them says how many there would be more.
class Lines {
public:
    explicit Lines(const Subject& subject) : subject(subject) {}

    void Log(const MessageOf<5>& row, const Shared& shared) {
        if (++count > SharedDataFiles::kMostLines) return;
        LumPalLog::Log(Make(row, subject.Place(shared.file).GetAbsolutePath(), Shown(subject.policy.name),
                            subject.policy.containerId, Shown(shared.other->GetName()),
                            shared.other->GetContainerId()));
    }
    void End() const {
        if (count <= SharedDataFiles::kMostLines) return;
        LumPalLog::Log(Make(msg::SharedDataFilesMore, Shown(subject.policy.name), subject.policy.containerId,
                            count - SharedDataFiles::kMostLines));
    }

private:
    const Subject& subject;
    int count = 0;
};

const Word* FindWord(const String_t& value) {
    for (const Word& word : kWords) {
        if (LumPalStr::Compare(value, String_t(word.text), true) == 0) return &word;
    }
    return nullptr;
}

/// Each install and removal reads the value: an unknown one is logged when it is new.
void LogUnknown(const String_t& value) {
    struct Logged {
        LumPalThread::PlainMutex_t mutex;
        String_t value LUMPAL_GUARDED_BY(mutex);
    };
    static Logged& last = *new Logged;  // never destroyed: threads may outlive it
    const LumPalThread::PlainLock_t lock(last.mutex);
    if (value.IsNotEmpty() && value != last.value) LumPalLog::Log(Make(msg::SharedDataFilesUnknown, Shown(value)));
    last.value = value;
}

Rule RuleOf(const String_t& value) {
    const Word* const word = FindWord(value);
    LogUnknown(word ? String_t() : value);
    return word ? word->rule : Rule::Allow;
}

[[noreturn]] void RaiseOwner(const Subject& subject, const String_t& file, const PolicyHeaderImpl& other) {
    Raise<PolicyOwnerError>(msg::SharedDataFileOfOtherOwner, file, Shown(subject.policy.name),
                            subject.policy.containerId, Shown(other.GetName()), other.GetContainerId(),
                            Shown(subject.policy.owner), Shown(other.GetOwner()));
}

[[noreturn]] void RaiseRefused(const Subject& subject, const Shared& shared) {
    Raise<PolicyException>(msg::SharedDataFileRefused, shared.file, Shown(subject.policy.name),
                           subject.policy.containerId, Shown(shared.other->GetName()), shared.other->GetContainerId());
}

}  // namespace

Rule SharedDataFiles::GetRule() {
    try {
        return RuleOf(LumPalConfig::ConfigNamespace_t(names::NsConfServer).Open().GetValue(names::SharedDataFilesKey));
    } catch (const LumPalMsg::Exception_t& e) {
        LumPalLog::Log(Make(msg::SharedDataFilesNotRead, e));
        return Rule::Keep;
    }
}

void SharedDataFiles::CheckInstall(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy,
                                   const PolicyHeaderImpl* replaced, const InstallOptionsImpl& options) {
    if (options.GetForceAll()) return;
    const Subject subject(policy, replaced);
    const std::vector<Shared> shared = FindShared(cache, subject);
    const Rule rule = shared.empty() ? Rule::Allow : GetRule();
    if (rule == Rule::Refuse) RaiseRefused(subject, shared.front());
    if (rule == Rule::Allow || options.GetForceOwner()) return;
    for (const Shared& each : shared) {
        if (const HeaderPtr other = subject.FindOtherOwner(cache, each.file)) RaiseOwner(subject, each.file, *other);
    }
}

void SharedDataFiles::LogReplaced(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy,
                                  const PolicyHeaderImpl* replaced) {
    const Subject subject(policy, replaced);
    Lines lines(subject);
    for (const Shared& shared : FindShared(cache, subject)) lines.Log(msg::SharedDataFileReplaced, shared);
    lines.End();
}

SharedDataFiles::Names SharedDataFiles::Spare(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy,
                                              const PolicyHeaderImpl* successor) {
    const std::vector<Shared> shared = FindShared(cache, Subject(policy, successor));
    if (shared.empty() || GetRule() == Rule::Allow) return {};
    Names spared;
    for (const Shared& each : shared) spared.insert(each.file);
    return spared;
}

void SharedDataFiles::LogLeft(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy, const Names& spared,
                              const PolicyHeaderImpl* successor) {
    const Subject subject(policy, successor);
    Names brought;
    if (successor && successor->GetTypeName() == subject.policy.typeName) {
        for (const String_t& file : successor->GetDataFileNames()) brought.insert(file);
    }
    Lines lines(subject);
    for (const Shared& each : FindShared(cache, subject)) {
        if (brought.count(each.file) > 0 || !subject.Place(each.file).Exists()) continue;
        lines.Log(spared.count(each.file) > 0 ? msg::SharedDataFileSpared : msg::SharedDataFileLost, each);
    }
    lines.End();
}

}  // namespace LumConf
