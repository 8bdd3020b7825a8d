/// @file
/// A folder of files that is there whole or not at all.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalPlainMutex.h"
#include "LumPalStr.h"

namespace lumpolicy {

/// A file is there already, with other contents.
LUMPAL_DECLARE_EXCEPTION(, FilesCollide, LumPalMsg::RuntimeException_t);

/// A new folder of folders, which its user alone may read. It is written aside, beside its place, under a hidden name
/// that says "unfinished", and takes its place when all of it is on the disk; what is not finished goes with the object
/// (a killed process leaves it under that name). Any thread, so that another one may give it up.
class ExportFolder {
public:
    /// What becomes of that which has the place.
    enum class Taken {
        Refuse,
        Keep  ///< it is renamed: ".1" stands behind its name, or the next number that is free
    };

    /// Makes nothing yet. @param place  its folder must be there
    /// @throws LumPalMsg::IllegalArgumentError_t for a name that no new folder can have, and for a folder above it that
    ///         is not there; LumPalIo::IOException_t where something has the place
    ExportFolder(const std::string& place, Taken taken);
    ExportFolder(const ExportFolder&) = delete;
    ExportFolder& operator=(const ExportFolder&) = delete;
    ~ExportFolder();

    /// Begins with an empty folder; what was written before goes. @throws LumPalIo::IOException_t; IllegalStateError_t
    ///         after GiveUp, as the next two
    void Begin();
    /// Writes a file of a folder in it. One that is there already, and is alike, is left.
    /// @param folder, name  from anywhere
    /// @return the SHA-256 of what is there now, 32 bytes
    /// @throws LumPalMsg::RuntimeException_t for a name that is no plain one; FilesCollide;
    ///         LumPalIo::NoSpaceException_t, LumPalIo::IOException_t
    std::string Write(const LumPalStr::String_t& folder, const LumPalStr::String_t& name,
                      const LumPalArray::CharArray_t& bytes);
    /// Forces all of it to the disk and gives it its place. @return the path of what had the place; empty for none
    /// @throws LumPalIo::IOException_t, also where something came into the place meanwhile
    std::string Finish();
    /// Takes away what is not finished; nothing can be written any more. True when it is not finished. Never throws.
    bool GiveUp() noexcept;

private:
    using Folder_t = LumPalIo::Folder_t;

    void CheckGoesOn() const LUMPAL_REQUIRES(mutex);
    Folder_t Open(const LumPalStr::String_t& folder) LUMPAL_REQUIRES(mutex);
    LumPalStr::String_t MakeWay() const;
    void Discard() noexcept LUMPAL_REQUIRES(mutex);

    std::optional<Folder_t> parent;
    LumPalStr::String_t name;
    Taken taken;
    LumPalThread::PlainMutex_t mutex;
    std::string aside LUMPAL_GUARDED_BY(mutex);  ///< empty before it is begun and when it is finished
    std::map<LumPalStr::String_t, Folder_t> folders LUMPAL_GUARDED_BY(mutex);
    bool isGivenUp LUMPAL_GUARDED_BY(mutex) = false;
    bool isFinished LUMPAL_GUARDED_BY(mutex) = false;
};

}  // namespace lumpolicy
