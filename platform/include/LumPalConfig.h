/// @file
/// The node's configuration: namespaces of name and value pairs, change handlers, batches of changes.
#pragma once

#include <memory>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalConfig {

class Configuration_t;
class ChangedConfiguration_t;

/// Called from one watcher thread when a namespace has changed, also by another process.
class LUMPAL_API ConfigChangeHandler_i {
public:
    virtual ~ConfigChangeHandler_i();
    /// @param changes        which attributes changed
    /// @param configuration  the namespace as it is now
    virtual void Update(const ChangedConfiguration_t& changes, const Configuration_t& configuration) = 0;
};

/// A named section of the default database (folder kind 7, "pal/config").
class LUMPAL_API ConfigNamespace_t {
public:
    ConfigNamespace_t() = default;
    explicit ConfigNamespace_t(const LumPalStr::String_t& name);
    const LumPalStr::String_t& GetName() const noexcept { return name; }
    /// The values as they are now: local settings over policy settings.
    /// @throws LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
    Configuration_t Open() const;
    /// Subscribes to the database below the root as it is set now; a second subscription of the same handler
    /// to the same namespace does nothing. The handler must be unregistered before it goes.
    void Register(ConfigChangeHandler_i& handler) const;
    /// Waits for a call of the handler in flight, unless it is that call which unregisters: so the caller
    /// holds no lock that the handler takes.
    void Unregister(ConfigChangeHandler_i& handler) const;

private:
    LumPalStr::String_t name;
};

/// Attributes of one namespace, in order of their names. A handle: copies share.
class LUMPAL_API Configuration_t {
public:
    Configuration_t();
    explicit Configuration_t(const LumPalStr::String_t& nameSpace);
    LumPalStr::String_t GetNamespace() const;
    /// Empty when absent.
    LumPalStr::String_t GetValue(const LumPalStr::String_t& name) const;
    LumPalStr::String_t GetAttrValue(const LumPalStr::String_t& name) const;
    /// True for "true", "yes", "on" (in any case) and "1"; false for everything else and when absent.
    bool GetBool(const LumPalStr::String_t& name) const;
    /// 0 when absent.
    int GetInt(const LumPalStr::String_t& name) const;
    bool HasAttr(const LumPalStr::String_t& name) const;
    int GetAttrCount() const;
    /// False past the end.
    bool GetAttr(int index, LumPalStr::String_t& name, LumPalStr::String_t& value) const;
    void SetAttrValue(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// Sets every attribute of another configuration; its namespace does not matter.
    void SetAttrs(const Configuration_t& other);
    void ClearAttr(const LumPalStr::String_t& name);

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

/// A set of configurations, in order of their namespaces. A handle: copies share.
class LUMPAL_API ConfigGroup_t {
public:
    ConfigGroup_t();
    int GetConfigCount() const;
    /// @throws LumPalMsg::IllegalArgumentError_t for an index that is not there
    Configuration_t GetConfig(int index) const;
    /// The configuration of the namespace; an absent one is created, empty.
    Configuration_t GetConfig(const LumPalStr::String_t& nameSpace) const;
    bool HasConfig(const LumPalStr::String_t& nameSpace) const;
    /// The set goes on without the namespace; configurations that were taken before keep what they hold.
    void ClearConfig(const LumPalStr::String_t& nameSpace);
    /// Sets every attribute of another group, which is empty then. A configuration whose namespace is not here yet
    /// comes as it is: its handles go on sharing with it.
    void MoveIn(ConfigGroup_t& other);
    /// Empties the set.
    void Reset();

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

/// The two sources of a database; local settings stand over policy settings.
enum class ConfigSource { Policy, Local };

class LUMPAL_API ConfigBase_t {
public:
    /// A whole database: a null or empty name is the default one, else that of the package. The group is the
    /// caller's own. A database that is not there is empty.
    /// @throws LumPalMsg::IllegalArgumentError_t for a package that is no plain file name;
    ///         LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
    static ConfigGroup_t Open(const LumPalStr::String_t& name);
    /// What one source of the database says. Otherwise as above.
    static ConfigGroup_t Open(const LumPalStr::String_t& name, ConfigSource source);
};

/// A batch of changes to the local settings of a database. Each call only remembers; Apply does all or nothing.
/// Names of packages are plain file names; names of namespaces and attributes are not empty and hold no
/// control characters: for any other name the call throws LumPalMsg::IllegalArgumentError_t.
class LUMPAL_API ConfigUpdate_t {
public:
    explicit ConfigUpdate_t(const LumPalStr::String_t& name);
    ~ConfigUpdate_t();
    /// Sets every attribute of the configuration.
    void SetConfig(const Configuration_t& configuration);
    void ClearAttr(const LumPalStr::String_t& nameSpace, const LumPalStr::String_t& attribute);
    void ClearNamespace(const LumPalStr::String_t& nameSpace);
    /// Writes aside, flushes and renames under a lock file shared by all processes. A batch without any
    /// call takes "new_policy_settings.ini" of the database's folder, if it is there, over as
    /// "policy_settings.ini". After success what was asked for is on the disk, also when it stood there
    /// before, and the batch is empty again. After a failure the old settings stand, but when only the
    /// folder cannot be flushed the new ones do.
    /// @throws LumPalIo::IOException_t, LumPalCfgFile::SyntaxException_t
    void Apply();
    /// Deletes what updates that were killed have left aside in the node's databases. An update that is being applied
    /// is left alone. For a daemon that starts; an update does it for its own database. Never throws.
    static void RemoveLeftAside() noexcept;

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

class LUMPAL_API ChangedConfiguration_t {
public:
    ChangedConfiguration_t();
    bool HasChanged(const LumPalStr::String_t& attribute) const;
    int GetCount() const;

    struct Impl;
    explicit ChangedConfiguration_t(std::shared_ptr<Impl> impl);

private:
    std::shared_ptr<Impl> impl;
};

}  // namespace LumPalConfig
