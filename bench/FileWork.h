/// @file
/// The work on files that an install cannot do without, by bare calls of the system.
#pragma once

#include <string>

#include "LumPalArray.h"

namespace bench {

/// Takes a header and its data files to a store as an install does: the header to an incoming folder; the data files
/// likewise, protected and flushed, many of them at once; a document written aside, protected and flushed; both folders
/// flushed; a record of the change written aside, flushed, renamed and its folder flushed; the document takes its place
/// by a rename when the incoming header is gone, the data files are moved beside it, their folder is flushed; the
/// record goes and its folder is flushed; a line of a log. Nothing is looked at or checked.
class FileWork {
public:
    /// Makes folders of its own below a folder.
    explicit FileWork(const std::string& folder);
    ~FileWork();
    FileWork(const FileWork&) = delete;
    FileWork& operator=(const FileWork&) = delete;

    /// @param bytes      the header's, and behind them those of all data files
    /// @param dataFiles  how many files these are, of the same length but for the last one
    /// @throws std::runtime_error
    void Run(const LumPalArray::CharArray_t& bytes, std::size_t headerBytes, std::size_t dataFiles = 1);

    /// Likewise for a document that changes where it stands: read, written aside and flushed, which takes its place by
    /// a rename; protected, the folder flushed; a line of a log.
    /// @param path  the document. @throws std::runtime_error
    void Rewrite(const std::string& path);

private:
    void WriteLog() const;

    void Record(const std::string& text) const;

    std::string base, incoming, aside, store;
    int log;
    int runs = 0;
};

}  // namespace bench
