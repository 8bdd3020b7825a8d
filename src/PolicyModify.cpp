// The operations that change headers of installed policies: status, owner, categories, attributes.
#include <exception>

#include "AttributeCheck.h"
#include "AuditLog.h"
#include "DistinctWords.h"
#include "Exceptions.h"
#include "Messages.h"
#include "PolicyHeaderImpl.h"
#include "PolicyOperation.h"
#include "Selection.h"
#include "StringList.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

/// What one of the operations does to each header, and how that is written down.
struct PolicyOperation::HeaderChange {
    int auditMode;
    /// Changes the header in the cache. @return whether its document is to be rewritten
    std::function<bool(PolicyHeaderImpl&)> apply;
    /// Queues the notification.
    void (NotifyStore::*queue)(const String_t& type, const String_t& id) = &NotifyStore::AddInstall;
    bool auditsSuccess = true;      ///< a line for each policy that was changed
    bool namesFailedPolicy = true;  ///< the line of a failure names the policy
    bool repeats = true;            ///< what it does to a policy counts again when the selection gives it again
};

/// How far a change of many headers has come.
struct PolicyOperation::Changing {
    /// A policy that the change concerned.
    struct Done {
        DocumentBatch::HeaderPtr header;
        String_t name;
        std::size_t documents;  ///< reported when so many of the batch have their places
    };
    /// What ended it, and at which policy.
    struct Failed {
        std::exception_ptr reason;
        String_t name, id;
    };

    std::size_t next = 0;      ///< in the ids
    bool lastChanged = false;  ///< whether the one before was
    bool changed = false;      ///< whether any was
    std::vector<Done> done;    ///< of this batch
    Failed failed;
};

namespace {

/// So many documents wait together for their flush: a flush costs as much as dozens of them.
constexpr std::size_t kMostAtOnce = 256;

using Texts = std::vector<String_t>;

/// @return whether any was new
bool AddCategories(PolicyHeaderImpl& header, const std::vector<String_t>& categories) {
    bool added = false;
    for (const String_t& category : categories) added = header.SetCategory(category) || added;
    return added;
}

/// Of all these policies.
HashedTexts<String_t> CategoriesOf(const PolicyContainerImpl& policies, const Texts& ids) {
    Texts categories;
    const String_t* last = nullptr;
    for (const String_t& id : ids) {
        const bool again = last && *last == id;  // as in ChangeHeaders
        last = &id;
        if (again) continue;
        const Texts own = policies.GetPolicyHeader(id)->Snapshot().categories;
        categories.insert(categories.end(), own.begin(), own.end());
    }
    return HashedTexts<String_t>(std::move(categories));
}

bool HasCategories(const PolicyHeaderImpl& header) {
    return header.GetCategoryCount() > 0;
}

bool HasAttributes(const PolicyHeaderImpl& header) {
    return header.GetAttributesCount() > 0;
}

}  // namespace

PolicyOperation::Ids PolicyOperation::SelectFor(const String_t& originator, const Selection& selection, int auditMode,
                                                const MessageRow& noneFound, const PolicyForwarder::Options& options) {
    const Ids ids = SelectIds(selection);
    if (!ids.empty()) return ids;
    // The change that could not be written may be why nothing is selected any more.
    WriteUnwritten(originator, unwritten.GetIds(), options);
    Audit(originator, auditMode, true);  // kept: nothing found counts as a success in the audit log
    throw PolicyNotFoundError(MakeUnchecked(noneFound));
}

PolicyOperation::Ids PolicyOperation::Narrow(const Ids& ids, const Concerned& concerned) const {
    const CachePtr container = Cache();
    Ids remaining;
    for (const String_t& id : ids) {
        if (concerned(*container->GetPolicyHeader(id))) remaining.push_back(id);
    }
    return remaining;
}

/// @param selected  what the caller selected, and `ids` those of it that the change concerns
/// @return whether any document was rewritten
bool PolicyOperation::ChangeHeaders(const String_t& originator, const Ids& selected, const Ids& ids,
                                    const HeaderChange& change, const PolicyForwarder::Options& options) {
    Changing progress;
    while (progress.next < ids.size()) ChangeSome(originator, ids, change, progress);
    WriteUnwritten(originator, selected, options);  // those that the change does not concern
    if (options.GetNotify()) SendUnreported();
    return progress.changed;
}

