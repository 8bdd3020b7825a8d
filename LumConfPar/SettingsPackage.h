/// @file
/// The name of a configuration database.
#pragma once

#include "LumPalStr.h"

namespace LumConfPar {

/// The package's name with the null name made empty: both mean the node's own database.
inline LumPalStr::String_t NotNull(const LumPalStr::String_t& package) {
    return package.IsNull() ? LumPalStr::String_t("") : package;
}

}  // namespace LumConfPar
