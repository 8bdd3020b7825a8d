/// @file
/// Telling a file from another one that bears the same name, without reading either.
#pragma once

#include <cstdint>
#include <optional>

#include "LumPalExport.h"
#include "LumPalIo.h"

namespace LumPalIo {

/// What a system says of a file. Two files of one folder that are there at the same time differ in `node`.
struct FileMark {
    std::uint64_t node = 0;  ///< number of the inode
    std::uint64_t size = 0;  ///< bytes
    std::int64_t modified =
        0;                     ///< last change of the content, nanoseconds since 1970; anybody who may write can set it
    std::int64_t changed = 0;  ///< last change of content, mode or name; set by the system alone
    bool operator==(const FileMark&) const = default;
};

enum class Links { Followed, NotFollowed };

/// The mark of what stands under a name, whatever it is; nothing when it is not there or cannot be asked for. Never
/// throws. Any thread.
LUMPAL_API std::optional<FileMark> MarkOf(const File_t& file, Links links) noexcept;

/// Whether a file was left alone for so long that its next change shows in its mark: clocks of file systems are coarse,
/// and two writes within one of their steps leave one mark. False also when the clock stands before the mark.
LUMPAL_API bool IsAtRest(const FileMark& mark) noexcept;

}  // namespace LumPalIo
