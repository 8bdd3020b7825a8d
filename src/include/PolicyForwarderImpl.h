/// @file
/// What a PolicyForwarder handle refers to.
#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "LumPalRef.h"
#include "PolicyForwarder.h"
#include "ReturnValue.h"

namespace LumConf {

class MessageForwarder;

/// Checks the arguments of each operation and sends it. Any thread. Programs use the handle; only ReinitCache
/// stands here alone.
class LUMCONF_API PolicyForwarderImpl final : public LumPalRef::RefCounted_t {
public:
    PolicyForwarderImpl();
    explicit PolicyForwarderImpl(const LumVoxMsg::Messenger& messenger);
    ~PolicyForwarderImpl() override;
    const LumVoxMsg::Messenger& GetVoxMessenger() const noexcept;

    void Install(const LumPalStr::String_t& host, const LumPalIo::File_t& headerFile,
                 const InstallOptions& options) const;
    /// An operation of "policyOp" whose argument needs no check.
    void Operate(OperationMode mode, const LumPalStr::String_t& host, const LumPalStr::String_t& argument,
                 const Selection& selection, const PolicyForwarder::Options& options) const;
    void AddCategory(const LumPalStr::String_t& host, const LumPalStr::String_t& category, const Selection& selection,
                     const PolicyForwarder::Options& options) const;
    void RemoveCategory(const LumPalStr::String_t& host, const LumPalStr::String_t& category,
                        const Selection& selection, const PolicyForwarder::Options& options) const;
    void AddAttribute(const LumPalStr::String_t& host, const LumPalStr::String_t& name,
                      const LumPalStr::String_t& value, const Selection& selection,
                      const PolicyForwarder::Options& options) const;
    void RemoveAttribute(const LumPalStr::String_t& host, const LumPalStr::String_t& name,
                         const LumPalStr::String_t& value, const Selection& selection,
                         const PolicyForwarder::Options& options) const;
    void Notify(const LumPalStr::String_t& host) const;
    PolicyContainer List(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId,
                         const Selection& selection) const;
    std::vector<StoredPolicy> ReadStored(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId,
                                         const Selection& selection, StoredFiles what) const;
    NodeStatus GetStatus(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId) const;
    PolicyContainer ListNaming(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId,
                               const LumPalStr::String_t& typeName,
                               const std::vector<LumPalStr::String_t>& dataFiles) const;
    /// The node throws its cache of policies away and reads its store anew.
    void ReinitCache(const LumPalStr::String_t& host, const LumPalStr::String_t& targetId) const;

private:
    std::unique_ptr<MessageForwarder> forwarder;
};

}  // namespace LumConf
