/// @file
/// Numbers of the catalogue's messages by which programs tell failures of one class apart.
#pragma once

namespace LumConf {

/// Of a PolicyNotFoundError: the answer of a node held no list, which says nothing of the node's policies.
inline constexpr unsigned kNoListInAnswer = 153;

}  // namespace LumConf
