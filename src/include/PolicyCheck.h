/// @file
/// What is wrong with the files of a policy, before a node is asked to install it.
#pragma once

#include <cstdint>
#include <vector>

#include "Export.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "PolicyHeader.h"

namespace LumConf {

/// One thing that is wrong. A value.
struct LUMCONF_API PolicyFault {
    /// Where in the file, from 1; 0 for what has no place there.
    int line = 0, column = 0;
    LumPalMsg::Message_t message;
    /// false: a node installs it, but it will not do what it looks like.
    bool isRefused = true;
    /// The data file that it stands in; empty for the header document. Its message names the place by itself.
    LumPalStr::String_t file;
};

/// A header document and its data files, held against all that a node demands of them, by the node's own checks. What
/// depends on the node (owners, versions, limited types, shared data files) is not looked at. A value.
struct LUMCONF_API PolicyCheck {
    /// As far as it can be read.
    PolicyHeader header;
    /// In the order of their places, those without a place behind them, those of data files at the end. Each once.
    std::vector<PolicyFault> faults;

    /// @param headerFile  the document; the data files lie beside it
    /// @param mostBytes   the largest body of a request that the node takes
    static PolicyCheck Of(const LumPalIo::File_t& headerFile, std::uint64_t mostBytes);
};

}  // namespace LumConf
