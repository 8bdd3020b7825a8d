/// @file
/// Named character encodings.
#pragma once

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalCodeset {

/// The IANA name of a character encoding; the null state names none.
class LUMPAL_API Codeset_t {
public:
    Codeset_t() = default;
    /// @throws LumPalMsg::IllegalArgumentError_t for an encoding that the Unicode library lacks.
    explicit Codeset_t(const char* name);
    const LumPalStr::String_t& GetName() const noexcept { return name; }
    bool IsNull() const noexcept { return name.IsNull(); }

private:
    LumPalStr::String_t name = LumPalStr::String_t::Null();
};

}  // namespace LumPalCodeset
