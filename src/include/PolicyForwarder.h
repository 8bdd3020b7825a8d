/// @file
/// Requests on the policies of a node, sent to it one at a time.
#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "LumPalIo.h"
#include "LumPalStr.h"
#include "LumVoxMsg.h"
#include "NodeStatus.h"
#include "StoredPolicy.h"

namespace LumConf {

class InstallOptions;
class PolicyContainer;
class PolicyForwarderImpl;
class Selection;

/// Sends requests on policies to a node ("localhost" is one like any other). A handle: copies share the messenger.
/// Every operation blocks until the answer has come; any thread, also several at once. An answer that is no success
/// leaves as an exception of Exceptions.h that has the node's words in its details; a node that cannot be reached as
/// the transport's exception.
class LUMCONF_API PolicyForwarder {
public:
    /// How the node treats a request. A value; the setters return the object, for chaining.
    class LUMCONF_API Options {
    public:
        Options();
        Options(const Options& other);
        Options& operator=(const Options& other);
        ~Options();

        /// Whether the node's consumers are notified (true at first).
        Options& SetNotify(bool value);
        /// Kept for callers; a request never closes the connection (false at first).
        Options& SetCloseConnection(bool value);
        /// Id of the target of the request (empty at first).
        Options& SetTargetID(const LumPalStr::String_t& id);
        bool GetNotify() const;
        bool GetCloseConnection() const;
        LumPalStr::String_t GetTargetID() const;

    private:
        struct Impl;
        std::unique_ptr<Impl> impl;
    };

    /// With a messenger of its own.
    PolicyForwarder();
    /// Shares the caller's messenger.
    explicit PolicyForwarder(const LumVoxMsg::Messenger& messenger);
    PolicyForwarder(const PolicyForwarder& other);
    PolicyForwarder& operator=(const PolicyForwarder& other);
    ~PolicyForwarder();
    /// The messenger in use.
    const LumVoxMsg::Messenger& GetVoxMessenger() const;

    /// Sends a header file with the data files beside it.
    /// @throws PolicyFileException 148 to 150, LumPalIo::FileNotFoundException_t 611 for a file that is no header file
    void Install(const LumPalStr::String_t& host, const LumPalIo::File_t& headerFile) const;
    void Install(const LumPalStr::String_t& host, const LumPalIo::File_t& headerFile,
                 const InstallOptions& options) const;

    void Remove(const LumPalStr::String_t& host, const Selection& selection) const;
    void Remove(const LumPalStr::String_t& host, const Selection& selection, const Options& options) const;
    void Enable(const LumPalStr::String_t& host, const Selection& selection) const;
    void Enable(const LumPalStr::String_t& host, const Selection& selection, const Options& options) const;
    void Disable(const LumPalStr::String_t& host, const Selection& selection) const;
    void Disable(const LumPalStr::String_t& host, const Selection& selection, const Options& options) const;

    /// An empty owner is sent as it is.
    void SetOwner(const LumPalStr::String_t& host, const LumPalStr::String_t& owner, const Selection& selection) const;
    void SetOwner(const LumPalStr::String_t& host, const LumPalStr::String_t& owner, const Selection& selection,
                  const Options& options) const;

    /// @throws LumPalMsg::IllegalArgumentError_t 151 for an empty or blank category
    void AddCategory(const LumPalStr::String_t& host, const LumPalStr::String_t& category,
                     const Selection& selection) const;
    void AddCategory(const LumPalStr::String_t& host, const LumPalStr::String_t& category, const Selection& selection,
                     const Options& options) const;
    /// @throws LumPalMsg::IllegalArgumentError_t 152 for an empty category; a blank one is sent as it is
    void RemoveCategory(const LumPalStr::String_t& host, const LumPalStr::String_t& category,
                        const Selection& selection) const;
    void RemoveCategory(const LumPalStr::String_t& host, const LumPalStr::String_t& category,
                        const Selection& selection, const Options& options) const;
    void RemoveAllCategories(const LumPalStr::String_t& host, const Selection& selection) const;
    void RemoveAllCategories(const LumPalStr::String_t& host, const Selection& selection, const Options& options) const;

    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71 for a bad name
    void AddAttribute(const LumPalStr::String_t& host, const LumPalStr::String_t& name,
                      const LumPalStr::String_t& value, const Selection& selection) const;
    void AddAttribute(const LumPalStr::String_t& host, const LumPalStr::String_t& name,
                      const LumPalStr::String_t& value, const Selection& selection, const Options& options) const;
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71 for a bad name or value
    void RemoveAttribute(const LumPalStr::String_t& host, const LumPalStr::String_t& name,
                         const LumPalStr::String_t& value, const Selection& selection) const;
    void RemoveAttribute(const LumPalStr::String_t& host, const LumPalStr::String_t& name,
                         const LumPalStr::String_t& value, const Selection& selection, const Options& options) const;
    void RemoveAllAttributes(const LumPalStr::String_t& host, const Selection& selection) const;
    void RemoveAllAttributes(const LumPalStr::String_t& host, const Selection& selection, const Options& options) const;

    /// Sends what the node has queued for its consumers.
    void Notify(const LumPalStr::String_t& host) const;
    /// Kept: the target id has no effect, the call is that of the first form.
    void Notify(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId) const;

    /// The selected policies of the node.
    PolicyContainer List(const LumPalStr::String_t& host, const Selection& selection) const;
    PolicyContainer List(const LumPalStr::String_t& host, const Selection& selection,
                         const LumPalStr::String_t& targetId) const;

    /// The policies of a type on the node that name one of the data files, each with those of the files that it names
    /// (PolicyHeader::GetDataFile). The node finds them without walking over the others. One of an older version knows
    /// the question as "all of the type" and lists these, without data files; so it does with an empty list of files.
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71 for a bad type name; as List
    PolicyContainer ListNaming(const LumPalStr::String_t& host, const LumPalStr::String_t& typeName,
                               const std::vector<LumPalStr::String_t>& dataFiles,
                               const LumPalStr::String_t& targetId) const;

    /// The selected policies with their documents, and of their data files the digests (needs the right to list) or the
    /// contents (the right to install too; 64 MiB in all). Throws as GetStatus, and as List for a selection without
    /// policies; PolicyFileException, LumPalIo::IOException_t for an answer that is no package.
    std::vector<StoredPolicy> ReadStored(const LumPalStr::String_t& host, const Selection& selection, StoredFiles what,
                                         const LumPalStr::String_t& targetId) const;

    /// How the node fares. Needs the right to list. @throws as List, but the errors of a selection;
    /// LumVoxSoap::SOAPFaultException from a node of an older version, which does not know the question
    NodeStatus GetStatus(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId) const;

private:
    PolicyForwarderImpl* impl;
};

}  // namespace LumConf
