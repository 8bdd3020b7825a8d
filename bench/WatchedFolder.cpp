#include "WatchedFolder.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "Documents.h"

namespace bench {

WatchedFolder::WatchedFolder(const std::string& below, const std::string& content)
    : folder(below + "/watched"), files(below), watch(inotify_init1(IN_CLOEXEC)) {
    std::filesystem::create_directories(folder);
    WriteFile(folder + "/file", content);
    if (inotify_add_watch(watch, folder.c_str(), IN_MOVED_TO) < 0) throw std::runtime_error("cannot watch " + folder);
    thread = std::thread([this] { Watch(); });
}

WatchedFolder::~WatchedFolder() {
    stop = true;
    files.Rewrite(folder + "/file");
    thread.join();
    close(watch);
}

void WatchedFolder::ChangeAndWait() {
    files.Rewrite(folder + "/file");
    seen.acquire();
}

void WatchedFolder::Watch() {
    alignas(inotify_event) char event[4096];
    while (read(watch, event, sizeof event) > 0 && !stop) seen.release();
}

}  // namespace bench
