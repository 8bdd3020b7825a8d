/// @file
/// Writes new policy documents.
#pragma once

#include "LumPalIo.h"
#include "LumPalXml.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

/// Makes the document of a header from nothing: unsigned, with an empty certificate and an empty signature for each
/// data file. Any thread.
class PolicyDocumentWriter {
public:
    /// Makes the file; what was begun is removed again when the writing fails.
    /// @throws as PolicyHeader::Write; LumPalMsg::IllegalArgumentError_t for a text that XML cannot carry
    static void WriteNew(const LumPalIo::File_t& file, const PolicyRecord& record);
    /// The document alone. The stream stays open.
    static void WriteDocument(const LumPalIo::OutputStream_t& stream, const PolicyRecord& record);
};

}  // namespace LumConf
