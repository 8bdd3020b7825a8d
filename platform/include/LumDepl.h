/// @file
/// Inventory of a node.
#pragma once

#include <memory>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumDepl {

/// A value with chaining setters.
class LUMPAL_API NodeOptions {
public:
    /// What is listed; "package" is what nodes answer.
    NodeOptions& SetObjectType(const LumPalStr::String_t& type) {
        objectType = type;
        return *this;
    }
    LumPalStr::String_t objectType;
};

/// A node that can be asked for its inventory.
class LUMPAL_API Node {
public:
    explicit Node(const LumPalStr::String_t& host);
    /// The inventory as a text table. Blocks. @throws LumPalNet::ConnectException_t and what a call throws
    LumPalStr::String_t GetInventory(const NodeOptions& options) const;

private:
    LumPalStr::String_t host;
};

}  // namespace LumDepl
