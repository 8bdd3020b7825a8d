/// @file
/// Which failure caused which.
#pragma once

#include <vector>

#include "LumPalMsg.h"

/// Numbers of the first message and, from level to level, of its first detail; 0 for a text without number.
inline std::vector<unsigned> Chain(const LumPalMsg::MessageList_t& list) {
    std::vector<unsigned> ids;
    for (LumPalMsg::MessageList_t at = list; at.GetMessageCount() > 0; at = at.GetMessage(0).GetDetails()) {
        ids.push_back(at.GetMessage(0).GetId());
    }
    return ids;
}
