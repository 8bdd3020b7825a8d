/// @file
/// Reading the policies of one node whole into a folder.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "PolicyForwarder.h"
#include "StoredPolicy.h"
#include "common/Selections.h"
#include "lumpolicy/ExportFolder.h"

namespace lumpolicy {

/// The node's policies are no longer those that were read.
LUMPAL_DECLARE_EXCEPTION(, PoliciesChanged, LumPalMsg::RuntimeException_t);

/// One reading. It refers to what it is made of. One thread.
class NodeExport {
public:
    struct Source {
        const LumConf::PolicyForwarder& forwarder;
        const std::string host, targetId;
        const lumtools::Selections& selections;
        std::function<void(const std::string&)> setStep;
    };

    NodeExport(const Source& source, ExportFolder& folder) : source(source), folder(folder) {}

    /// Writes the selected policies to the folder, which it begins and does not finish: a folder for each type, in it
    /// the documents and data files byte by byte. They have then been at one time what the node has: what it tells
    /// afterwards is held against what was written.
    /// @return their headers @throws PoliciesChanged; LumPalMsg::RuntimeException_t for answers that are none and for
    ///         policies of which the node misses data; as ListSome, ReadFromNode, ExportFolder
    std::vector<LumConf::PolicyHeader> Run();
    /// The policy that was at work when Run threw, as NameOf tells it; empty for none.
    const std::string& GetCurrent() const { return current; }

private:
    using Digests = std::map<LumPalStr::String_t, std::string>;
    using ByFile = std::map<LumPalStr::String_t, Digests>;

    void Export(const LumConf::PolicyHeader& listed);
    LumConf::StoredPolicy ReadOne(const LumPalStr::String_t& id) const;
    void Write(const LumConf::StoredPolicy& policy);
    void RefuseIncomplete() const;
    ByFile DigestsNow() const;
    void CheckUnchanged() const;

    const Source& source;
    ExportFolder& folder;
    std::string current;
    std::vector<LumConf::PolicyHeader> headers;
    ByFile written;  ///< by the ids of policies
    std::vector<std::string> incomplete;
};

}  // namespace lumpolicy
