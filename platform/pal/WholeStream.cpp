// The functions of LumPalWhole.h.
#include "LumPalWhole.h"

#include <algorithm>

namespace LumPalIo {

using LumPalArray::CharArray_t;

namespace {

constexpr std::size_t kBlockBytes = 16u << 10;

}  // namespace

std::uint64_t ForEachBlock(InputStream_t from, std::uint64_t limit,
                           const std::function<void(const CharArray_t& block, std::size_t count)>& take) {
    CharArray_t block(static_cast<std::size_t>(std::min<std::uint64_t>(limit, kBlockBytes)));
    std::uint64_t done = 0;
    while (done < limit) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(limit - done, block.GetLength()));
        const std::int64_t count = from.Read(block, 0, wanted);
        if (count < 0) break;
        take(block, static_cast<std::size_t>(count));
        done += static_cast<std::uint64_t>(count);
    }
    return done;
}

std::uint64_t Copy(const InputStream_t& from, OutputStream_t to, std::uint64_t limit) {
    return ForEachBlock(from, limit, [&to](const CharArray_t& block, std::size_t count) { to.Write(block, 0, count); });
}

CharArray_t ReadAtMost(InputStream_t from, std::uint64_t limit) {
    // What is known to be there is read in one go; more may come all the same.
    CharArray_t bytes(static_cast<std::size_t>(std::min<std::uint64_t>(limit, from.Available())));
    bytes.Resize(static_cast<std::size_t>(std::max<std::int64_t>(from.Read(bytes), 0)));
    ForEachBlock(from, limit - bytes.GetLength(),
                 [&bytes](const CharArray_t& block, std::size_t count) { bytes.Append(block.GetData(), count); });
    return bytes;
}

std::optional<CharArray_t> ReadWhole(const InputStream_t& from, std::uint64_t limit) {
    CharArray_t bytes = ReadAtMost(from, limit == kNoLimit ? limit : limit + 1);
    if (bytes.GetLength() > limit) return std::nullopt;
    return bytes;
}

}  // namespace LumPalIo
