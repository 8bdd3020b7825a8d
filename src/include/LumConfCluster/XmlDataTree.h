/// @file
/// A small XML file as a tree.
#pragma once

#include "Export.h"
#include "LumPalArray.h"
#include "LumPalIo.h"
#include "XmlDataNode.h"

namespace LumConfCluster {

/// A node without a name, whose first child is the document's element: tree[0]. For files of a few dozen elements.
/// Namespaces, comments and the order of text and children are not kept. One thread.
class LUMCONF_API XmlDataTree : public XmlDataNode {
public:
    /// Reads the file behind what is in the tree; what was read before a failure stays. A file of more than 4 MiB,
    /// with elements more than 1,000 deep, or of which a part stands elsewhere, is refused.
    /// @throws LumConf::ClusterXmlDataTreeException 352 (no XML, or refused), 356
    /// @throws LumPalIo::FileNotFoundException_t 671
    /// @throws LumConf::PolicyHeaderException 354 for what else went wrong
    void Load(const LumPalIo::File_t& file);
    /// The same for a document in memory, of at most 32 MiB.
    /// @param name    what messages call it
    /// @throws as Load, but for a file that is not there
    void LoadText(const LumPalStr::String_t& name, const LumPalArray::CharArray_t& text);
};

}  // namespace LumConfCluster
