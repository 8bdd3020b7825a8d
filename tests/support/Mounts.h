/// @file
/// File systems of a test's own.
#pragma once

#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

/// Lets no mount of this process, whose mounts are its own already, reach others. @return false with errno set
inline bool KeepMountsToOurselves() {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0) return true;
    if (errno != EINVAL) return false;
    // Where the root is a folder (chroot) nothing is mounted there: it is mounted over itself and entered from above.
    const std::string before = std::filesystem::current_path();
    return mount("/", "/", nullptr, MS_BIND | MS_REC, nullptr) == 0 && chroot("/..") == 0 &&
           chdir(before.c_str()) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// Makes the mounts of this process its own: they end with it, whatever becomes of it. Before it has threads.
inline void MakeMountsPrivate() {
    if (unshare(CLONE_NEWNS) == 0 && KeepMountsToOurselves()) return;
    throw std::runtime_error(std::string("this trial needs root, as it mounts file systems of its own: ") +
                             strerror(errno));
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
