/// @file
/// The rules for texts that selections and requests write as "name=value".
#pragma once

#include "LumPalStr.h"

namespace LumConf {

/// Refuses a name or a value that is null, empty or blank, or that holds "=".
/// @throws LumPalMsg::IllegalArgumentError_t AttributeEmpty (nothing in it), AttributeWithBadText (an equals sign in
///         it; of a long text the beginning is shown)
void CheckAttribute(const LumPalStr::String_t& text);

/// An attribute as requests carry it.
struct NameAndValue {
    LumPalStr::String_t name, value;
};

/// Parts "name=value" at the first "="; a text without one is name and value both. Nothing is checked.
/// @param text  one that is given up is cut in place, so that megabytes are not held twice
NameAndValue SplitAttribute(LumPalStr::String_t text);

}  // namespace LumConf
