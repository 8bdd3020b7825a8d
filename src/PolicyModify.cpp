// The operations that change headers of installed policies: status, owner, categories, attributes.
#include "AttributeCheck.h"
#include "AuditLog.h"
#include "DistinctWords.h"
#include "Exceptions.h"
#include "HeaderChange.h"
#include "Messages.h"
#include "PolicyHeaderImpl.h"
#include "PolicyOperation.h"
#include "Selection.h"
#include "StringList.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

namespace {

using Texts = std::vector<String_t>;

/// @return whether any was new
bool AddCategories(PolicyHeaderImpl& header, const std::vector<String_t>& categories) {
    bool added = false;
    for (const String_t& category : categories) added = header.SetCategory(category) || added;
    return added;
}

/// Of all these policies.
Texts CategoriesOf(const PolicyContainerImpl& policies, const Texts& ids) {
    Texts categories;
    const String_t* last = nullptr;
    for (const String_t& id : ids) {
        const bool again = last && *last == id;  // as in ChangeHeaders
        last = &id;
        if (again) continue;
        const Texts own = policies.GetPolicyHeader(id)->Snapshot().categories;
        categories.insert(categories.end(), own.begin(), own.end());
    }
    return categories;
}

bool HasCategories(const PolicyHeaderImpl& header) {
    return header.GetCategoryCount() > 0;
}

bool HasAttributes(const PolicyHeaderImpl& header) {
    return header.GetAttributesCount() > 0;
}

}  // namespace

PolicyOperation::Ids PolicyOperation::SelectFor(const String_t& originator, const Selection& selection,
                                                AuditLog::Mode auditMode, const MessageRow& noneFound,
                                                const PolicyForwarder::Options& options) {
    const Ids ids = SelectIds(selection);
    if (!ids.empty()) return ids;
    // The change that could not be written may be why nothing is selected any more.
    WriteUnwritten(originator, unwritten.GetIds(), options);
    Audit(originator, auditMode, Outcome::Success);  // kept: nothing found counts as a success in the audit log
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
    const AuditLog::Mode auditMode = enable ? AuditLog::Enable : AuditLog::Disable;
    // A status that is neither word falls out both ways.
    const Ids ids = Narrow(selected, [enable](const PolicyHeaderImpl& header) {
        return enable ? header.IsDisabled() : header.IsEnabled();
    });
    if (ids.empty()) {
        WriteUnwritten(originator, selected, options);
        Audit(originator, auditMode, Outcome::Success);
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
        Audit(originator, AuditLog::Owner, Outcome::Success);
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
                                     const PolicyForwarder::Options& options, Action action) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::ModifyCategory");
    MutexLock_t lock(mutex);
    if (action != AddCategory && action != RemoveCategory) {
        Audit(originator, AuditLog::Category, Outcome::Failure);
        Raise<LumPalMsg::IllegalStateError_t>(msg::CategoryOperationNotPossible);
    }
    const Ids selected = SelectFor(originator, selection, AuditLog::Category, msg::CategoryNoPolicyFiles, options);
    const bool adds = action == AddCategory;
    Ids words;
    try {
        words = adds ? DistinctWords(categories) : WordsAmong(categories, CategoriesOf(*Cache(), selected));
    } catch (const LumPalMsg::IllegalArgumentError_t&) {
        Audit(originator, AuditLog::Category, Outcome::Failure);
        throw;
    }
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
    Audit(originator, AuditLog::Category, Outcome::Success);
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
        Audit(originator, AuditLog::Category, Outcome::Success);
        Raise<PolicyNotFoundError>(msg::CategoryNone);
    }
    const HeaderChange change{AuditLog::Category, [](PolicyHeaderImpl& header) {
                                  header.RemoveAllCategories();
                                  return true;
                              }};
    ChangeHeaders(originator, selected, ids, change, options);
}

void PolicyOperation::ModifyAttributes(const String_t& originator, String_t attribute, const Selection& selection,
                                       const PolicyForwarder::Options& options, Action action) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::ModifyAttributes");
    if (action != AddAttribute && action != RemoveAttribute) {
        Raise<LumPalMsg::IllegalStateError_t>(msg::AttributeOperationNotPossible);
    }
    MutexLock_t lock(mutex);
    const NameAndValue pair = SplitAttribute(std::move(attribute));
    const Ids selected = SelectFor(originator, selection, AuditLog::Attribute, msg::AttributeNoPolicyFiles, options);
    const Ids ids = action == RemoveAttribute ? Narrow(selected, HasAttributes) : selected;
    HeaderChange change{AuditLog::Attribute, [&pair, action](PolicyHeaderImpl& header) {
                            return action == AddAttribute ? header.SetAttribute(pair.name, pair.value)
                                                          : header.RemoveAttribute(pair.name, pair.value);
                        }};
    change.namesFailedPolicy = false;  // kept: the line of a failure is that of the whole operation
    change.repeats = false;            // the second time the attribute is there, or gone
    if (ChangeHeaders(originator, selected, ids, change, options)) return;
    Audit(originator, AuditLog::Attribute, Outcome::Success);
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
        Audit(originator, AuditLog::Attribute, Outcome::Success);
        Raise<PolicyNotFoundError>(msg::AttributeRemoveAllNoPolicyFiles);
    }
    const HeaderChange change{AuditLog::Attribute, [](PolicyHeaderImpl& header) {
                                  header.RemoveAllAttributes();
                                  return true;
                              }};
    ChangeHeaders(originator, selected, ids, change, options);
}

}  // namespace LumConf
