/// @file
/// One name and value pair of a policy header.
#pragma once

#include "Export.h"
#include "LumPalPtr.h"
#include "LumPalStr.h"

namespace LumConf {

class PolicyAttributeImpl;

/// A name and value pair of a policy header. A handle: copies share the pair, which never changes,
/// so any thread may use it. Only PolicyHeader::SetAttribute makes attributes of a header.
class LUMCONF_API PolicyAttribute {
public:
    /// A pair of its own; name and value are empty.
    PolicyAttribute();
    PolicyAttribute(const PolicyAttribute& other);
    PolicyAttribute& operator=(const PolicyAttribute& other);
    ~PolicyAttribute();

    LumPalStr::String_t GetName() const;
    LumPalStr::String_t GetValue() const;

    /// The library's own: a handle on an existing pair; never null.
    explicit PolicyAttribute(PolicyAttributeImpl* impl);

private:
    LumPalPtr::RefPtr_t<PolicyAttributeImpl> impl;
};

}  // namespace LumConf
