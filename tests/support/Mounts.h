/// @file
/// File systems of a test's own.
#pragma once

#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>

#include <filesystem>
#include <stdexcept>
#include <string>

/// Makes the mounts of this process its own: they end with it, whatever becomes of it. Before it has threads.
inline void MakeMountsPrivate() {
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        throw std::runtime_error("this trial needs root: it mounts file systems of its own");
    }
}

/// A disk in memory of the given size, mounted as long as it lives. MakeMountsPrivate comes first.
class SmallDisk {
public:
    /// @param options  of tmpfs(5), as "size=1m"
    explicit SmallDisk(const std::string& options) : folder("/tmp/lumdisk-XXXXXX") {
        if (!mkdtemp(folder.data())) throw std::runtime_error("cannot make a folder");
        if (mount("tmpfs", folder.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, options.c_str()) != 0) {
            std::filesystem::remove(folder);
            throw std::runtime_error("cannot mount a file system in memory");
        }
    }
    ~SmallDisk() {
        umount2(folder.c_str(), MNT_DETACH);
        std::filesystem::remove(folder);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    const std::string& Path() const { return folder; }

private:
    std::string folder;
};
