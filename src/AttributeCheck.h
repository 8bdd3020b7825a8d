/// @file
/// The rules for texts that selections and requests write as "name=value".
#pragma once

#include "LumPalStr.h"

namespace LumConf {

/// Refuses a name or a value that is null, empty or blank, or that holds "=".
/// @throws LumPalMsg::IllegalArgumentError_t AttributeEmpty (nothing in it), AttributeWithBadText (an equals sign in
///         it)
void CheckAttribute(const LumPalStr::String_t& text);

/// An attribute as requests carry it.
struct NameAndValue {
    LumPalStr::String_t name, value;
};

/// Parts "name=value" at the first "="; a text without one is name and value both. Nothing is checked.
NameAndValue SplitAttribute(const LumPalStr::String_t& text);

}  // namespace LumConf
