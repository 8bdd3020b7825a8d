/// @file
/// What a Directory refers to, and the file services of the store.
#pragma once

#include <vector>

#include "LumPalIo.h"
#include "LumPalRef.h"
#include "LumPalStr.h"

namespace LumConf {

/// The list behind Directory. The static members make, move and delete files of the store, which rest read-only; none
/// follows a symbolic link. No lock: callers serialise their writes.
class DirectoryImpl final : public LumPalRef::RefCounted_t {
public:
    void ExtractPolicyFilenames(const LumPalIo::File_t& file);
    int GetPolicyFilenameCount() const noexcept { return static_cast<int>(filenames.size()); }
    LumPalIo::File_t GetPolicyFilename(int index) const;

    /// The folder that a file lies in.
    static LumPalIo::File_t FolderOf(const LumPalIo::File_t& file);
    /// Deletes a file, also a read-only one. @return false when that failed: the file is then readable by its owner
    /// @throws LumPalMsg::IllegalStateError_t 6 for a null file
    static bool DeleteFile(const LumPalIo::File_t& file);
    /// Gives a file, or what else bears the name, a name in the temporary directory. @return whether it is away
    /// @throws LumPalIo::IOException_t when no name can be had there
    static bool MoveAway(const LumPalIo::Folder_t& folder, const LumPalStr::String_t& name);
    /// Deletes the files in a directory and the directory; what lies in directories below it stays, and so then
    /// does the directory. A symbolic link in its place goes alone. Failures are traced.
    static void DeleteDirectory(const LumPalIo::File_t& directory);
    /// Makes a directory with its parents. @return whether it is there; a failure is traced
    static bool MakeDirectory(const LumPalIo::File_t& directory);
    /// Puts a file to another place, making its directories; what stands there is replaced, in one step where the
    /// system can. The file is read-only from its first moment there. Its name is not flushed: the caller flushes the
    /// folder, once for all that he moves into it.
    /// @throws LumPalIo::IOException_t DestinationNotDeleted when what stands there cannot be moved away, FileNotCopied
    ///         (a NoSpaceException_t where that is the reason) when the file cannot be moved or copied, or is no plain
    ///         file with one name; nothing half-written remains, and a file that stood there stays when the source
    ///         cannot be read or copied
    static void MoveOrCopyFile(const LumPalIo::File_t& source, const LumPalIo::File_t& destination);
    /// Makes a new, empty, writable file in the temporary directory. @throws LumPalIo::IOException_t
    static LumPalIo::File_t CreateTemporaryFile();
    /// Opens such a file to write it: made anew, so that nothing is written to where a link or a second name leads that
    /// somebody has put in its place meanwhile. @throws LumPalIo::IOException_t
    static LumPalIo::FileOutputStream_t OpenTemporaryFile(const LumPalIo::File_t& file);
    /// Whether a name bears the suffix of header files; it may stand anywhere in it (kept: callers rely on it).
    static bool IsHeaderFileName(const LumPalStr::String_t& name);

private:
    std::vector<LumPalIo::File_t> filenames;
};

}  // namespace LumConf