/// Changes as many policies as wait for a flush together. The first that fails ends it: those before it are written,
/// and those of this batch behind it, which only a failing move leaves, have the change in the cache alone, as it has.
void PolicyOperation::ChangeSome(const String_t& originator, const Ids& ids, const HeaderChange& change,
                                 Changing& progress) {
    DocumentBatch documents(installDirectory);
    progress.done.clear();
    Changing::Failed& failed = progress.failed;
    for (; progress.next < ids.size() && documents.GetCount() < kMostAtOnce && !failed.reason; ++progress.next) {
        const String_t& id = ids[progress.next];
        // A selection by attribute gives a policy once for each of them: as many rewrites of a long document would hold
        // up everybody, and the first has done it all.
        const bool again = progress.next > 0 && ids[progress.next - 1] == id;
        try {
            failed.name = String_t();
            ChangeNext(id, again, change, documents, progress);
        } catch (const LumPalMsg::Exception_t&) {
            failed.reason = std::current_exception();
            failed.id = id;
        }
    }
    const DocumentBatch::Outcome outcome = documents.Place();
    if (outcome.failure) {
        const PolicyHeaderImpl& header = *documents.GetHeader(outcome.placed);
        failed = {outcome.failure, header.GetName(), header.GetContainerId()};
    }
    for (const Changing::Done& done : progress.done) {
        if (done.documents > outcome.placed) break;
        progress.changed = true;
        const String_t id = done.header->GetContainerId();
        UnwrittenChanges::Reports waiting = unwritten.Of(id);
        std::erase_if(waiting,
                      [&change](const auto& e) { return UnwrittenChanges::Replaces(change.auditMode, e.auditMode); });
        ReportWritten(originator, *done.header, waiting);
        unwritten.Forget(id);
        if (change.auditsSuccess) Audit(originator, done.name, id, change.auditMode, true);
        (notifications.*change.queue)(done.header->GetTypeName(), id);
    }
    if (!failed.reason) return;
    AuditFailure(originator, failed.name, failed.id, change);
    std::rethrow_exception(failed.reason);
}

void PolicyOperation::ChangeNext(const String_t& id, bool again, const HeaderChange& change, DocumentBatch& documents,
                                 Changing& progress) {
    const PolicyContainerImpl::HeaderPtr header = Cache()->GetPolicyHeader(id);
    progress.failed.name = header->GetName();
    progress.lastChanged = again ? progress.lastChanged && change.repeats : ChangeHeader(header, change, documents);
    if (progress.lastChanged) progress.done.push_back({header, progress.failed.name, documents.GetCount()});
}

/// The cache has the change before the document: what is written is what the cache holds.
/// @return whether there is a new document
bool PolicyOperation::ChangeHeader(const DocumentBatch::HeaderPtr& header, const HeaderChange& change,
                                   DocumentBatch& documents) {
    journal.RequireNone();
    documents.MakeRoom();
    const String_t id = header->GetContainerId();
    UnwrittenChanges::Reports before = unwritten.Of(id);
    // Noted first: whatever ends this between cache and disk, somebody remembers it.
    unwritten.Add(id, {change.auditMode, change.queue});
    bool changed = false;
    try {
        changed = change.apply(*header);
    } catch (const LumPalMsg::Exception_t&) {
        unwritten.Set(id, std::move(before));
        throw;
    }
    header->Compact();
    if (changed) {
        documents.Add(header);
    } else {
        unwritten.Set(id, std::move(before));
    }
    return changed;
}

void PolicyOperation::AuditFailure(const String_t& originator, const String_t& name, const String_t& id,
                                   const HeaderChange& change) const {
    if (change.namesFailedPolicy) {
        Audit(originator, name, id, change.auditMode, false);
    } else {
        Audit(originator, change.auditMode, false);
    }
}

/// What an earlier operation changed in the cache and could not write, for lack of room say: nobody may be told that a
/// policy already is as he wants it while a restart would show another one. All are tried before the first failure is
/// raised.
void PolicyOperation::WriteUnwritten(const String_t& originator, const Ids& ids,
                                     const PolicyForwarder::Options& options) {
    bool written = false;
    std::exception_ptr failure;
    const String_t* last = nullptr;
    for (const String_t& id : ids) {
        const bool again = last && *last == id;  // as in ChangeSome
        last = &id;
        if (again || !unwritten.Has(id)) continue;
        try {
            written = WriteAgain(originator, id) || written;
            unwritten.Forget(id);
        } catch (const LumPalMsg::Exception_t&) {
            if (!failure) failure = std::current_exception();
        }
    }
    if (written && options.GetNotify()) SendUnreported();
    if (failure) std::rethrow_exception(failure);
}

