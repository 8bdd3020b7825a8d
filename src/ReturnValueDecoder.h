/// @file
/// From a node's return value to success or an exception.
#pragma once

#include "LumPalStr.h"
#include "ReturnValue.h"

namespace LumConf {

/// What a request answered: value and text. The value stays 0, which is no success, when it did not arrive.
struct Answer {
    int value = 0;
    LumPalStr::String_t text;
};

/// Each returns for value 1 and raises the exception of its table for every other one. The text of the answer
/// becomes a detail, so that the node's words reach the user below the local ones.
void DecodeInstall(const Answer& answer, InstallMethod method, const LumPalStr::String_t& fileName,
                   const LumPalStr::String_t& host);
void DecodeSelection(const Answer& answer, const LumPalStr::String_t& host);
void DecodeList(const Answer& answer, const LumPalStr::String_t& host);
void DecodeFiles(const Answer& answer, const LumPalStr::String_t& host);
void DecodeConfiguration(const Answer& answer, const LumPalStr::String_t& host);

}  // namespace LumConf
