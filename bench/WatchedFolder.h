/// @file
/// The reference for being told of a change: a file that takes its place, and a thread that the system wakes for it.
#pragma once

#include <atomic>
#include <semaphore>
#include <string>
#include <thread>

#include "FileWork.h"

namespace bench {

/// Watches a folder by bare calls of the system.
class WatchedFolder {
public:
    /// Makes the folder with what it needs below another one, and a file of this content in it.
    WatchedFolder(const std::string& below, const std::string& content);
    ~WatchedFolder();

    /// Puts a new file in the place of the file (see FileWork::Rewrite), and waits until the thread has seen it.
    void ChangeAndWait();

private:
    void Watch();

    const std::string folder;
    FileWork files;
    int watch;
    std::counting_semaphore<> seen{0};
    std::atomic<bool> stop = false;  ///< the last change comes after it is set
    std::thread thread;
};

}  // namespace bench
