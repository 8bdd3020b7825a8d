// Any bytes on the control service's socket: the frames are the same however the bytes arrive, an end by an error
// too, and each that is read is written again as it came.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Frame.h"

namespace {

using namespace LumCtrl;

struct Read {
    std::string frames;  ///< written again
    std::string error;
    bool operator==(const Read&) const = default;
};

Read ReadAll(std::string_view bytes, std::size_t piece) {
    Read all;
    FrameBuffer buffer;
    try {
        for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
            buffer.Append(bytes.data(), std::min(piece, bytes.size()));
            while (const std::optional<Frame> frame = buffer.Next()) {
                if (frame->texts.size() > FrameBuffer::kMostTexts) std::abort();
                all.frames += frame->Encode();
            }
        }
    } catch (const FrameError& e) {
        all.error = e.reason;
    }
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const Read whole = ReadAll(bytes, size + 1);
    if (!bytes.starts_with(whole.frames)) std::abort();
    for (const std::size_t piece : {1, 3, 64})
        if (!(ReadAll(bytes, piece) == whole)) std::abort();
    return 0;
}
