/// @file
/// Requests on the configuration of a node.
#pragma once

#include <memory>

#include "Export.h"
#include "LumPalArray.h"
#include "LumPalConfig.h"
#include "LumPalStr.h"
#include "LumVoxMsg.h"

namespace LumConfPar {

class SettingsForwarderImpl;

/// Reads and changes the configuration of a node ("localhost" is one like any other). A handle: copies share the
/// messenger. Every operation blocks until the answer has come; any thread, also several at once. An answer that is no
/// success leaves as LumSecAuth::NotAuthorizedException 145 or LumConf::SettingsRemoteException 146, with the node's
/// words in its details; a node that cannot be reached as the transport's exception; a name or value with a character
/// that XML cannot carry as LumPalMsg::IllegalArgumentError_t, and nothing is sent then.
class LUMCONF_API SettingsForwarder {
public:
    /// Which configuration of the node is meant. A value; the setters return the object, for chaining.
    class LUMCONF_API Options {
    public:
        Options();
        Options(const Options& other);
        Options& operator=(const Options& other);
        ~Options();

        /// Id of the target of the request (empty at first).
        Options& SetTargetID(const LumPalStr::String_t& id);
        /// The cluster resource group whose configuration is meant; empty, as it is at first: the node's own.
        Options& SetLUMResourceGroup(const LumPalStr::String_t& name);
        LumPalStr::String_t GetTargetID() const;
        LumPalStr::String_t GetLUMResourceGroup() const;

    private:
        struct Impl;
        std::unique_ptr<Impl> impl;
    };

    /// With a messenger of its own.
    SettingsForwarder();
    /// Shares the caller's messenger.
    explicit SettingsForwarder(const LumVoxMsg::Messenger& messenger);
    SettingsForwarder(const SettingsForwarder& other);
    SettingsForwarder& operator=(const SettingsForwarder& other);
    ~SettingsForwarder();
    /// The messenger in use.
    const LumVoxMsg::Messenger& GetVoxMessenger() const;

    /// The whole configuration.
    LumPalConfig::ConfigGroup_t Get(const LumPalStr::String_t& host) const;
    LumPalConfig::ConfigGroup_t Get(const LumPalStr::String_t& host, const Options& options) const;
    /// One namespace of it, in UTF-8; empty when the node has no such namespace.
    LumPalConfig::Configuration_t Get(const LumPalStr::String_t& host, const LumPalArray::CharArray_t& nameSpace) const;
    LumPalConfig::Configuration_t Get(const LumPalStr::String_t& host, const LumPalArray::CharArray_t& nameSpace,
                                      const Options& options) const;

    /// Sets every attribute of the group; those that it does not name stay. All or nothing.
    void Set(const LumPalStr::String_t& host, const LumPalConfig::ConfigGroup_t& group) const;
    void Set(const LumPalStr::String_t& host, const LumPalConfig::ConfigGroup_t& group, const Options& options) const;
    void Set(const LumPalStr::String_t& host, const LumPalConfig::Configuration_t& configuration) const;
    void Set(const LumPalStr::String_t& host, const LumPalConfig::Configuration_t& configuration,
             const Options& options) const;

    /// Takes the local settings of the namespace away; what a policy sets stays.
    void Clear(const LumPalStr::String_t& host, const LumPalArray::CharArray_t& nameSpace) const;
    void Clear(const LumPalStr::String_t& host, const LumPalArray::CharArray_t& nameSpace,
               const Options& options) const;
    /// Takes one local setting away.
    void Clear(const LumPalStr::String_t& host, const LumPalArray::CharArray_t& nameSpace,
               const LumPalArray::CharArray_t& attribute) const;
    void Clear(const LumPalStr::String_t& host, const LumPalArray::CharArray_t& nameSpace,
               const LumPalArray::CharArray_t& attribute, const Options& options) const;

private:
    SettingsForwarderImpl* impl;
};

}  // namespace LumConfPar
