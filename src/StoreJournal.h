/// @file
/// Makes each change of a policy one step for whoever looks after a restart.
#pragma once

#include <vector>

#include "LumPalIo.h"
#include "StoreChange.h"

namespace LumConf {

/// Keeps the record of the change that is being made: one file of the spool folder, which is there, on the disk, before
/// the change touches the store, and is gone when all of it is on the disk. A start that finds one finishes that
/// change. A change that fails while the process lives is not finished: its record goes too.
///
/// No lock: used under the mutex of the policy operations, and before any of them.
class StoreJournal {
public:
    /// The record of one change, as long as it lives. The journal must outlive it.
    class Entry {
    public:
        explicit Entry(StoreJournal& journal) : journal(journal) {}
        /// What cannot be deleted is remembered: see RequireNone.
        ~Entry() { journal.Forget(); }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    private:
        StoreJournal& journal;
    };

    /// Writes the record, flushed with its name. Everything that waits to be placed must be flushed by then, with its
    /// name.
    /// @throws LumPalIo::IOException_t (NoSpaceException_t where that is the reason); nothing has changed then
    [[nodiscard]] Entry Record(const StoreChange& change);

    /// The same for a change that is not to fail for its record alone: who removes policies may do so to win room.
    /// Where no record can be written, which is logged, a crash may leave the change half done.
    [[nodiscard]] Entry RecordIfPossible(const StoreChange& change);

    /// Asked before files are put where those of a former change waited: a record of that change must not find them.
    /// @throws LumPalIo::IOException_t when the record of a change that is over still cannot be deleted
    void RequireNone();

    /// Finishes the change that a crash interrupted, if there is one, and deletes its record. A record that is none is
    /// put aside. Both are written to the application log.
    /// @throws LumPalIo::IOException_t when the change cannot be finished; the record then stays for the next start
    static void FinishInterrupted();

    /// Flushes files of a folder, not their names there. More than a handful are flushed with their whole file system:
    /// that costs less than one after another, but also waits for what others wrote. @throws LumPalIo::IOException_t
    static void FlushFiles(const LumPalIo::File_t& folder, const std::vector<LumPalStr::String_t>& names);

    /// Flushes the folders of types, with what was put into them, and the folder above them. A folder that is not
    /// there needs none. @throws LumPalIo::IOException_t
    static void Flush(const std::vector<LumPalStr::String_t>& typeNames);

private:
    void Write(const StoreChange& change);
    void Forget() noexcept;

    bool leftover = false;  ///< a record of a change that is over could not be deleted
};

}  // namespace LumConf
