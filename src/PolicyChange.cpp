// How changed headers get their documents, what is told of it, and what becomes of a change that was not written.
#include <exception>
#include <utility>

#include "DocumentBatch.h"
#include "HeaderChange.h"
#include "UnwrittenChanges.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

/// So many documents wait together for their flush: a flush costs as much as dozens of them.
constexpr std::size_t kMostAtOnce = 256;

}  // namespace

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
        if (change.auditsSuccess) Audit(originator, done.name, id, change.auditMode, Outcome::Success);
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
        Audit(originator, name, id, change.auditMode, Outcome::Failure);
    } else {
        Audit(originator, change.auditMode, Outcome::Failure);
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
            Audit(originator, header->GetName(), id, report.auditMode, Outcome::Failure);
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
        Audit(originator, header.GetName(), id, report.auditMode, Outcome::Success);
        (notifications.*report.queue)(header.GetTypeName(), id);
    }
}

}  // namespace LumConf
