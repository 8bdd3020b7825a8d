/// @file
/// What a Selection owns.
#pragma once

#include <cstdint>

#include "LumPalStr.h"

namespace LumConf {

/// The kinds of selections; the numbers travel.
enum class SelectionKind : std::int32_t {
    Id = 0,
    Name = 1,
    TypeName = 2,
    Category = 3,
    Owner = 4,
    OwnerAndName = 5,
    AttributeName = 6,
    Attribute = 7,
    All = 8,
    NameAndTypeName = 9
};

/// A kind with its argument; pairs are written with "=" between them. A value.
class SelectionImpl {
public:
    SelectionKind GetKind() const noexcept { return kind; }
    const LumPalStr::String_t& GetValue() const noexcept { return value; }
    /// Copied with the object; nothing decides by it.
    std::int32_t GetVersion() const noexcept { return version; }
    void SetVersion(std::int32_t newVersion) noexcept { version = newVersion; }
    /// The argument as it stands, unchecked.
    void SetValue(const LumPalStr::String_t& raw) { value = raw; }
    /// A number that is no kind means all policies (kept: peers rely on it).
    void SetKind(std::int32_t number) noexcept;
    void Set(SelectionKind newKind, const LumPalStr::String_t& newValue);
    LumPalStr::String_t Describe() const;

private:
    std::int32_t version = 1;
    SelectionKind kind = SelectionKind::All;
    LumPalStr::String_t value = "";
};

}  // namespace LumConf
