/// @file
/// New documents of installed policies, which take their places together.
#pragma once

#include <exception>
#include <memory>
#include <vector>

#include "LumPalIo.h"
#include "LumPalPtr.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

class PolicyWriter;

/// Makes the documents of changed headers anew. Each is made beside the store; then all are flushed together, which
/// costs far less than one after another; then each takes its place, and the folders are flushed. Used once, under the
/// mutex of the policy operations. A document that was made and has no place goes with the batch.
class DocumentBatch {
public:
    using HeaderPtr = LumPalPtr::RefPtr_t<PolicyHeaderImpl>;

    /// What became of the documents, in their order.
    struct Outcome {
        std::size_t placed = 0;      ///< so many, from the first on, have their places on the disk
        std::exception_ptr failure;  ///< why the next one has not; null when all have
    };

    /// @param store  the folder of the folders of types
    explicit DocumentBatch(const LumPalIo::File_t& store);
    ~DocumentBatch();
    DocumentBatch(const DocumentBatch&) = delete;
    DocumentBatch& operator=(const DocumentBatch&) = delete;

    /// Takes a file for the next document: it needs room, and whoever changes the header afterwards has it.
    /// @throws LumPalIo::IOException_t
    void MakeRoom();
    /// Makes the new document of a header as it is now; nothing in the store changes. MakeRoom comes first.
    /// @throws PolicyFileException for an id or a type name that is no file name;
    ///         LumPalIo::FileNotFoundException_t for a document that is gone; what PolicyWriter::Prepare raises
    void Add(const HeaderPtr& header);
    std::size_t GetCount() const noexcept { return documents.size(); }
    const HeaderPtr& GetHeader(std::size_t position) const { return documents[position].header; }
    /// Puts them in their places, in their order, up to the first that cannot have its own.
    Outcome Place();

    /// Where the document of a header stands. @throws PolicyFileException as Add
    static LumPalIo::File_t PlaceOf(const LumPalIo::File_t& store, const PolicyHeaderImpl& header);

private:
    struct Document {
        HeaderPtr header;
        LumPalIo::File_t file;  ///< where it waits
        std::unique_ptr<PolicyWriter> writer;
    };

    void FlushWaiting() const;
    void FlushPlaced(std::size_t count) const;

    const LumPalIo::File_t store;
    LumPalIo::File_t room;  ///< taken for the next document; null when there is none
    std::vector<Document> documents;
};

}  // namespace LumConf
