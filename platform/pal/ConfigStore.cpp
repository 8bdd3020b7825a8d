#include "ConfigStore.h"

#include <algorithm>
#include <map>
#include <utility>

#include "CfgText.h"
#include "ConfigFiles.h"
#include "ConfigValues.h"
#include "DescriptorRoom.h"
#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "LumPalPlainMutex.h"
#include "LumPalRuntime.h"

namespace LumPalConfig {
namespace {

using LumPalIo::CharArrayInputStream_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

// Names of the database's own files: a package called so would stand in their way.
constexpr const char* OwnNames[] = {LocalFile, PolicyFile, NewPolicyFile};

// What a file system takes in one name.
constexpr std::size_t MostPackageBytes = 255;

bool IsPackageName(const String_t& package) {
    if (package.GetLength() > MostPackageBytes || package.ToUtf8().size() > MostPackageBytes) return false;
    if (package == "." || package == ".." || !LumPalCfgFile::IsName(package.View())) return false;
    if (package.FindOneOf("/\\:") != LumPalStr::NotFound || package.GetAt(0) == u'.') return false;
    return std::none_of(std::begin(OwnNames), std::end(OwnNames),
                        [&](const char* own) { return package.Find(own) == 0; });
}

void Parse(const FileSnapshot& file, const String_t& path, ConfigGroup_t& group) {
    LumPalCfgFile::ConfigReader_t::Load(CharArrayInputStream_t::Over(file.bytes), group, path);
}

/// What could not be read back is not written. @param path  where it is to stand
LumPalArray::CharArray_t Serialize(const ConfigGroup_t& group, const String_t& path) {
    CharArrayOutputStream_t stream;
    LumPalCfgFile::ConfigWriter_t::Write(stream, group);
    if (stream.Size() > LumPalCfgFile::kLargestFile) LumPalCfgFile::RefuseTooLarge(path);
    return stream.TakeCharArray();
}

struct Loaded {
    FileIdentity policy, local;
    std::shared_ptr<void> policyPin, localPin;
    std::shared_ptr<const ConfigGroup_t> group;
    bool mayBeKept = true;  ///< with its files open
};

std::shared_ptr<const Loaded> Load(const String_t& folder) {
    const auto loaded = std::make_shared<Loaded>();
    const auto group = std::make_shared<ConfigGroup_t>();
    const auto add = [&](const char* name, FileIdentity& identity, std::shared_ptr<void>& pin) {
        const FileSnapshot file = ReadSnapshot(folder + name);
        Parse(file, folder + name, *group);
        identity = file.identity;
        pin = file.pin;
        loaded->mayBeKept = loaded->mayBeKept && file.mayStayOpen;
    };
    add(PolicyFile, loaded->policy, loaded->policyPin);
    add(LocalFile, loaded->local, loaded->localPin);
    loaded->group = group;
    return loaded;
}

/// The databases of this process that were read last.
class Cache {
public:
    static Cache& Get() {
        static Cache& cache = *new Cache;  // never destroyed: threads read configurations to the end
        return cache;
    }

    std::shared_ptr<const Loaded> Find(const String_t& folder) {
        const LumPalThread::PlainLock_t lock(mutex);
        const auto found = entries.find(folder);
        return found == entries.end() ? nullptr : found->second;
    }

    void Put(const String_t& folder, const std::shared_ptr<const Loaded>& loaded) {
        const LumPalThread::PlainLock_t lock(mutex);
        // Each entry holds two files open. Where descriptors are short, whoever needs them for more than speed has
        // them.
        if (!loaded->mayBeKept) {
            entries.erase(folder);
            return;
        }
        if (entries.size() >= MostEntries() && entries.count(folder) == 0) entries.clear();
        entries[folder] = loaded;
    }

private:
    /// A sixteenth of all descriptors at most.
    static std::size_t MostEntries() noexcept {
        return std::clamp<unsigned long>(LumPal::MostDescriptors() / 32, 1, 16);
    }

