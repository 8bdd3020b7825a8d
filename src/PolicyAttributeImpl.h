/// @file
/// What a PolicyAttribute handle refers to.
#pragma once

#include <utility>

#include "LumPalRef.h"
#include "LumPalStr.h"

namespace LumConf {

/// A name and value pair. Constant after construction, so that headers, snapshots and threads may share it.
class PolicyAttributeImpl final : public LumPalRef::RefCounted_t {
public:
    PolicyAttributeImpl() = default;
    PolicyAttributeImpl(LumPalStr::String_t name, LumPalStr::String_t value)
        : name(std::move(name)), value(std::move(value)) {}

    const LumPalStr::String_t& GetName() const noexcept { return name; }
    const LumPalStr::String_t& GetValue() const noexcept { return value; }

private:
    const LumPalStr::String_t name;
    const LumPalStr::String_t value;
};

}  // namespace LumConf
