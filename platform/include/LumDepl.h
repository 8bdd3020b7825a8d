/// @file
/// Inventory of a node.
#pragma once

#include <memory>

#include "LumPalConfig.h"
#include "LumPalExport.h"
#include "LumPalStr.h"
#include "LumVoxMsg.h"

namespace LumDepl {

/// A value with chaining setters.
class LUMPAL_API NodeOptions {
public:
    /// What is listed; "package" is what nodes answer.
    NodeOptions& SetObjectType(const LumPalStr::String_t& type) {
        objectType = type;
        return *this;
    }
    /// Longest time for the whole call, whatever the peer does; 0: as long as the client's settings allow.
    NodeOptions& SetPatience(unsigned seconds) {
        patienceSeconds = seconds;
        return *this;
    }
    LumPalStr::String_t objectType;
    unsigned patienceSeconds = 0;
};

/// A node that can be asked for its inventory.
class LUMPAL_API Node {
public:
    explicit Node(const LumPalStr::String_t& host);
    /// The inventory as a text table. Blocks. @throws LumPalNet::ConnectException_t and what a call throws;
    ///         LumPalMsg::IllegalArgumentError_t for an empty host
    LumPalStr::String_t GetInventory(const NodeOptions& options) const;

private:
    LumPalStr::String_t host;
};

/// Answers "inventory" at "/com.tessel.lum.depl/voxrpcserver"; asks for no right.
class LUMPAL_API InventoryServer {
public:
    explicit InventoryServer(const LumPalConfig::Configuration_t& configuration);
    ~InventoryServer();
    InventoryServer(const InventoryServer&) = delete;
    InventoryServer& operator=(const InventoryServer&) = delete;
    /// @param messenger  rooted at "/"; it must be closed before this object goes
    /// @throws what Messenger::Register throws
    void RegisterOn(LumVoxMsg::Messenger& messenger);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumDepl
