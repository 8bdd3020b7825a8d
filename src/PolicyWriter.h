/// @file
/// Changes an installed policy's document.
#pragma once

#include "LumPalIo.h"
#include "LumPalStr.h"
#include "LumPalXml.h"
#include "PolicyHeaderImpl.h"
#include "PolicyXmlHandler.h"

namespace LumConf {

/// Puts a changed policy document in the store: the old document is streamed through the rewrite mode of
/// PolicyXmlHandler, which keeps what it does not know. Used once, by one thread.
class PolicyWriter {
public:
    /// @param tempFile    where the new document is made
    /// @param oldFile     the document being replaced; deleted
    /// @param input       its content; closed
    /// @param targetBase  the directory under which the type's directory lies
    /// @param source      the new values; not owned
    /// @throws LumPalMsg::IllegalArgumentError_t WriterArgument for a null file, input or source;
    ///         LumPalIo::FileNotFoundException_t WriterFileNotWritten when tempFile cannot be opened
    PolicyWriter(const LumPalIo::File_t& tempFile, const LumPalIo::File_t& oldFile,
                 const LumPalIo::InputStream_t& input, const LumPalIo::File_t& targetBase, PolicyHeaderImpl* source);
    /// A document that was made and not moved goes.
    ~PolicyWriter();
    PolicyWriter(const PolicyWriter&) = delete;
    PolicyWriter& operator=(const PolicyWriter&) = delete;

    /// Makes the new document in tempFile and flushes it: all that needs room on the disk, before anything of the
    /// store changes. Write does it too when nobody did. A failure deletes tempFile.
    /// @throws as Write, but for MoveOrCopyFile
    void Prepare();
    /// The same without the flush, which is the caller's: before Write. No file stays open.
    void PrepareUnflushed();
    /// Moves the new document to its place; then a document of `oldId` in the type's directory goes, so that a failure
    /// leaves one of the two. The caller flushes the directory.
    /// @throws LumPalMsg::IllegalStateError_t WriterNotInitialized on a second call; PolicyFileException for an id or a
    ///         type name that is no file name (nothing has changed then); what the parser, the handler
    ///         (XmlSignatureCount among them) and DirectoryImpl::MoveOrCopyFile raise, unchanged
    void Write(const LumPalStr::String_t& oldId);

private:
    void Make(bool flushed);
    void Rewrite();

    bool initialized = false;
    bool prepared = false;  ///< the new document is whole and waits in tempFile
    LumPalIo::File_t tempFile;
    LumPalIo::File_t oldFile;
    LumPalIo::InputStream_t input;
    LumPalIo::File_t targetBase;
    LumPalIo::FileOutputStream_t fileStream;
    LumPalIo::BufferedOutputStream_t bufferedStream;
    LumPalXml::XmlWriter_t writer;
    PolicyHeaderImpl* source;
    PolicyXmlHandler handler;
};

}  // namespace LumConf
