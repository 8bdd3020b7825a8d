/// @file
/// The work on files that an install cannot do without, by bare calls of the system.
#pragma once

#include <string>

#include "LumPalArray.h"

namespace bench {

/// Takes a header and a data file to a store as an install does: the header to an incoming folder; the data file
/// likewise, flushed; a document written aside and flushed, which takes its place by a rename when the incoming header
/// is gone; the data file moved beside it; both protected; a line of a log. Nothing is looked at or checked.
class FileWork {
public:
    /// Makes folders of its own below a folder.
    explicit FileWork(const std::string& folder);
    ~FileWork();
    FileWork(const FileWork&) = delete;
    FileWork& operator=(const FileWork&) = delete;

    /// @param bytes  the header's, and behind them the data file's
    /// @throws std::runtime_error
    void Run(const LumPalArray::CharArray_t& bytes, std::size_t headerBytes);

    /// Likewise for a document that changes where it stands: read, written aside and flushed, which takes its place by
    /// a rename; protected, the folder flushed; a line of a log.
    /// @param path  the document. @throws std::runtime_error
    void Rewrite(const std::string& path);

private:
    void WriteLog() const;

    std::string incoming, aside, store;
    int log;
    int runs = 0;
};

}  // namespace bench
