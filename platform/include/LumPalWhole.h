/// @file
/// What is done with a stream from where it stands to its end.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalIo.h"

namespace LumPalIo {

inline constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

/// Hands over what is left of a stream, block by block, until it ends or `limit` bytes were read; not one more is read.
/// The stream stays open. Memory is taken for one block.
/// @param take  a block, of which the first `count` bytes count; good during the call
/// @return the bytes that were read
LUMPAL_API std::uint64_t ForEachBlock(
    InputStream_t from, std::uint64_t limit,
    const std::function<void(const LumPalArray::CharArray_t& block, std::size_t count)>& take);

/// Writes what is left of one stream to another; see ForEachBlock. @return the bytes that were copied
LUMPAL_API std::uint64_t Copy(const InputStream_t& from, OutputStream_t to, std::uint64_t limit = kNoLimit);

/// What is left of a stream, cut behind `limit` bytes. Takes memory for what is there alone, whatever the limit.
LUMPAL_API LumPalArray::CharArray_t ReadAtMost(InputStream_t from, std::uint64_t limit);

/// What is left of a stream; nothing when that is more than `limit` bytes: then one byte more than the limit was read.
LUMPAL_API std::optional<LumPalArray::CharArray_t> ReadWhole(const InputStream_t& from, std::uint64_t limit);

}  // namespace LumPalIo