    LumPalThread::PlainMutex_t mutex;
    std::map<String_t, std::shared_ptr<const Loaded>> entries LUMPAL_GUARDED_BY(mutex);
};

void Make(const ConfigChange& change, ConfigGroup_t& group) {
    switch (change.kind) {
        case ConfigChange::Kind::Set:
            SetAll(*change.settings, group.GetConfig(change.nameSpace));
            break;
        case ConfigChange::Kind::ClearAttr:
            if (group.HasConfig(change.nameSpace)) group.GetConfig(change.nameSpace).ClearAttr(change.name);
            break;
        case ConfigChange::Kind::ClearNamespace:
            group.ClearConfig(change.nameSpace);
            break;
    }
}

/// Whoever holds the lock lives, and tidies up himself.
void Tidy(const String_t& folder) noexcept try {
    if (!IsLeftAside(folder, LocalFile)) return;
    const FolderLock lock(folder, FolderLock::IfHeld::GiveUp);
    if (lock.IsTaken()) RemoveLeftAside(folder, LocalFile);
} catch (const std::exception&) {
    // What is left is never read, and goes with the next change of the database.
}

}  // namespace

String_t DatabaseFolder(const String_t& package) {
    const String_t& separator = File_t::Separator();
    const String_t folder = LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc, "pal") + "config" + separator;
    if (package.IsEmpty()) return folder;
    if (!IsPackageName(package)) {
        throw LumPalMsg::IllegalArgumentError_t(
            LumPalMsg::CreateError_t("'%1' cannot be the name of a configuration package.")
            << LumPalCfgFile::Shown(package));
    }
    return folder + package + separator;
}

std::shared_ptr<const ConfigGroup_t> LoadDatabase(const String_t& folder) {
    const std::shared_ptr<const Loaded> known = Cache::Get().Find(folder);
    if (known && known->policy == IdentityOf(folder + PolicyFile) && known->local == IdentityOf(folder + LocalFile)) {
        return known->group;
    }
    const std::shared_ptr<const Loaded> loaded = Load(folder);
    Cache::Get().Put(folder, loaded);
    return loaded->group;
}

ConfigGroup_t LoadSource(const String_t& folder, ConfigSource source) {
    const String_t path = folder + (source == ConfigSource::Local ? LocalFile : PolicyFile);
    ConfigGroup_t group;
    Parse(ReadSnapshot(path), path, group);
    return group;
}

Configuration_t CopyOfNamespace(const ConfigGroup_t& group, const String_t& nameSpace) {
    return group.HasConfig(nameSpace) ? CopyOf(group.GetConfig(nameSpace)) : Configuration_t(nameSpace);
}

void ChangeLocalSettings(const String_t& folder, const std::deque<ConfigChange>& changes) {
    const FolderLock lock(folder);
    RemoveLeftAside(folder, LocalFile);
    const FileSnapshot file = ReadSnapshot(folder + LocalFile);
    ConfigGroup_t group;
    Parse(file, folder + LocalFile, group);
    for (const ConfigChange& change : changes) Make(change, group);
    const LumPalArray::CharArray_t bytes = Serialize(group, folder + LocalFile);
    // Nobody is woken for a change that changes nothing.
    if (bytes == file.bytes) return FlushFile(folder, LocalFile);
    ReplaceFile(folder, LocalFile, bytes);
}

void TakePolicySettingsOver(const String_t& folder) {
    const FolderLock lock(folder);
    RemoveLeftAside(folder, LocalFile);
    const FileSnapshot file = ReadSnapshot(folder + NewPolicyFile);
    if (!file.identity.exists) return FlushFile(folder, PolicyFile);
    ConfigGroup_t group;
    Parse(file, folder + NewPolicyFile, group);
    PromoteFile(file, folder, NewPolicyFile, PolicyFile);
}

void TidyDatabases() noexcept try {
    const String_t folder = DatabaseFolder(String_t::Null());
    Tidy(folder);
    LumPalIo::DirLister_t lister{File_t(folder)};
    while (lister.Next()) {
        const File_t package = lister.GetCurrentFile();
        if (IsPackageName(package.GetName()) && package.IsDirectory()) Tidy(package.ToString() + File_t::Separator());
    }
} catch (const std::exception&) {
    // A node without settings, or a folder that cannot be listed.
}

}  // namespace LumPalConfig
