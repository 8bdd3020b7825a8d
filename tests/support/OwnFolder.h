/// @file
/// A folder of the system, with changes that this process alone sees.
#pragma once

#include <stdlib.h>
#include <sys/mount.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "Mounts.h"

/// Lets what is written below a folder such as /usr be this process's own, as long as it lives: it lies over what is
/// there. A folder that is a link, as /sbin, is that to which it leads.
class OwnFolder {
public:
    explicit OwnFolder(const std::filesystem::path& folder) : path(std::filesystem::canonical(folder)) {
        static const bool isPrivate = (MakeMountsPrivate(), true);
        if (!isPrivate || !mkdtemp(base.data()) || !MountChanges() || !MountOver()) {
            Remove();
            throw std::runtime_error("cannot mount a file system in memory over " + path.native());
        }
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    ~OwnFolder() {
        umount2(path.c_str(), MNT_DETACH);
        Remove();
    }

private:
    bool MountChanges() const {
        if (mount("tmpfs", base.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "size=16m,mode=755") != 0) return false;
        return std::filesystem::create_directory(base + "/upper") && std::filesystem::create_directory(base + "/work");
    }
    bool MountOver() const {
        const std::string options =
            "lowerdir=" + path.native() + ",upperdir=" + base + "/upper,workdir=" + base + "/work";
        return mount("overlay", path.c_str(), "overlay", MS_NOSUID | MS_NODEV, options.c_str()) == 0;
    }
    void Remove() const {
        umount2(base.c_str(), MNT_DETACH);
        std::error_code ignored;
        std::filesystem::remove(base, ignored);
    }

    const std::filesystem::path path;
    std::string base = "/tmp/lumfolder-XXXXXX";
};