/// @return false for a policy or a document that is gone: it is left gone
bool PolicyOperation::WriteAgain(const String_t& originator, const String_t& id) {
    const PolicyContainerImpl::HeaderPtr header = Cache()->FindAll(Ids{id}).front();
    if (!header || !DocumentBatch::PlaceOf(installDirectory, *header).Exists()) return false;
    const UnwrittenChanges::Reports reports = unwritten.Of(id);
    try {
        RewriteDocument(header);
    } catch (const LumPalMsg::Exception_t&) {
        for (const UnwrittenChanges::Report& report : reports) {
            Audit(originator, header->GetName(), id, report.auditMode, false);
        }
        throw;
    }
    ReportWritten(originator, *header, reports);
    return true;
}

void PolicyOperation::RewriteDocument(const DocumentBatch::HeaderPtr& header) const {
    DocumentBatch document(installDirectory);
    document.MakeRoom();
    document.Add(header);
    if (const DocumentBatch::Outcome outcome = document.Place(); outcome.failure) {
        std::rethrow_exception(outcome.failure);
    }
}

void PolicyOperation::ReportWritten(const String_t& originator, const PolicyHeaderImpl& header,
                                    const UnwrittenChanges::Reports& reports) {
    const String_t id = header.GetContainerId();
    for (const UnwrittenChanges::Report& report : reports) {
        Audit(originator, header.GetName(), id, report.auditMode, true);
        (notifications.*report.queue)(header.GetTypeName(), id);
    }
}

void PolicyOperation::SetStatus(const String_t& originator, const Selection& selection, int action,
                                const PolicyForwarder::Options& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::SetStatus");
    MutexLock_t lock(mutex);
    // Kept: here neither an empty store nor an empty selection leaves a line in the audit log.
    if (!IsPolicyInstalled()) Raise<NoPoliciesInstalledError>(msg::NoPoliciesInstalled);
    const Ids selected = SelectIds(selection);
    if (selected.empty()) {
        WriteUnwritten(originator, unwritten.GetIds(), options);
        Raise<PolicyNotFoundError>(msg::StatusNoPolicyFiles);
    }

    const bool enable = action == Enable;
    const int auditMode = enable ? AuditLog::Enable : AuditLog::Disable;
    // A status that is neither word falls out both ways.
    const Ids ids = Narrow(selected, [enable](const PolicyHeaderImpl& header) {
        return enable ? header.IsDisabled() : header.IsEnabled();
    });
    if (ids.empty()) {
        WriteUnwritten(originator, selected, options);
        Audit(originator, auditMode, true);
        Raise<NoPolicyOperation>(msg::StatusAlreadySet);
    }
    HeaderChange change{auditMode, [enable](PolicyHeaderImpl& header) {
                            enable ? header.SetEnabled() : header.SetDisabled();
                            return true;
                        }};
    change.queue = enable ? &NotifyStore::AddEnable : &NotifyStore::AddDisable;
    ChangeHeaders(originator, selected, ids, change, options);
}

void PolicyOperation::SetOwner(const String_t& originator, const String_t& owner, const Selection& selection,
                               const PolicyForwarder::Options& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::SetOwner");
    MutexLock_t lock(mutex);
    const Ids selected = SelectFor(originator, selection, AuditLog::Owner, msg::OwnerNoPolicyFiles, options);
    const Ids ids = Narrow(selected, [&owner](const PolicyHeaderImpl& header) { return header.GetOwner() != owner; });
    if (ids.empty()) {
        WriteUnwritten(originator, selected, options);
        Audit(originator, AuditLog::Owner, true);
        RaiseOwnerSet(selected, owner);
    }
    HeaderChange change{AuditLog::Owner, [&owner](PolicyHeaderImpl& header) {
                            header.SetOwner(owner);
                            return true;
                        }};
    change.auditsSuccess = false;
    ChangeHeaders(originator, selected, ids, change, options);
}

void PolicyOperation::RaiseOwnerSet(const Ids& selected, const String_t& owner) const {
    if (selected.size() > 1) {
        Raise<NoPolicyOperation>(msg::OwnerAlreadySetForAll, JoinWithBlanks(selected), owner);
    }
    const String_t& id = selected.front();
    Raise<NoPolicyOperation>(msg::OwnerAlreadySet, Cache()->GetPolicyHeader(id)->GetName(), id, owner);
}

