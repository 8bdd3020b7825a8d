/// @file
/// What a test sees of a cluster, as plain values.
#pragma once

#include <string>
#include <vector>

#include "LumPalMsg.h"

using Texts = std::vector<std::string>;

/// The names of the elements of a list.
template <class List>
Texts Names(const List& list) {
    Texts names;
    for (int i = 0; i < list.Count(); ++i) names.push_back(list[i].GetName().ToUtf8());
    return names;
}

/// The numbers of the first message, of its first detail, of that one's, and so on.
inline std::vector<unsigned> Numbers(LumPalMsg::MessageList_t messages) {
    std::vector<unsigned> numbers;
    for (; messages.GetMessageCount() > 0; messages = messages.GetMessage(0).GetDetails()) {
        numbers.push_back(messages.GetMessage(0).GetId());
    }
    return numbers;
}
