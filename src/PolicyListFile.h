/// @file
/// The merged list of all installed policies, as a text file.
#pragma once

#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumConf {

/// As PolicyContainerImpl::Dump.
class PolicyListFile {
public:
    static void Write(const LumPalIo::File_t& out, const LumPalStr::String_t& typeName);
};

}  // namespace LumConf