void PolicyOperation::ModifyCategory(const String_t& originator, const String_t& categories, const Selection& selection,
                                     const PolicyForwarder::Options& options, int action) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::ModifyCategory");
    MutexLock_t lock(mutex);
    if (action != AddCategory && action != RemoveCategory) {
        Audit(originator, AuditLog::Category, false);
        Raise<LumPalMsg::IllegalStateError_t>(msg::CategoryOperationNotPossible);
    }
    const Ids selected = SelectFor(originator, selection, AuditLog::Category, msg::CategoryNoPolicyFiles, options);
    const bool adds = action == AddCategory;
    const Ids words = adds ? DistinctWords(categories) : WordsAmong(categories, CategoriesOf(*Cache(), selected));
    const HashedTexts<String_t> unwanted(adds ? Ids() : words);
    // Kept: one flag for the whole selection, so that all that follow the first change are rewritten and told.
    bool rewrite = false;
    const HeaderChange change{AuditLog::Category, [&words, &unwanted, &rewrite](PolicyHeaderImpl& header) {
                                  const bool done = unwanted.IsEmpty() ? AddCategories(header, words)
                                                                       : header.RemoveCategories(unwanted);
                                  rewrite = rewrite || done;
                                  return rewrite;
                              }};
    if (ChangeHeaders(originator, selected, selected, change, options)) return;
    Audit(originator, AuditLog::Category, true);
    Raise<PolicyNotFoundError>(msg::CategoryNoPolicyFiles);
}

void PolicyOperation::RemoveAllCategories(const String_t& originator, const Selection& selection,
                                          const PolicyForwarder::Options& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::RemoveAllCategories");
    MutexLock_t lock(mutex);
    const Ids selected = SelectFor(originator, selection, AuditLog::Category, msg::CategoryNoPolicyFiles, options);
    const Ids ids = Narrow(selected, HasCategories);
    if (ids.empty()) {
        WriteUnwritten(originator, selected, options);
        Audit(originator, AuditLog::Category, true);
        Raise<PolicyNotFoundError>(msg::CategoryNone);
    }
    const HeaderChange change{AuditLog::Category, [](PolicyHeaderImpl& header) {
                                  header.RemoveAllCategories();
                                  return true;
                              }};
    ChangeHeaders(originator, selected, ids, change, options);
}

void PolicyOperation::ModifyAttributes(const String_t& originator, const String_t& attribute,
                                       const Selection& selection, const PolicyForwarder::Options& options,
                                       int action) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::ModifyAttributes");
    if (action != AddAttribute && action != RemoveAttribute) {
        Raise<LumPalMsg::IllegalStateError_t>(msg::AttributeOperationNotPossible);
    }
    MutexLock_t lock(mutex);
    const NameAndValue pair = SplitAttribute(attribute);
    const Ids selected = SelectFor(originator, selection, AuditLog::Attribute, msg::AttributeNoPolicyFiles, options);
    const Ids ids = action == RemoveAttribute ? Narrow(selected, HasAttributes) : selected;
    HeaderChange change{AuditLog::Attribute, [&pair, action](PolicyHeaderImpl& header) {
                            return action == AddAttribute ? header.SetAttribute(pair.name, pair.value)
                                                          : header.RemoveAttribute(pair.name, pair.value);
                        }};
    change.namesFailedPolicy = false;  // kept: the line of a failure is that of the whole operation
    change.repeats = false;            // the second time the attribute is there, or gone
    if (ChangeHeaders(originator, selected, ids, change, options)) return;
    Audit(originator, AuditLog::Attribute, true);
    Raise<PolicyNotFoundError>(msg::AttributeModifyNoPolicyFiles);
}

void PolicyOperation::RemoveAllAttributes(const String_t& originator, const Selection& selection,
                                          const PolicyForwarder::Options& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::RemoveAllAttributes");
    MutexLock_t lock(mutex);
    const Ids selected =
        SelectFor(originator, selection, AuditLog::Attribute, msg::AttributeRemoveAllNoPolicyFiles, options);
    const Ids ids = Narrow(selected, HasAttributes);
    if (ids.empty()) {
        WriteUnwritten(originator, selected, options);
        Audit(originator, AuditLog::Attribute, true);
        Raise<PolicyNotFoundError>(msg::AttributeRemoveAllNoPolicyFiles);
    }
    const HeaderChange change{AuditLog::Attribute, [](PolicyHeaderImpl& header) {
                                  header.RemoveAllAttributes();
                                  return true;
                              }};
    ChangeHeaders(originator, selected, ids, change, options);
}

}  // namespace LumConf
